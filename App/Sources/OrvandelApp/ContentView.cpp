#include "ContentView.hpp"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFrame>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStandardPaths>
#include <QSvgWidget>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <chrono>

#include "AlertBox.hpp"
#include "Brand.hpp"
#include "ElidedLabel.hpp"
#include "ExportCopy.hpp"
#include "ExportCoordinator.hpp"
#include "ExportProgress.hpp"
#include "FileManagerReveal.hpp"
#include "Spinner.hpp"
#include "TealButtonStyle.hpp"
#include "UnsavedDecksGate.hpp"
#include "base/Numbers.hpp"
#include "deck/DeckScanner.hpp"

namespace orvandel {

namespace {

// What the package's manifest says made it.
const char* const kSource = "orvandel-plugin";
const char* const kPluginVersion = "orvandel-core/0.1";

QString fileName(const std::filesystem::path& path) { return QString::fromStdString(path.filename().string()); }

QLabel* wrappingLabel(const QString& text = {}) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QColor warningColor() { return QColor(180, 35, 24); }

}  // namespace

ContentView::ContentView(RendererChoice::Renderer renderer, std::shared_ptr<const Mp4Exporting> exporter,
                         QWidget* parent)
    : QWidget(parent), renderer_(RendererChoice::resolve(renderer)), exporter_(std::move(exporter)) {
    setWindowTitle(ExportCopy::kWindowTitle);
    setAcceptDrops(true);
    buildLayout();
    applyColors();

    connect(&scanWatcher_, &QFutureWatcherBase::finished, this, &ContentView::scanFinished);
    connect(&exportWatcher_, &QFutureWatcherBase::finished, this, &ContentView::exportFinished);
    connect(this, &ContentView::stageReported, this, &ContentView::showStage, Qt::QueuedConnection);
    connect(&ExportCoordinator::shared(), &ExportCoordinator::changed, this, &ContentView::refresh);
    // The main button answers Return wherever the focus is, the GIF fields included.
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this, [this] {
            if (canExport()) runExport();
        });
    }
    refresh();
}

ContentView::~ContentView() {
    closing_ = true;
    // A worker must not outlive the view: the export stops its child
    // processes and removes its work directory as it unwinds.
    exportCancel_.cancel();
    exportWatcher_.waitForFinished();
    scanWatcher_.waitForFinished();
    if (isExporting_) {
        // Whatever waited for this export (a pending quit) goes with the window.
        ExportCoordinator::shared().setOnFinish(nullptr);
        ExportCoordinator::shared().end();
    }
}

