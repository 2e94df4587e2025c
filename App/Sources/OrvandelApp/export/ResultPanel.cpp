#include "ResultPanel.hpp"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "Brand.hpp"
#include "ElidedLabel.hpp"
#include "ExportCopy.hpp"
#include "ExportSession.hpp"
#include "FileManagerReveal.hpp"

namespace orvandel {

ResultPanel::ResultPanel(ExportSession& session, QWidget* parent)
    : SessionPanel(session, parent), name_(new ElidedLabel), summary_(PanelSupport::wrappingLabel()) {
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
    auto* reveal = new QPushButton(ExportCopy::revealButton());
    reveal->setObjectName(QStringLiteral("revealButton"));
    connect(reveal, &QPushButton::clicked, this, [this] {
        if (const auto& outcome = session_.outcome()) FileManagerReveal::reveal(outcome->orvPath);
    });
    result->addSpacing(4);
    result->addWidget(reveal, 0, Qt::AlignLeft);
    column->addWidget(resultView);
    secondaryTexts_ = {name_, summary_};
    follow();
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
}

}  // namespace orvandel
