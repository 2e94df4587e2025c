#pragma once
// The main button's look: white label on the brand's teal, rounded, the
// colours following the hover, press and enabled states.
class QPushButton;

namespace orvandel::TealButtonStyle {

void apply(QPushButton& button);

}  // namespace orvandel::TealButtonStyle