void ContentView::buildLayout() {
    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("content"));
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(22, 18, 22, 18);
    column->setSpacing(12);

    auto* header = new QHBoxLayout;
    header->setSpacing(12);
    auto* image = new QSvgWidget(Brand::kProductImage);
    image->setFixedSize(40, 40);
    auto* title = new QLabel(ExportCopy::kTitle);
    QFont titleFont = title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.45);
    titleFont.setWeight(QFont::DemiBold);
    title->setFont(titleFont);
    header->addWidget(image);
    header->addWidget(title, 1);
    column->addLayout(header);

    help_ = wrappingLabel(ExportCopy::helpText(renderer_));
    help_->setObjectName(QStringLiteral("help"));
    column->addWidget(help_);

    auto* deckRow = new QHBoxLayout;
    deckRow->setSpacing(10);
    chooseButton_ = new QPushButton(ExportCopy::kChooseDeck);
    chooseButton_->setObjectName(QStringLiteral("chooseButton"));
    chooseButton_->setMinimumWidth(chooseButton_->sizeHint().width() + 16);
    connect(chooseButton_, &QPushButton::clicked, this, &ContentView::showImporter);
    deckName_ = new ElidedLabel;
    deckName_->setObjectName(QStringLiteral("deckName"));
    // Only a file name may be shortened; the placeholder wraps instead.
    noDeck_ = wrappingLabel(ExportCopy::kNoDeck);
    deckRow->addWidget(chooseButton_);
    deckRow->addWidget(deckName_, 1);
    deckRow->addWidget(noDeck_, 1);
    column->addLayout(deckRow);

    scanErrorLabel_ = wrappingLabel();
    scanErrorLabel_->setObjectName(QStringLiteral("scanError"));
    multiVideoLabel_ = wrappingLabel();
    multiVideoLabel_->setObjectName(QStringLiteral("multiVideo"));
    for (auto* label : {scanErrorLabel_, multiVideoLabel_}) {
        QPalette p = label->palette();
        p.setColor(QPalette::WindowText, warningColor());
        label->setPalette(p);
        column->addWidget(label);
    }

    gifForm_ = new QWidget;
    gifForm_->setObjectName(QStringLiteral("gifForm"));
    auto* form = new QVBoxLayout(gifForm_);
    form->setContentsMargins(0, 0, 0, 0);
    form->setSpacing(8);
    form->addWidget(wrappingLabel(ExportCopy::kGifFormIntro));
    gifRows_ = new QGridLayout;
    gifRows_->setHorizontalSpacing(10);
    gifRows_->setVerticalSpacing(6);
    gifRows_->setColumnStretch(3, 1);
    form->addLayout(gifRows_);
    column->addWidget(gifForm_);

    progressRow_ = new QWidget;
    auto* progress = new QVBoxLayout(progressRow_);
    progress->setContentsMargins(0, 0, 0, 0);
    progress->setSpacing(6);
    auto* line = new QHBoxLayout;
    line->setSpacing(8);
    spinner_ = new Spinner;
    progressLabel_ = wrappingLabel();
    progressLabel_->setObjectName(QStringLiteral("progressLine"));
    line->addWidget(spinner_, 0, Qt::AlignTop);
    line->addWidget(progressLabel_, 1);
    progress->addLayout(line);
    progressBar_ = new QProgressBar;
    progressBar_->setObjectName(QStringLiteral("progressBar"));
    progressBar_->setRange(0, 1000);
    progressBar_->setTextVisible(false);
    progressBar_->setFixedHeight(8);
    QPalette bar = progressBar_->palette();
    bar.setColor(QPalette::Highlight, Brand::primary);
    progressBar_->setPalette(bar);
    progress->addWidget(progressBar_);
    column->addWidget(progressRow_);

    exportButton_ = new QPushButton(ExportCopy::kExport);
    exportButton_->setObjectName(QStringLiteral("exportButton"));
    exportButton_->setDefault(true);
    TealButtonStyle::apply(*exportButton_);
    connect(exportButton_, &QPushButton::clicked, this, &ContentView::runExport);
    column->addWidget(exportButton_, 0, Qt::AlignHCenter);

    auto* divider = new QFrame;
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Sunken);
    divider_ = divider;
    column->addWidget(divider_);

    resultView_ = new QWidget;
    resultView_->setObjectName(QStringLiteral("resultView"));
    auto* result = new QVBoxLayout(resultView_);
    result->setContentsMargins(0, 0, 0, 0);
    result->setSpacing(4);
    auto* doneRow = new QHBoxLayout;
    doneRow->setSpacing(8);
    auto* seal = new QSvgWidget(Brand::kDoneSeal);
    seal->setFixedSize(20, 20);
    auto* done = new QLabel(ExportCopy::kExportDone);
    QFont doneFont = done->font();
    doneFont.setWeight(QFont::DemiBold);
    done->setFont(doneFont);
    doneRow->addWidget(seal);
    doneRow->addWidget(done, 1);
    result->addLayout(doneRow);
    resultName_ = new ElidedLabel;
    resultName_->setObjectName(QStringLiteral("resultName"));
    resultSummary_ = wrappingLabel();
    resultSummary_->setObjectName(QStringLiteral("resultSummary"));
    result->addWidget(resultName_);
    result->addWidget(resultSummary_);
    revealButton_ = new QPushButton(ExportCopy::revealButton());
    revealButton_->setObjectName(QStringLiteral("revealButton"));
    connect(revealButton_, &QPushButton::clicked, this, [this] {
        if (outcome_) FileManagerReveal::reveal(outcome_->orvURL);
    });
    result->addSpacing(4);
    result->addWidget(revealButton_, 0, Qt::AlignLeft);
    column->addWidget(resultView_);
    column->addStretch(1);

    // A narrow or short window scrolls instead of squeezing the texts.
    auto* scroll = new QScrollArea;
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(scroll);
}

