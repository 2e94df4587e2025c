#include "base/Numbers.hpp"

#include <charconv>
#include <cmath>
#include <system_error>

namespace orvandel {

std::optional<std::int64_t> parseInt64(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return std::nullopt;
    }
    if (text.empty()) return std::nullopt;
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value, 10);
    if (ec != std::errc() || ptr != end) return std::nullopt;
    return value;
}

std::optional<double> parseDouble(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return std::nullopt;
    }
    if (text.empty()) return std::nullopt;
    double value = 0;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value, std::chars_format::general);
    if (ec != std::errc() || ptr != end) return std::nullopt;
    return value;
}

std::string formatInt(std::int64_t value) {
    char buf[24];
    auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, value);
    (void)ec;
    return std::string(buf, ptr);
}

std::string formatFixed(double value, int decimals) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    char buf[400];
    auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed, decimals);
    if (ec != std::errc()) return "?";
    return std::string(buf, ptr);
}

std::string msAsDecimalSeconds(std::int64_t ms) {
    // Work on the magnitude as unsigned so that INT64_MIN is safe.
    const bool negative = ms < 0;
    const std::uint64_t magnitude = negative ? std::uint64_t(0) - static_cast<std::uint64_t>(ms)
                                             : static_cast<std::uint64_t>(ms);
    std::string out = negative ? "-" : "";
    out += std::to_string(magnitude / 1000);
    std::uint64_t frac = magnitude % 1000;
    if (frac != 0) {
        std::string digits = {char('0' + frac / 100), char('0' + frac / 10 % 10), char('0' + frac % 10)};
        while (digits.back() == '0') digits.pop_back();
        out += "." + digits;
    }
    return out;
}

std::optional<std::int64_t> msFromDecimalSeconds(std::string_view text) {
    const auto dot = text.find('.');
    const std::string_view whole = text.substr(0, dot);
    std::string_view fraction = dot == std::string_view::npos ? std::string_view{} : text.substr(dot + 1);
    if (dot != std::string_view::npos && fraction.empty()) return std::nullopt;
    while (fraction.size() > 3 && fraction.back() == '0') fraction.remove_suffix(1);
    if (whole.empty() || fraction.size() > 3) return std::nullopt;
    const auto isDigits = [](std::string_view s) {
        return s.find_first_not_of("0123456789") == std::string_view::npos;
    };
    if (!isDigits(whole) || !isDigits(fraction)) return std::nullopt;
    const auto seconds = parseInt64(whole);
    if (!seconds || *seconds >= INT64_MAX / 1000) return std::nullopt;
    std::int64_t ms = 0;
    for (std::size_t i = 0; i < 3; ++i) ms = ms * 10 + (i < fraction.size() ? fraction[i] - '0' : 0);
    return *seconds * 1000 + ms;
}

std::optional<std::int64_t> roundedDecimal(std::string_view text, int places) {
    const auto dot = text.find('.');
    const std::string_view whole = text.substr(0, dot);
    const std::string_view fraction = dot == std::string_view::npos ? std::string_view{} : text.substr(dot + 1);
    const auto isDigits = [](std::string_view s) {
        return s.find_first_not_of("0123456789") == std::string_view::npos;
    };
    if (whole.empty() || (dot != std::string_view::npos && fraction.empty()) || !isDigits(whole) ||
        !isDigits(fraction)) {
        return std::nullopt;
    }
    auto value = parseInt64(whole);
    for (int i = 0; value && i <= places; ++i) {
        const int digit = std::size_t(i) < fraction.size() ? fraction[std::size_t(i)] - '0' : 0;
        if (i == places) {
            if (digit >= 5 && __builtin_add_overflow(*value, 1, &*value)) value.reset();
        } else if (__builtin_mul_overflow(*value, 10, &*value) || __builtin_add_overflow(*value, digit, &*value)) {
            value.reset();
        }
    }
    return value;
}

}  // namespace orvandel
