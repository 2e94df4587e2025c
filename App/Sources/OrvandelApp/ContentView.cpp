#include "ContentView.hpp"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFrame>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

#include "AlertBox.hpp"
#include "Brand.hpp"
#include "ExportCopy.hpp"
#include "ShellCopy.hpp"
#include "TealButtonStyle.hpp"
#include "UnsavedDecksGate.hpp"
#include "export/DeckPanel.hpp"
#include "export/DurationsPanel.hpp"
#include "export/OptionsPanel.hpp"
#include "export/PanelSupport.hpp"
#include "export/ProgressPanel.hpp"
#include "export/ResultPanel.hpp"

namespace orvandel {

ContentView::ContentView(RendererChoice::Renderer renderer, std::shared_ptr<const Mp4Exporting> exporter,
                         QWidget* parent)
    : QWidget(parent), session_(std::make_unique<ExportSession>(renderer, std::move(exporter))) {
    // The desktop adds the application's name ("… — Orvandel") itself.
    setWindowTitle(ExportCopy::kTitle);
    setAcceptDrops(true);
    buildLayout();
    applyColors();

    connect(session_.get(), &ExportSession::changed, this, &ContentView::refresh);
    connect(session_.get(), &ExportSession::exportEnded, this, &ContentView::exportEnded);
    // The main button answers Return wherever the focus is, the GIF fields included.
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this, [this] { runExport(); });
    }
    refresh();
}

void ContentView::buildLayout() {
    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("content"));
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(22, 18, 22, 18);
    column->setSpacing(12);
    column->addLayout(PanelSupport::headingRow(Brand::kProductImage, 40, ExportCopy::kTitle, 12, 1.45));

    help_ = PanelSupport::wrappingLabel(ExportCopy::helpText(renderer()));
    help_->setObjectName(QStringLiteral("help"));
    column->addWidget(help_);

    deckPanel_ = new DeckPanel(*session_);
    connect(deckPanel_, &DeckPanel::deckPicked, this, &ContentView::openDeck);
    column->addWidget(deckPanel_);
    column->addWidget(new DurationsPanel(*session_));
    column->addWidget(new OptionsPanel(*session_));
    column->addWidget(new ProgressPanel(*session_));

    exportButton_ = new QPushButton(ExportCopy::kExport);
    exportButton_->setObjectName(QStringLiteral("exportButton"));
    exportButton_->setDefault(true);
    TealButtonStyle::apply(*exportButton_);
    connect(exportButton_, &QPushButton::clicked, this, [this] { runExport(); });
    column->addWidget(exportButton_, 0, Qt::AlignHCenter);

    resultPanel_ = new ResultPanel(*session_);
    column->addWidget(resultPanel_);
    column->addStretch(1);

    // A narrow or short window scrolls instead of squeezing the texts.
    scroll_ = new QScrollArea;
    scroll_->setWidget(content);
    scroll_->setWidgetResizable(true);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(scroll_);
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
    const auto texts = QList<QWidget*>{help_} + deckPanel_->secondaryTexts() + resultPanel_->secondaryTexts();
    for (QWidget* w : texts) w->setPalette(secondary);
}

void ContentView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ThemeChange) applyColors();
}

bool ContentView::exportable() const { return session_->canExport() && !session_->scanError(); }

void ContentView::refresh() {
    exportButton_->setEnabled(exportable());
    setFloating(session_->isExporting());
}

void ContentView::openDeck(const std::filesystem::path& deck) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(deck, ec)) {
        presentAlert(true, ExportCopy::kOpenFailedTitle, ExportCopy::kOpenFailedText);
        return;
    }
    if (session_->isBusy()) return;
    const auto chosen = std::filesystem::absolute(deck, ec).lexically_normal();
    session_->chooseDeck(chosen);
    emit deckOpened(chosen);
}

void ContentView::chooseDeck() {
    if (!session_->isBusy()) deckPanel_->showImporter();
}

void ContentView::runExport(const std::optional<std::filesystem::path>& to) {
    // A failed scan is shown in the window already; no alert repeats it.
    if (!exportable()) return;
    // Only PowerPoint has other decks open that a forced end could lose.
    if (renderer() == RendererChoice::Renderer::powerPoint) {
        const auto unsaved = UnsavedDecksGate::decksNeedingAttention(UnsavedDecksGate::openDecks(),
                                                                     session_->deckPath()->string());
        if (!unsaved.empty() && !UnsavedDecksGate::present(static_cast<std::int64_t>(unsaved.size()), this)) return;
    }
    session_->startExport(to);
}

std::filesystem::path ContentView::withPackageExtension(const std::filesystem::path& chosen) {
    if (chosen.extension() == ".orv") return chosen;
    auto withExtension = chosen;
    return withExtension += ".orv";
}

void ContentView::saveAs() {
    if (!exportable()) return;
    const QString suggested = QString::fromStdString(ExportSession::outputPath(*session_->deckPath()).string());
    const QString chosen = QFileDialog::getSaveFileName(this, ShellCopy::kSaveAsTitle, suggested,
                                                        ShellCopy::kOrvFilter);
    if (!chosen.isEmpty()) runExport(withPackageExtension(chosen.toStdString()));
}

void ContentView::exportEnded(const std::exception_ptr& error, const QStringList& warnings) {
    // A quit that waited for this export has closed the window: no alert then.
    if (closing_) return;
    // In a short window the result is below the fold: brought into view,
    // once the layout has made room for it.
    if (!error) {
        QTimer::singleShot(0, this, [this] {
            if (resultPanel_->isVisible()) scroll_->ensureWidgetVisible(resultPanel_, 0, 0);
        });
    }
    if (error) {
        presentAlert(true, ExportCopy::kExportFailedTitle, ExportCopy::errorMessage(error, renderer()));
    } else if (!warnings.isEmpty()) {
        presentAlert(false, ExportCopy::kWarningsTitle, warnings.join(QLatin1Char('\n')));
    }
}

void ContentView::setFloating(bool floating) {
    // Only PowerPoint opens windows of its own that could hide this one.
    if (floating == floating_ || renderer() != RendererChoice::Renderer::powerPoint || !isWindow() || !isVisible()) {
        return;
    }
    floating_ = floating;
    setWindowFlag(Qt::WindowStaysOnTopHint, floating);
    show();
}

void ContentView::presentAlert(bool warning, const QString& title, const QString& text) {
    QMessageBox* box = AlertBox::make(this, warning, title, text);
    box->addButton(QMessageBox::Ok);
    box->open();
}

void ContentView::closeEvent(QCloseEvent* event) {
    // The quit guard, where installed, has already asked; what closes now
    // stops the export, which cleans up after itself.
    session_->cancel();
    closing_ = true;
    event->accept();
}

std::optional<std::filesystem::path> ContentView::droppedDeck(const QMimeData* data) {
    if (!data || !data->hasUrls() || data->urls().size() != 1) return std::nullopt;
    const QUrl url = data->urls().front();
    if (!url.isLocalFile()) return std::nullopt;
    const std::filesystem::path deck(url.toLocalFile().toStdString());
    return ExportSession::looksLikeDeck(deck) ? std::optional(deck) : std::nullopt;
}

void ContentView::dragEnterEvent(QDragEnterEvent* event) {
    if (!session_->isBusy() && droppedDeck(event->mimeData())) event->acceptProposedAction();
}

void ContentView::dropEvent(QDropEvent* event) {
    if (const auto deck = droppedDeck(event->mimeData()); deck && !session_->isBusy()) {
        event->acceptProposedAction();
        openDeck(*deck);
    }
}

}  // namespace orvandel
