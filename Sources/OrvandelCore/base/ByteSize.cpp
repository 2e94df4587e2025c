#include "base/ByteSize.hpp"

#include <limits>

namespace orvandel {

std::optional<std::int64_t> parseByteSize(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto lower = [](char c) { return char(c >= 'A' && c <= 'Z' ? c + 32 : c); };
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

    std::size_t at = 0;
    std::int64_t whole = 0;
    for (; at < text.size() && isDigit(text[at]); ++at) {
        const int digit = text[at] - '0';
        if (whole > (kMax - digit) / 10) return std::nullopt;
        whole = whole * 10 + digit;
    }
    if (at == 0) return std::nullopt;
    // The fraction as an integer over a power of ten: its first six digits,
    // finer than anyone gives a cache's size, few enough that fraction * unit fits.
    std::int64_t fraction = 0, scale = 1;
    if (at < text.size() && text[at] == '.') {
        const std::size_t begin = ++at;
        for (; at < text.size() && isDigit(text[at]); ++at) {
            if (at - begin < 6) fraction = fraction * 10 + (text[at] - '0'), scale *= 10;
        }
        if (at == begin) return std::nullopt;
    }
    std::int64_t unit = 1;
    std::string_view rest = text.substr(at);
    if (!rest.empty()) {
        const std::string_view units = "kmgt";
        const auto power = units.find(lower(rest.front()));
        if (power != std::string_view::npos) {
            unit = std::int64_t(1) << (10 * (power + 1));
            rest.remove_prefix(1);
            if (!rest.empty() && lower(rest.front()) == 'i') rest.remove_prefix(1);
        }
        if (!rest.empty() && lower(rest.front()) == 'b') rest.remove_prefix(1);
        if (!rest.empty()) return std::nullopt;
    }
    // A byte is not split.
    if (unit == 1 && scale > 1) return std::nullopt;
    if (whole > kMax / unit) return std::nullopt;
    const std::int64_t bytes = whole * unit, part = fraction * unit / scale;
    if (bytes > kMax - part || bytes + part == 0) return std::nullopt;
    return bytes + part;
}

}  // namespace orvandel
