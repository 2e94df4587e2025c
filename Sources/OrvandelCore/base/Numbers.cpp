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
    const std::uint64_t magnitude =
        negative ? std::uint64_t(0) - static_cast<std::uint64_t>(ms) : static_cast<std::uint64_t>(ms);
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

}  // namespace orvandel
