#include "GifDurations.hpp"

#include <QList>

namespace orvandel::GifDurations {

namespace {

bool isSeparator(char32_t c) { return c == U',' || c == U'.'; }
bool isAsciiDigit(QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); }

}  // namespace

QString keepNumbers(const QString& typed) {
    QString kept;
    // By code point, so that a number outside the Basic Multilingual Plane
    // (a surrogate pair in UTF-16) is judged whole.
    for (const char32_t c : typed.toUcs4()) {
        if (QChar::isNumber(c) || isSeparator(c)) kept += QString::fromUcs4(&c, 1);
    }
    return kept;
}

std::optional<std::int64_t> milliseconds(const QString& text) {
    qsizetype i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == QLatin1Char('+') || text[i] == QLatin1Char('-'))) {
        negative = text[i] == QLatin1Char('-');
        ++i;
    }
    std::int64_t seconds = 0;
    bool anyDigit = false;
    for (; i < text.size() && isAsciiDigit(text[i]); ++i) {
        seconds = seconds * 10 + (text[i].unicode() - '0');
        anyDigit = true;
        // Bounded before it can grow: leading zeros keep it small.
        if (seconds > kMaxSeconds) return std::nullopt;
    }
    std::int64_t fraction = 0;  // thousandths
    if (i < text.size() && isSeparator(text[i].unicode())) {
        ++i;
        std::int64_t scale = 100;  // the first decimal counts hundreds of milliseconds
        for (; i < text.size() && isAsciiDigit(text[i]); ++i) {
            const int digit = text[i].unicode() - '0';
            if (scale == 0 && digit != 0) return std::nullopt;
            fraction += digit * scale;
            scale /= 10;
            anyDigit = true;
        }
    }
    if (!anyDigit || i != text.size() || negative) return std::nullopt;
    const std::int64_t ms = seconds * 1000 + fraction;
    if (ms < 1 || ms > kMaxSeconds * 1000) return std::nullopt;
    return ms;
}

QString field(std::int64_t ms) {
    QString text = QString::number(static_cast<qlonglong>(ms / 1000));
    if (const auto rest = ms % 1000; rest > 0) {
        QString decimals = QStringLiteral("%1").arg(static_cast<int>(rest), 3, 10, QLatin1Char('0'));
        while (decimals.endsWith(QLatin1Char('0'))) decimals.chop(1);
        text += QLatin1Char(',') + decimals;
    }
    return text;
}

}  // namespace orvandel::GifDurations
