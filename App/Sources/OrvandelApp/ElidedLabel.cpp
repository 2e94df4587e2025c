#include "ElidedLabel.hpp"

#include <QPainter>

namespace orvandel {

ElidedLabel::ElidedLabel(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

void ElidedLabel::setText(const QString& text) {
    text_ = text;
    setToolTip(text);
    updateGeometry();
    update();
}

QString ElidedLabel::shownText() const { return fontMetrics().elidedText(text_, Qt::ElideMiddle, width()); }

QSize ElidedLabel::sizeHint() const { return {fontMetrics().horizontalAdvance(text_), fontMetrics().height()}; }

QSize ElidedLabel::minimumSizeHint() const { return {fontMetrics().averageCharWidth() * 6, fontMetrics().height()}; }

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setPen(palette().color(foregroundRole()));
    p.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, shownText());
}

}  // namespace orvandel
