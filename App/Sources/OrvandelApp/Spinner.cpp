#include "Spinner.hpp"

#include <QPainter>

namespace orvandel {

Spinner::Spinner(QWidget* parent) : QWidget(parent) {
    setFixedSize(sizeHint());
    timer_.setInterval(80);
    connect(&timer_, &QTimer::timeout, this, [this] {
        step_ = (step_ + 1) % 12;
        update();
    });
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.translate(width() / 2.0, height() / 2.0);
    const double radius = std::min(width(), height()) / 2.0;
    QColor color = palette().color(QPalette::WindowText);
    for (int i = 0; i < 12; ++i) {
        // The newest spoke darkest, the others fading behind it.
        color.setAlphaF(0.15f + 0.85f * static_cast<float>((i - step_ + 12) % 12) / 11.0f);
        p.setPen(QPen(color, radius / 4.5, Qt::SolidLine, Qt::RoundCap));
        p.save();
        p.rotate(30.0 * i);
        p.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.9));
        p.restore();
    }
}

}  // namespace orvandel
