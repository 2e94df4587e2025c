#pragma once
// What the user types as the length of a GIF slide's loop, in seconds, the
// way people write them: "5", "2,5" or "2.5". Pure functions; integer
// arithmetic all the way to the millisecond.
#include <QString>

#include <cstdint>
#include <optional>

namespace orvandel::GifDurations {

// The longest loop accepted. Anything longer is a typing slip, and its
// milliseconds, summed over the deck, could leave the range of a 64-bit count.
inline constexpr std::int64_t kMaxSeconds = 24 * 60 * 60;

// What a field keeps of what was typed: the characters that are numbers in
// the Unicode sense, and the decimal comma or point.
QString keepNumbers(const QString& typed);
// The milliseconds a field stands for: an optional sign, ASCII digits, and
// at most one decimal comma or point followed by up to three decimals (more
// only when they are zeros: a finer length would be rounded behind the
// user's back); from 1 ms up to kMaxSeconds. Nothing otherwise.
std::optional<std::int64_t> milliseconds(const QString& field);
// `ms` as a field shows it, with a decimal comma and no trailing zeros: 2400 -> "2,4".
QString field(std::int64_t ms);

}  // namespace orvandel::GifDurations
