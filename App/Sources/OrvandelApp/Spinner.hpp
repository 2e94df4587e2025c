#pragma once
// A small spinning progress indicator: twelve spokes fading round while it
// is visible.
#include <QTimer>
#include <QWidget>

namespace orvandel {

class Spinner : public QWidget {
    Q_OBJECT
public:
    explicit Spinner(QWidget* parent = nullptr);
    QSize sizeHint() const override { return {16, 16}; }

protected:
    void paintEvent(QPaintEvent*) override;
    void showEvent(QShowEvent*) override { timer_.start(); }
    void hideEvent(QHideEvent*) override { timer_.stop(); }

private:
    QTimer timer_;
    int step_ = 0;
};

}  // namespace orvandel
