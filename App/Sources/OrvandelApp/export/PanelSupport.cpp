#include "PanelSupport.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QSvgWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "ExportSession.hpp"

namespace orvandel {

SessionPanel::SessionPanel(ExportSession& session, QWidget* parent) : QWidget(parent), session_(session) {}

void SessionPanel::follow() {
    connect(&session_, &ExportSession::changed, this, &SessionPanel::refresh);
    refresh();
}

namespace PanelSupport {

QLabel* wrappingLabel(const QString& text) {
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QVBoxLayout* column(QWidget* widget, int spacing) {
    auto* layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(spacing);
    return layout;
}

QHBoxLayout* headingRow(const QString& image, int side, const QString& text, int spacing, double scale) {
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing);
    auto* picture = new QSvgWidget(image);
    picture->setFixedSize(side, side);
    auto* label = new QLabel(text);
    QFont font = label->font();
    if (scale != 1) font.setPointSizeF(font.pointSizeF() * scale);
    font.setWeight(QFont::DemiBold);
    label->setFont(font);
    row->addWidget(picture);
    row->addWidget(label, 1);
    return row;
}

QColor warningColor() { return QColor(180, 35, 24); }

void scrollIntoView(QWidget* widget, int margin) {
    for (QWidget* w = widget->parentWidget(); w; w = w->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(w)) {
            QTimer::singleShot(0, area, [area, widget = QPointer(widget), margin] {
                if (widget && widget->isVisible()) area->ensureWidgetVisible(widget, 0, margin);
            });
            return;
        }
    }
}

QString fileName(const std::filesystem::path& path) { return QString::fromStdString(path.filename().string()); }

}  // namespace PanelSupport

}  // namespace orvandel
