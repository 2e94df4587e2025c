#pragma once
// How long a slide stays on screen so that everything on it plays out with a
// pause after it. The cue calculator lays out its cues with the same
// constants, so that cue times and the rendered movie agree. All values are
// milliseconds; overflow aborts.
#include <cstdint>
#include <vector>

namespace orvandel::AdvanceTimeCalculator {

inline constexpr std::int64_t RESPIRO = 1000;    // pause after an animation
inline constexpr std::int64_t MARGEM = 500;      // margin at the end of each block
inline constexpr std::int64_t BULLET = 1500;     // least length of one click step
inline constexpr std::int64_t VIDEO_PRE = 500;   // before a video starts
inline constexpr std::int64_t VIDEO_POS = 500;   // after a video ends
inline constexpr std::int64_t GIF_PRE = 500;     // before a GIF
inline constexpr std::int64_t GIF_POS = 500;     // after a GIF
inline constexpr std::int64_t NO_EVENT = 1500;   // a slide on which nothing happens

// max(animEffectiveMs + RESPIRO, BULLET).
std::int64_t bulletStepMs(std::int64_t animEffectiveMs);

std::int64_t advanceTimeMs(const std::vector<std::int64_t>& bulletDursMs, bool autoFound, std::int64_t autoDurationMs,
                           bool videoFound, std::int64_t videoDurationMs, bool gifFound, std::int64_t gifDurationMs,
                           std::int64_t exitGroupCount);

// For callers that know only the number of steps: each counts as a 500 ms
// animation, and there are no exit groups.
std::int64_t advanceTimeMs(std::int64_t bulletCount, bool autoFound, std::int64_t autoDurationMs, bool videoFound,
                           std::int64_t videoDurationMs, bool gifFound, std::int64_t gifDurationMs);

}  // namespace orvandel::AdvanceTimeCalculator
