#include "AboutBox.hpp"

#include <QIcon>

#include "AlertBox.hpp"
#include "Brand.hpp"
#include "ShellCopy.hpp"

namespace orvandel::AboutBox {

QMessageBox* present(QWidget* window) {
    // The version the command line reports with --version.
    QMessageBox* box = AlertBox::make(window, false, ShellCopy::aboutHeading(QStringLiteral(ORVANDEL_VERSION)),
                                      ShellCopy::aboutText());
    box->setWindowTitle(ShellCopy::kAboutTitle);
    box->setObjectName(QStringLiteral("aboutBox"));
    box->setIconPixmap(QIcon(Brand::kProductImage).pixmap(56, 56));
    box->addButton(QMessageBox::Ok);
    box->open();
    return box;
}

}  // namespace orvandel::AboutBox
