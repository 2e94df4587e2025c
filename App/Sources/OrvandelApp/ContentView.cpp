#include "ContentView.hpp"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFrame>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>

#include "AlertBox.hpp"
#include "Brand.hpp"
#include "ExportCopy.hpp"
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
    setWindowTitle(ExportCopy::kWindowTitle);
    setAcceptDrops(true);
    buildLayout();
    applyColors();

    connect(session_.get(), &ExportSession::changed, this, &ContentView::refresh);
    connect(session_.get(), &ExportSession::exportEnded, this, &ContentView::exportEnded);
    // The main button answers Return wherever the focus is, the GIF fields included.
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        connect(new QShortcut(QKeySequence(key), this), &QShortcut::activated, this, &ContentView::runExport);
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
    connect(exportButton_, &QPushButton::clicked, this, &ContentView::runExport);
    column->addWidget(exportButton_, 0, Qt::AlignHCenter);

    resultPanel_ = new ResultPanel(*session_);
    column->addWidget(resultPanel_);
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
    const auto texts = QList<QWidget*>{help_} + deckPanel_->secondaryTexts() + resultPanel_->secondaryTexts();
    for (QWidget* w : texts) w->setPalette(secondary);
}

void ContentView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ThemeChange) applyColors();
}

void ContentView::refresh() {
    exportButton_->setEnabled(session_->canExport());
    setFloating(session_->isExporting());
}

void ContentView::openDeck(const std::filesystem::path& deck) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(deck, ec)) {
        presentAlert(true, ExportCopy::kOpenFailedTitle, ExportCopy::kOpenFailedText);
        return;
    }
    session_->chooseDeck(std::filesystem::absolute(deck, ec));
}

void ContentView::runExport() {
    if (!session_->canExport()) return;
    // Only PowerPoint has other decks open that a forced end could lose.
    if (renderer() == RendererChoice::Renderer::powerPoint) {
        const auto unsaved = UnsavedDecksGate::decksNeedingAttention(UnsavedDecksGate::openDecks(),
                                                                     session_->deckPath()->string());
        if (!unsaved.empty() && !UnsavedDecksGate::present(static_cast<std::int64_t>(unsaved.size()), this)) return;
    }
    session_->startExport();
}

void ContentView::exportEnded(const std::exception_ptr& error, const QStringList& warnings) {
    // A quit that waited for this export has closed the window: no alert then.
    if (closing_) return;
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
