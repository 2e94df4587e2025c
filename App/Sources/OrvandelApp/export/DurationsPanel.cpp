#include "DurationsPanel.hpp"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>

#include "ExportCopy.hpp"
#include "ExportSession.hpp"
#include "GifDurations.hpp"

namespace orvandel {

DurationsPanel::DurationsPanel(ExportSession& session, QWidget* parent)
    : SessionPanel(session, parent), rows_(new QGridLayout) {
    setObjectName(QStringLiteral("gifForm"));
    auto* form = PanelSupport::column(this, 8);
    form->addWidget(PanelSupport::wrappingLabel(ExportCopy::gifFormIntro(session_.renderer())));
    rows_->setHorizontalSpacing(10);
    rows_->setVerticalSpacing(6);
    rows_->setColumnStretch(4, 1);
    form->addLayout(rows_);
    connect(&session_, &ExportSession::scanned, this, &DurationsPanel::rebuild);
    follow();
}

void DurationsPanel::rebuild() {
    while (auto* item = rows_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    fields_.clear();
    understood_.clear();
    int row = 0;
    for (const auto slide : session_.gifSlides()) {
        auto* field = new QLineEdit;
        field->setObjectName(QStringLiteral("gifField-%1").arg(slide));
        field->setFixedWidth(field->fontMetrics().horizontalAdvance(QStringLiteral("00000,0")) + 24);
        field->setAlignment(Qt::AlignRight);
        field->setInputMethodHints(Qt::ImhFormattedNumbersOnly);
        // The GIFs' own loop, when they have one, is the length offered.
        field->setText(session_.gifField(slide));
        connect(field, &QLineEdit::textEdited, this,
                [this, slide, field](const QString& text) { typed(slide, *field, text); });
        rows_->addWidget(new QLabel(ExportCopy::gifSlideLabel(slide)), row, 0);
        rows_->addWidget(field, row, 1);
        rows_->addWidget(new QLabel(ExportCopy::kGifFieldUnit), row, 2);
        auto* understood = new QLabel;
        understood->setObjectName(QStringLiteral("gifUnderstood-%1").arg(slide));
        rows_->addWidget(understood, row, 3);
        fields_[slide] = field;
        understood_[slide] = understood;
        ++row;
    }
    refresh();
}

void DurationsPanel::typed(std::int64_t slide, QLineEdit& field, const QString& text) {
    // The cursor stays where it was, less the characters dropped before it.
    const int cursor = GifDurations::keepNumbers(text.left(field.cursorPosition())).size();
    const QString kept = session_.typeDuration(slide, text);
    if (kept != text) {
        field.setText(kept);
        field.setCursorPosition(cursor);
    }
}

void DurationsPanel::refresh() {
    // A new deck empties the form at once; its scan fills it.
    if (session_.isScanning() && !fields_.empty()) rebuild();
    setVisible(!session_.gifSlides().empty());
    for (auto& [slide, field] : fields_) field->setEnabled(!session_.isExporting());
    // What was understood of each field, so that "2.5" is seen to be two and a half seconds.
    for (auto& [slide, label] : understood_) {
        const auto ms = session_.gifMilliseconds(slide);
        label->setText(ms ? ExportCopy::gifLengthUnderstood(*ms) : QString());
    }
}

}  // namespace orvandel
