#include "GifDurations.hpp"

#include <QList>

#include "base/Numbers.hpp"

namespace orvandel::GifDurations {

QString keepNumbers(const QString& typed) {
    QString kept;
    // By code point, so that a number outside the Basic Multilingual Plane
    // (a surrogate pair in UTF-16) is judged whole.
    for (const char32_t c : typed.toUcs4()) {
        if (QChar::isNumber(c)) kept += QString::fromUcs4(&c, 1);
    }
    return kept;
}

std::optional<std::int64_t> seconds(const QString& field) {
    const auto value = parseInt64(field.toStdString());
    if (!value || *value < 1 || *value > kMaxSeconds) return std::nullopt;
    return value;
}

}  // namespace orvandel::GifDurations
