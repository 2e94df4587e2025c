#pragma once
// What the window and its panels share: the export session each panel shows
// (SessionPanel) and the pieces they are built of.
#include <QColor>
#include <QString>
#include <QWidget>

#include <filesystem>

class QHBoxLayout;
class QLabel;
class QVBoxLayout;

namespace orvandel {

class ExportSession;

// A part of the window that shows the session's state: refresh() runs at
// once and after each change of the session.
class SessionPanel : public QWidget {
    Q_OBJECT
public:
    // The labels drawn in the window's secondary text colour.
    const QList<QWidget*>& secondaryTexts() const { return secondaryTexts_; }

protected:
    explicit SessionPanel(ExportSession& session, QWidget* parent = nullptr);
    virtual void refresh() = 0;
    // The last step of a panel's constructor.
    void follow();

    ExportSession& session_;
    QList<QWidget*> secondaryTexts_;
};

namespace PanelSupport {

// A label that wraps its plain text.
QLabel* wrappingLabel(const QString& text = {});
// `widget`'s column of rows `spacing` apart, flush with its edges.
QVBoxLayout* column(QWidget* widget, int spacing);
// An image (an SVG resource), `side` pixels square, beside semi-bold text
// `scale` times the usual size.
QHBoxLayout* headingRow(const QString& image, int side, const QString& text, int spacing, double scale = 1);
QColor warningColor();
// Scrolls the window's scroll area, if `widget` is in one, to show `widget`
// (`margin` pixels around it) once the layout has made room for it.
void scrollIntoView(QWidget* widget, int margin = 8);
QString fileName(const std::filesystem::path& path);

}  // namespace PanelSupport

}  // namespace orvandel
