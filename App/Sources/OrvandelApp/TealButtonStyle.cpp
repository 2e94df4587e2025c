#include "TealButtonStyle.hpp"

#include <QPushButton>

#include "Brand.hpp"

namespace orvandel::TealButtonStyle {

void apply(QPushButton& button) {
    // Disabled: the teal washed out over the window's background, so that it
    // reads as "not yet" rather than as a different button.
    QColor disabled = Brand::primaryLight;
    disabled.setAlpha(90);
    button.setStyleSheet(QStringLiteral("QPushButton { color: white; background: %1; border: none; border-radius: 8px;"
                                        " padding: 8px 28px; font-weight: 600; }"
                                        "QPushButton:hover { background: %2; }"
                                        "QPushButton:pressed { background: %3; }"
                                        "QPushButton:focus { outline: none; }"
                                        "QPushButton:disabled { background: %4; color: rgba(255, 255, 255, 220); }")
                             .arg(Brand::primary.name(), Brand::primaryLight.name(), Brand::primaryDark.name(),
                                  disabled.name(QColor::HexArgb)));
    button.setCursor(Qt::PointingHandCursor);
}

}  // namespace orvandel::TealButtonStyle
