#pragma once
// What the user types as the length of a GIF slide's loop, in seconds.
// Pure functions.
#include <QString>

#include <cstdint>
#include <optional>

namespace orvandel::GifDurations {

// The longest loop accepted. Anything longer is a typing slip, and its
// milliseconds, summed over the deck, could leave the range of a 64-bit count.
inline constexpr std::int64_t kMaxSeconds = 24 * 60 * 60;

// What a field keeps of what was typed: the characters that are numbers in
// the Unicode sense.
QString keepNumbers(const QString& typed);
// The seconds a field stands for: a decimal integer (optional sign, ASCII
// digits only) from 1 up to kMaxSeconds; nothing otherwise.
std::optional<std::int64_t> seconds(const QString& field);

}  // namespace orvandel::GifDurations
