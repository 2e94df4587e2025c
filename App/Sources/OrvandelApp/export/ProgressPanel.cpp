#include "ProgressPanel.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>

#include "Brand.hpp"
#include "ExportCoordinator.hpp"
#include "ExportCopy.hpp"
#include "ExportSession.hpp"
#include "Spinner.hpp"

namespace orvandel {

ProgressPanel::ProgressPanel(ExportSession& session, QWidget* parent)
    : SessionPanel(session, parent),
      spinner_(new Spinner),
      line_(PanelSupport::wrappingLabel()),
      bar_(new QProgressBar),
      done_(PanelSupport::wrappingLabel()),
      cancel_(new QPushButton(ExportCopy::kCancel)),
      reuse_(PanelSupport::wrappingLabel()) {
    auto* progress = PanelSupport::column(this, 6);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    line_->setObjectName(QStringLiteral("progressLine"));
    row->addWidget(spinner_, 0, Qt::AlignTop);
    row->addWidget(line_, 1);
    progress->addLayout(row);
    bar_->setObjectName(QStringLiteral("progressBar"));
    bar_->setRange(0, 1000);
    bar_->setTextVisible(false);
    bar_->setFixedHeight(8);
    QPalette p = bar_->palette();
    p.setColor(QPalette::Highlight, Brand::primary);
    bar_->setPalette(p);
    progress->addWidget(bar_);
    auto* doneRow = new QHBoxLayout;
    doneRow->setSpacing(8);
    done_->setObjectName(QStringLiteral("progressDone"));
    cancel_->setObjectName(QStringLiteral("cancelButton"));
    // Stops the export as a forced quit does, and leaves the window open.
    connect(cancel_, &QPushButton::clicked, this, [this] { session_.cancel(); });
    doneRow->addWidget(done_, 1);
    doneRow->addWidget(cancel_, 0, Qt::AlignTop);
    progress->addLayout(doneRow);
    reuse_->setObjectName(QStringLiteral("reuseLine"));
    progress->addWidget(reuse_);
    secondaryTexts_ = {reuse_, done_};
    follow();
}

void ProgressPanel::refresh() {
    const auto renderer = session_.renderer();
    const bool exporting = session_.isExporting();
    // PowerPoint says nothing of its stages: its export shows one line.
    const bool powerPoint = renderer == RendererChoice::Renderer::powerPoint;
    const bool cancelled = !session_.isBusy() && session_.wasCancelled();
    setVisible(session_.isBusy() || cancelled);
    spinner_->setVisible(session_.isBusy());
    QString line = cancelled ? ExportCopy::kExportCancelled : ExportCopy::kScanning;
    if (exporting) {
        const QString exportingLine = powerPoint ? ExportCopy::exporting(renderer)
                                                 : session_.stageLine().value_or(ExportCopy::exporting(renderer));
        line = ExportCoordinator::shared().finishingToQuit() ? ExportCopy::kFinishingToQuit : exportingLine;
    }
    line_->setText(line);
    const int permille = session_.progressPermille();
    const bool measured = exporting && !powerPoint && permille >= 0;
    bar_->setVisible(measured);
    bar_->setValue(std::max(0, permille));
    done_->setVisible(measured);
    done_->setText(ExportCopy::progressDone(std::max(0, permille), session_.remainingMs()));
    cancel_->setVisible(exporting);
    // A quit that waits for this export to finish is not undone from here.
    cancel_->setEnabled(!ExportCoordinator::shared().finishingToQuit());
    const auto& reuse = session_.reuseLine();
    reuse_->setVisible(exporting && reuse.has_value());
    reuse_->setText(reuse.value_or(QString()));
    // In a short window the progress and "Cancelar" would be below the fold:
    // brought into view whenever the rows shown change (not on every tick,
    // so that the user may scroll away).
    const int rows = isHidden() ? 0 : 1 | (measured ? 2 : 0) | (exporting ? 4 : 0);
    if (rows && rows != shownRows_) PanelSupport::scrollIntoView(this);
    shownRows_ = rows;
}

}  // namespace orvandel
