#pragma once
// The brand's colours and images.
#include <QColor>
#include <QString>

namespace orvandel::Brand {

inline const QColor primary{13, 148, 136};
inline const QColor primaryLight{20, 184, 166};
inline const QColor primaryDark{15, 118, 110};
inline const QColor background{240, 253, 250};

// The product image of the window's header, and the seal of a finished export (SVG resources).
inline const QString kProductImage = QStringLiteral(":/orvandel/orvandel.svg");
inline const QString kDoneSeal = QStringLiteral(":/orvandel/seal-check.svg");

}  // namespace orvandel::Brand