void ContentView::applyColors() {
    // The brand's pale teal behind a light theme; a dark theme keeps its own.
    const bool light = QGuiApplication::palette().color(QPalette::Window).lightness() > 128;
    QPalette p = palette();
    if (light) p.setColor(QPalette::Window, Brand::background);
    setPalette(p);
    setAutoFillBackground(true);
    QPalette secondary = help_->palette();
    QColor text = secondary.color(QPalette::WindowText);
    text.setAlpha(190);
    secondary.setColor(QPalette::WindowText, text);
    for (QWidget* w : std::initializer_list<QWidget*>{help_, deckName_, noDeck_, resultName_, resultSummary_}) {
        w->setPalette(secondary);
    }
}

void ContentView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ThemeChange) applyColors();
}

std::filesystem::path ContentView::outputPath(const std::filesystem::path& deck) {
    return std::filesystem::path(deck).replace_extension(".orv");
}

QString ContentView::keepNumbers(const QString& typed) {
    QString kept;
    // By code point, so that a number outside the Basic Multilingual Plane
    // (a surrogate pair in UTF-16) is judged whole.
    for (const char32_t c : typed.toUcs4()) {
        if (QChar::isNumber(c)) kept += QString::fromUcs4(&c, 1);
    }
    return kept;
}

std::optional<std::int64_t> ContentView::gifSeconds(const QString& field) {
    const auto seconds = parseInt64(field.toStdString());
    if (!seconds || *seconds < 1 || *seconds > kMaxGifSeconds) return std::nullopt;
    return seconds;
}

bool ContentView::canExport() const {
    if (!deckURL_ || isScanning_ || isExporting_ || !multiVideoSlides_.empty()) return false;
    return std::all_of(gifSlides_.begin(), gifSlides_.end(), [this](std::int64_t slide) {
        const auto typed = gifDurations_.find(slide);
        return typed != gifDurations_.end() && gifSeconds(typed->second).has_value();
    });
}

void ContentView::showImporter() {
    const QString start = deckURL_ ? QString::fromStdString(deckURL_->parent_path().string())
                                   : QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString picked =
        QFileDialog::getOpenFileName(this, ExportCopy::kChooseDeck, start, ExportCopy::importerFilter(renderer_));
    if (!picked.isEmpty()) openDeck(picked.toStdString());
}

void ContentView::openDeck(const std::filesystem::path& url) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(url, ec)) {
        presentAlert(true, ExportCopy::kOpenFailedTitle, ExportCopy::kOpenFailedText);
        return;
    }
    chooseDeck(std::filesystem::absolute(url, ec));
}

void ContentView::chooseDeck(const std::filesystem::path& url) {
    if (isExporting_) return;
    deckURL_ = url;
    gifSlides_.clear();
    gifDurations_.clear();
    multiVideoSlides_.clear();
    scanError_.reset();
    outcome_.reset();
    rebuildGifForm();
    prescan(url);
}

void ContentView::prescan(const std::filesystem::path& url) {
    isScanning_ = true;
    refresh();
    // A scan still running for an earlier deck finishes first; watching the
    // new one drops the old one's pending result.
    scanWatcher_.waitForFinished();
    scanWatcher_.setFuture(QtConcurrent::run([url] {
        ScanRun run;
        try {
            run.reports = DeckScanner::report(url, {}, {});
        } catch (...) {
            run.error = std::current_exception();
        }
        return run;
    }));
}

void ContentView::scanFinished() {
    if (closing_) return;
    const ScanRun run = scanWatcher_.result();
    if (run.error) {
        scanError_ = ExportCopy::errorMessage(run.error, renderer_);
    } else {
        for (const auto& report : run.reports) {
            if (report.hasGif && !report.isHidden) gifSlides_.push_back(report.displayIndex);
        }
        std::sort(gifSlides_.begin(), gifSlides_.end());
        multiVideoSlides_ = DeckScanner::validateMedia(run.reports).slidesWithMultipleVideos;
        std::sort(multiVideoSlides_.begin(), multiVideoSlides_.end());
    }
    isScanning_ = false;
    rebuildGifForm();
    refresh();
    emit scanned();
}

