#include "ProgressPanel.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>

#include <algorithm>

#include "Brand.hpp"
#include "ExportCoordinator.hpp"
#include "ExportCopy.hpp"
#include "ExportSession.hpp"
#include "Spinner.hpp"

namespace orvandel {

ProgressPanel::ProgressPanel(ExportSession& session, QWidget* parent)
    : SessionPanel(session, parent),
      line_(PanelSupport::wrappingLabel()),
      bar_(new QProgressBar),
      reuse_(PanelSupport::wrappingLabel()) {
    auto* progress = PanelSupport::column(this, 6);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    line_->setObjectName(QStringLiteral("progressLine"));
    row->addWidget(new Spinner, 0, Qt::AlignTop);
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
    reuse_->setObjectName(QStringLiteral("reuseLine"));
    progress->addWidget(reuse_);
    secondaryTexts_ = {reuse_};
    follow();
}

void ProgressPanel::refresh() {
    const auto renderer = session_.renderer();
    const bool exporting = session_.isExporting();
    // PowerPoint says nothing of its stages: its export shows one line.
    const bool powerPoint = renderer == RendererChoice::Renderer::powerPoint;
    setVisible(session_.isBusy());
    QString line = ExportCopy::kScanning;
    if (exporting) {
        const QString exportingLine = powerPoint ? ExportCopy::exporting(renderer)
                                                 : session_.stageLine().value_or(ExportCopy::exporting(renderer));
        line = ExportCoordinator::shared().finishingToQuit() ? ExportCopy::kFinishingToQuit : exportingLine;
    }
    line_->setText(line);
    const int permille = session_.progressPermille();
    bar_->setVisible(exporting && !powerPoint && permille >= 0);
    bar_->setValue(std::max(0, permille));
    const auto& reuse = session_.reuseLine();
    reuse_->setVisible(exporting && reuse.has_value());
    reuse_->setText(reuse.value_or(QString()));
}

}  // namespace orvandel
