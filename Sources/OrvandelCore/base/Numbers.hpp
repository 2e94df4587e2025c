#pragma once
// Locale-free number parsing and formatting. The desktop app runs under a
// Portuguese locale, where printf("%.1f") would write a decimal comma; every
// number the system writes or reads goes through here instead.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvandel {

// A whole decimal integer: optional "+" or "-", then one or more ASCII digits,
// nothing else. Out of range or malformed gives nothing.
std::optional<std::int64_t> parseInt64(std::string_view text);

// A decimal number such as "12.5" or "+3" (no exponent needed, but accepted).
std::optional<double> parseDouble(std::string_view text);

std::string formatInt(std::int64_t value);

// Fixed-point with the given number of decimals and a dot, correctly rounded
// from the exact binary value, as printf("%.Nf") does in the C locale.
std::string formatFixed(double value, int decimals);

// Milliseconds as exact decimal seconds: 0 -> "0", 2000 -> "2", 1500 -> "1.5",
// 12345 -> "12.345", 1 -> "0.001".
std::string msAsDecimalSeconds(std::int64_t ms);

// The reverse, read without floating point: "12.345" -> 12345, "2" -> 2000,
// "1.50" -> 1500. Nothing for a sign, an exponent, a part of a millisecond
// ("1.2345") or a value beyond 64 bits.
std::optional<std::int64_t> msFromDecimalSeconds(std::string_view text);

// An unsigned decimal scaled by 10^places and rounded half up on the first
// digit dropped, without floating point: ("1.2345", 3) -> 1235, ("7.5", 0) ->
// 8. Nothing for a sign, an exponent, an empty part or a value beyond 64 bits.
std::optional<std::int64_t> roundedDecimal(std::string_view text, int places);

}  // namespace orvandel
