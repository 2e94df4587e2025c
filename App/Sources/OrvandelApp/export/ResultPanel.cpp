#include "ResultPanel.hpp"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QStandardPaths>

#include "Brand.hpp"
#include "ElidedLabel.hpp"
#include "ExportCopy.hpp"
#include "ExportSession.hpp"
#include "FileManagerReveal.hpp"
#include "LessonPreview.hpp"
#include "ShellCopy.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "package/ManifestReader.hpp"
#include "package/PackagedMovie.hpp"
#include "package/PreviewPage.hpp"

namespace orvandel {

ResultPanel::ResultPanel(ExportSession& session, QWidget* parent)
    : SessionPanel(session, parent),
      name_(new ElidedLabel),
      summary_(PanelSupport::wrappingLabel()),
      watch_(new QPushButton(ShellCopy::kWatch)),
      preview_(new QPushButton(ShellCopy::kOpenPreview)),
      reveal_(new QPushButton(ExportCopy::revealButton())),
      status_(PanelSupport::wrappingLabel()),
      previewRoot_(QStandardPaths::writableLocation(QStandardPaths::CacheLocation).toStdString() + "/previews"),
      preparation_(this, [this](const Prepared& run) { prepared(run); }) {
    auto* column = PanelSupport::column(this, 12);
    auto* divider = new QFrame;
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Sunken);
    column->addWidget(divider);

    auto* resultView = new QWidget;
    resultView->setObjectName(QStringLiteral("resultView"));
    auto* result = PanelSupport::column(resultView, 4);
    result->addLayout(PanelSupport::headingRow(Brand::kDoneSeal, 20, ExportCopy::kExportDone, 8));
    name_->setObjectName(QStringLiteral("resultName"));
    summary_->setObjectName(QStringLiteral("resultSummary"));
    result->addWidget(name_);
    result->addWidget(summary_);

    auto* actions = new QHBoxLayout;
    actions->setSpacing(8);
    watch_->setObjectName(QStringLiteral("watchButton"));
    preview_->setObjectName(QStringLiteral("previewButton"));
    reveal_->setObjectName(QStringLiteral("revealButton"));
    connect(watch_, &QPushButton::clicked, this, [this] { open(Target::movie); });
    connect(preview_, &QPushButton::clicked, this, [this] { open(Target::page); });
    connect(reveal_, &QPushButton::clicked, this, &ResultPanel::reveal);
    for (auto* button : {watch_, preview_, reveal_}) actions->addWidget(button);
    actions->addStretch(1);
    result->addSpacing(4);
    result->addLayout(actions);
    status_->setObjectName(QStringLiteral("resultStatus"));
    result->addWidget(status_);
    column->addWidget(resultView);
    secondaryTexts_ = {name_, summary_};
    follow();
}

ResultPanel::~ResultPanel() {
    // A preview still being written stops; the folder is left as it was.
    cancel_.cancel();
    preparation_.wait();
}

void ResultPanel::refresh() {
    const auto& outcome = session_.outcome();
    setVisible(outcome.has_value());
    if (!outcome) return;
    name_->setText(PanelSupport::fileName(outcome->orvPath));
    name_->setToolTip(QString::fromStdString(outcome->orvPath.string()));
    const auto reuse = ExportCopy::reusedSlides(outcome->reusedSlides, outcome->movieSlides);
    summary_->setText(ExportCopy::resultSummary(outcome->cueCount, outcome->masterVideoSeconds) +
                      (reuse ? "\n" + *reuse : QString()));
    // What was said about an earlier package does not hold for this one.
    if (shown_ != outcome->orvPath) say({}, false);
    watch_->setEnabled(!preparing_);
    preview_->setEnabled(!preparing_);
}

void ResultPanel::say(const QString& line, bool problem) {
    shown_ = session_.outcome() ? std::optional(session_.outcome()->orvPath) : std::nullopt;
    QPalette p = palette();
    if (problem) p.setColor(QPalette::WindowText, PanelSupport::warningColor());
    status_->setPalette(p);
    status_->setText(line);
    status_->setVisible(!line.isEmpty());
    // In a short window the line may fall below the fold.
    if (!line.isEmpty()) PanelSupport::scrollIntoView(status_);
}

void ResultPanel::open(Target target) {
    const auto& outcome = session_.outcome();
    if (!outcome || preparing_) return;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(outcome->orvPath, ec))
        return say(ShellCopy::packageGone(outcome->orvPath), true);
    preparing_ = true;
    say(ShellCopy::kPreparing, false);
    refresh();
    const std::filesystem::path deck = session_.deckPath().value_or(std::filesystem::path());
    preparation_.start([root = previewRoot_, orv = outcome->orvPath, deck, cancel = cancel_, target]() -> Prepared {
        try {
            return {LessonPreview::prepare(root, orv, deck, cancel), target, false};
        } catch (const PackagedMovie::MovieError&) {
            return {std::nullopt, target, true};
        } catch (const PptxArchive::ArchiveError&) {
            return {std::nullopt, target, true};
        } catch (const ZipArchive::ZipError&) {
            return {std::nullopt, target, true};
        } catch (const ManifestReader::ReadError&) {
            return {std::nullopt, target, true};
        } catch (const ManifestReader::DecodeError&) {
            return {std::nullopt, target, true};
        } catch (...) {
            // The cache's disk, full or not writable.
            return {std::nullopt, target, false};
        }
    });
}

void ResultPanel::prepared(const Prepared& run) {
    preparing_ = false;
    refresh();
    const auto& outcome = session_.outcome();
    if (!run.folder && run.damaged && outcome) return say(ShellCopy::packageDamaged(outcome->orvPath), true);
    if (!run.folder) return say(ShellCopy::kPreviewFailed, true);
    const bool movie = run.target == Target::movie;
    const auto file = *run.folder / (movie ? PreviewPage::kMovie : PreviewPage::kPage);
    if (desktop_.openUrl(QUrl::fromLocalFile(QString::fromStdString(file.string())))) return say({}, false);
    say(movie ? ShellCopy::kNoPlayer : ShellCopy::kNoBrowser, true);
}

void ResultPanel::reveal() {
    const auto& outcome = session_.outcome();
    if (!outcome) return;
    const auto orv = outcome->orvPath;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(orv, ec)) return say(ShellCopy::packageGone(orv), true);
    // The file manager may answer after the window has gone.
    FileManagerReveal::reveal(orv, desktop_, [panel = QPointer(this), orv](FileManagerReveal::Outcome how) {
        if (!panel || !panel->session_.outcome() || panel->session_.outcome()->orvPath != orv) return;
        using enum FileManagerReveal::Outcome;
        if (how == selected) panel->say({}, false);
        if (how == folderOpened) panel->say(ShellCopy::folderOpened(orv), false);
        if (how == nothingOpened) panel->say(ShellCopy::noFileManager(orv), true);
    });
}

}  // namespace orvandel
