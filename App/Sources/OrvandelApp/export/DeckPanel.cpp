#include "DeckPanel.hpp"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStandardPaths>

#include "ElidedLabel.hpp"
#include "ExportCopy.hpp"
#include "ExportSession.hpp"

namespace orvandel {

using PanelSupport::wrappingLabel;

DeckPanel::DeckPanel(ExportSession& session, QWidget* parent)
    : SessionPanel(session, parent),
      chooseButton_(new QPushButton(ExportCopy::kChooseDeck)),
      deckName_(new ElidedLabel),
      // Only a file name may be shortened; the placeholder wraps instead.
      noDeck_(wrappingLabel(ExportCopy::kNoDeck)),
      scanError_(wrappingLabel()),
      multiVideo_(wrappingLabel()) {
    auto* column = PanelSupport::column(this, 12);
    auto* deckRow = new QHBoxLayout;
    deckRow->setSpacing(10);
    chooseButton_->setObjectName(QStringLiteral("chooseButton"));
    chooseButton_->setMinimumWidth(chooseButton_->sizeHint().width() + 16);
    connect(chooseButton_, &QPushButton::clicked, this, &DeckPanel::showImporter);
    deckName_->setObjectName(QStringLiteral("deckName"));
    deckRow->addWidget(chooseButton_);
    deckRow->addWidget(deckName_, 1);
    deckRow->addWidget(noDeck_, 1);
    column->addLayout(deckRow);

    scanError_->setObjectName(QStringLiteral("scanError"));
    multiVideo_->setObjectName(QStringLiteral("multiVideo"));
    for (auto* label : {scanError_, multiVideo_}) {
        QPalette p = label->palette();
        p.setColor(QPalette::WindowText, PanelSupport::warningColor());
        label->setPalette(p);
        column->addWidget(label);
    }
    secondaryTexts_ = {deckName_, noDeck_};
    follow();
}

void DeckPanel::showImporter() {
    const auto& deck = session_.deckPath();
    const QString start = deck ? QString::fromStdString(deck->parent_path().string())
                               : QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString picked = QFileDialog::getOpenFileName(window(), ExportCopy::kChooseDeck, start,
                                                        ExportCopy::importerFilter(session_.renderer()));
    if (!picked.isEmpty()) emit deckPicked(picked.toStdString());
}

void DeckPanel::refresh() {
    const auto& deck = session_.deckPath();
    chooseButton_->setEnabled(!session_.isBusy());
    deckName_->setVisible(deck.has_value());
    noDeck_->setVisible(!deck);
    if (deck) deckName_->setText(PanelSupport::fileName(*deck));

    const auto& error = session_.scanError();
    scanError_->setVisible(error.has_value());
    scanError_->setText(error.value_or(QString()));
    const auto& multiVideo = session_.multiVideoSlides();
    multiVideo_->setVisible(!multiVideo.empty());
    multiVideo_->setText(ExportCopy::multiVideoRefusal(multiVideo));
}

}  // namespace orvandel
