#pragma once
// How long a slide stays on screen so that everything on it plays out with a
// pause after it, from the values of TimingPolicy. All values are
// milliseconds; overflow aborts.
#include <cstdint>
#include <vector>

namespace orvandel::AdvanceTimeCalculator {

// max(animEffectiveMs + RESPIRO, BULLET).
std::int64_t bulletStepMs(std::int64_t animEffectiveMs);

std::int64_t advanceTimeMs(const std::vector<std::int64_t>& bulletDursMs, bool autoFound, std::int64_t autoDurationMs,
                           bool videoFound, std::int64_t videoDurationMs, bool gifFound, std::int64_t gifDurationMs,
                           std::int64_t exitGroupCount);

// For callers that know only the number of steps: each counts as an
// animation of TimingPolicy::DEFAULT_ANIMATION, and there are no exit groups.
std::int64_t advanceTimeMs(std::int64_t bulletCount, bool autoFound, std::int64_t autoDurationMs, bool videoFound,
                           std::int64_t videoDurationMs, bool gifFound, std::int64_t gifDurationMs);

}  // namespace orvandel::AdvanceTimeCalculator
