#include "AlertBox.hpp"

#include <QLabel>

#include <algorithm>

namespace orvandel::AlertBox {

QMessageBox* make(QWidget* window, bool warning, const QString& message, const QString& informative) {
    auto* box = new QMessageBox(warning ? QMessageBox::Warning : QMessageBox::Information, QStringLiteral("Orvandel"),
                                message, QMessageBox::NoButton, window);
    box->setInformativeText(informative);
    if (auto* heading = box->findChild<QLabel*>(QStringLiteral("qt_msgbox_label"))) {
        QFont font = heading->font();
        font.setWeight(QFont::DemiBold);
        font.setPointSizeF(font.pointSizeF() * 1.1);
        heading->setFont(font);
    }
    if (auto* body = box->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel"))) {
        const int paragraph = body->fontMetrics().averageCharWidth() * 48;
        body->setMinimumWidth(window ? std::min(paragraph, window->width() - 130) : paragraph);
    }
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    return box;
}

}  // namespace orvandel::AlertBox