void ContentView::rebuildGifForm() {
    while (auto* item = gifRows_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    gifFields_.clear();
    int row = 0;
    for (const auto slide : gifSlides_) {
        auto* label = new QLabel(ExportCopy::gifSlideLabel(slide));
        auto* field = new QLineEdit;
        field->setObjectName(QStringLiteral("gifField-%1").arg(slide));
        field->setFixedWidth(field->fontMetrics().horizontalAdvance(QStringLiteral("00000")) + 24);
        field->setAlignment(Qt::AlignRight);
        field->setInputMethodHints(Qt::ImhDigitsOnly);
        connect(field, &QLineEdit::textEdited, this, [this, slide, field](const QString& typed) {
            const QString kept = keepNumbers(typed);
            if (kept != typed) {
                // Keep the cursor where it was, less the characters dropped before it.
                const int cursor = keepNumbers(typed.left(field->cursorPosition())).size();
                field->setText(kept);
                field->setCursorPosition(cursor);
            }
            gifDurations_[slide] = kept;
            refresh();
        });
        gifRows_->addWidget(label, row, 0);
        gifRows_->addWidget(field, row, 1);
        gifRows_->addWidget(new QLabel(ExportCopy::kGifFieldUnit), row, 2);
        gifFields_[slide] = field;
        ++row;
    }
}

void ContentView::runExport() {
    if (!canExport()) return;
    const auto deck = *deckURL_;
    const auto destination = outputPath(deck);
    SlideDurations gifMs;
    for (const auto slide : gifSlides_) gifMs[slide] = *gifSeconds(gifDurations_[slide]) * 1000;

    // Only PowerPoint has other decks open that a forced end could lose.
    if (renderer_ == RendererChoice::Renderer::powerPoint) {
        const auto unsaved = UnsavedDecksGate::decksNeedingAttention(UnsavedDecksGate::openDecks(), deck.string());
        if (!unsaved.empty() && !UnsavedDecksGate::present(static_cast<std::int64_t>(unsaved.size()), this)) return;
    }

    isExporting_ = true;
    outcome_.reset();
    stageLine_.reset();
    progressPermille_ = -1;
    exportCancel_ = CancellationToken();
    ExportCoordinator::shared().begin([token = exportCancel_] { token.cancel(); });
    setFloating(true);
    refresh();

    // Throttled to what the window can show: a new stage or a new thousandth.
    struct Shown {
        std::optional<ExportStage> stage;
        int permille = -1;
    };
    auto shown = std::make_shared<Shown>();
    RenderHooks hooks{[this, shown](ExportStage stage, double fraction) {
                          const int permille = ExportProgress::permille(stage, fraction).value_or(-1);
                          if (stage == shown->stage && permille == shown->permille) return;
                          shown->stage = stage;
                          shown->permille = permille;
                          emit stageReported(stage, fraction);
                      },
                      exportCancel_,
                      {}};
    // One renderer per export, made for its deck (media linked beside the deck play).
    std::shared_ptr<const Mp4Exporting> exporter = exporter_;
    if (!exporter) exporter = RendererChoice::make(renderer_, deck);
    exportWatcher_.setFuture(QtConcurrent::run([deck, destination, gifMs, hooks, exporter] {
        ExportRun run;
        try {
            run.result = OrvExporter::export_(deck, std::nullopt, destination, {}, gifMs,
                                              std::chrono::system_clock::now(), kSource, kPluginVersion, {},
                                              *exporter, hooks);
        } catch (...) {
            run.error = std::current_exception();
            return run;
        }
        try {
            run.probe = ManifestReader::read(destination);
        } catch (...) {
            // The package is written; only its two facts stay unknown.
        }
        return run;
    }));
}

void ContentView::showStage(ExportStage stage, double fraction) {
    if (!isExporting_) return;
    if (const auto line = ExportCopy::stageLine(stage)) stageLine_ = *line;
    if (const auto permille = ExportProgress::permille(stage, fraction)) {
        progressPermille_ = std::max(progressPermille_, *permille);
    }
    refresh();
}

void ContentView::exportFinished() {
    if (closing_) {
        ExportCoordinator::shared().end();
        isExporting_ = false;
        return;
    }
    const ExportRun run = exportWatcher_.result();
    if (!run.error) {
        outcome_ = Outcome{outputPath(*deckURL_),
                           run.probe ? std::optional<std::int64_t>(static_cast<std::int64_t>(run.probe->cues.size()))
                                     : std::nullopt,
                           run.probe ? std::optional<double>(run.probe->masterVideoDuration) : std::nullopt,
                           run.result.convertedOnClickVideoSlides};
    }
    isExporting_ = false;
    setFloating(false);
    refresh();
    ExportCoordinator::shared().end();
    // A quit that waited for this export has closed the window: no alert then.
    if (closing_) return;
    if (run.error) {
        presentExportError(run.error);
    } else {
        const auto lines = ExportCopy::postExportWarnings(run.result.convertedOnClickVideoSlides,
                                                          run.result.maxBulletsPerSlide, run.result.warnings);
        if (!lines.isEmpty()) presentWarnings(lines);
    }
    emit exported();
}

void ContentView::setFloating(bool floating) {
    // Only PowerPoint opens windows of its own that could hide this one.
    if (renderer_ != RendererChoice::Renderer::powerPoint || !isWindow() || !isVisible()) return;
    setWindowFlag(Qt::WindowStaysOnTopHint, floating);
    show();
}

void ContentView::refresh() {
    const bool busy = isScanning_ || isExporting_;
    chooseButton_->setEnabled(!busy);
    deckName_->setVisible(deckURL_.has_value());
    noDeck_->setVisible(!deckURL_);
    if (deckURL_) deckName_->setText(fileName(*deckURL_));

    scanErrorLabel_->setVisible(scanError_.has_value());
    scanErrorLabel_->setText(scanError_.value_or(QString()));
    multiVideoLabel_->setVisible(!multiVideoSlides_.empty());
    multiVideoLabel_->setText(ExportCopy::multiVideoRefusal(multiVideoSlides_));

    gifForm_->setVisible(!gifSlides_.empty());
    for (auto& [slide, field] : gifFields_) field->setEnabled(!isExporting_);

    const bool powerPoint = renderer_ == RendererChoice::Renderer::powerPoint;
    progressRow_->setVisible(busy);
    QString line = ExportCopy::kScanning;
    if (isExporting_) {
        line = ExportCoordinator::shared().finishingToQuit() ? ExportCopy::kFinishingToQuit
               : powerPoint                                  ? ExportCopy::exporting(renderer_)
                                                             : stageLine_.value_or(ExportCopy::exporting(renderer_));
    }
    progressLabel_->setText(line);
    progressBar_->setVisible(isExporting_ && !powerPoint && progressPermille_ >= 0);
    progressBar_->setValue(std::max(0, progressPermille_));

    exportButton_->setEnabled(canExport());

    divider_->setVisible(outcome_.has_value());
    resultView_->setVisible(outcome_.has_value());
    if (outcome_) {
        resultName_->setText(fileName(outcome_->orvURL));
        resultName_->setToolTip(QString::fromStdString(outcome_->orvURL.string()));
        const bool known = outcome_->cueCount && outcome_->masterVideoDuration;
        resultSummary_->setVisible(known);
        if (known) {
            resultSummary_->setText(ExportCopy::resultSummary(*outcome_->cueCount, *outcome_->masterVideoDuration));
        }
    }
}

QMessageBox* ContentView::presentAlert(bool warning, const QString& title, const QString& text) {
    QMessageBox* box = AlertBox::make(this, warning, title, text);
    box->addButton(QMessageBox::Ok);
    box->open();
    return box;
}

void ContentView::presentExportError(const std::exception_ptr& error) {
    presentAlert(true, ExportCopy::kExportFailedTitle, ExportCopy::errorMessage(error, renderer_));
}

void ContentView::presentWarnings(const QStringList& lines) {
    presentAlert(false, ExportCopy::kWarningsTitle, lines.join(QLatin1Char('\n')));
}

void ContentView::closeEvent(QCloseEvent* event) {
    // The quit guard, where installed, has already asked; what closes now
    // stops the export, which cleans up after itself.
    if (isExporting_) exportCancel_.cancel();
    closing_ = true;
    event->accept();
}

std::optional<std::filesystem::path> ContentView::droppedDeck(const QMimeData* data) {
    if (!data || !data->hasUrls() || data->urls().size() != 1) return std::nullopt;
    const QUrl url = data->urls().front();
    if (!url.isLocalFile() || !url.toLocalFile().endsWith(QStringLiteral(".pptx"), Qt::CaseInsensitive)) {
        return std::nullopt;
    }
    return std::filesystem::path(url.toLocalFile().toStdString());
}

void ContentView::dragEnterEvent(QDragEnterEvent* event) {
    if (!isScanning_ && !isExporting_ && droppedDeck(event->mimeData())) event->acceptProposedAction();
}

void ContentView::dropEvent(QDropEvent* event) {
    if (const auto deck = droppedDeck(event->mimeData()); deck && !isScanning_ && !isExporting_) {
        event->acceptProposedAction();
        openDeck(*deck);
    }
}

}  // namespace orvandel
