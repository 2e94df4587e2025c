#pragma once
// One line of text that shortens itself in the middle ("Aula de…tese.pptx")
// when the space is too narrow, keeping the start and the extension in view.
// The whole text stays available as the tooltip.
#include <QWidget>

namespace orvandel {

class ElidedLabel : public QWidget {
    Q_OBJECT
public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    void setText(const QString& text);
    const QString& text() const { return text_; }
    // What is drawn at the current width.
    QString shownText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent*) override;

private:
    QString text_;
};

}  // namespace orvandel
