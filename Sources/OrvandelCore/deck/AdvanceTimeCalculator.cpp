#include "deck/AdvanceTimeCalculator.hpp"

#include <algorithm>

#include "base/Checked.hpp"
#include "deck/TimingPolicy.hpp"

namespace orvandel::AdvanceTimeCalculator {

namespace {

using namespace TimingPolicy;

std::int64_t total(std::int64_t stepsMs, bool haveSteps, bool autoFound, std::int64_t autoDurationMs, bool videoFound,
                   std::int64_t videoDurationMs, bool gifFound, std::int64_t gifDurationMs,
                   std::int64_t exitGroupCount) {
    std::int64_t sum = autoFound ? checkedAdd(checkedAdd(autoDurationMs, RESPIRO), MARGEM) : 0;
    const std::int64_t exitsMs = checkedMul(exitGroupCount, BULLET);
    if (haveSteps) {
        sum = checkedAdd(sum, checkedAdd(checkedAdd(stepsMs, exitsMs), RESPIRO + MARGEM));
    } else if (exitGroupCount >= 1) {
        sum = checkedAdd(sum, checkedAdd(exitsMs, RESPIRO + MARGEM));
    }
    if (videoFound) sum = checkedAdd(sum, checkedAdd(videoDurationMs, VIDEO_PRE + VIDEO_POS + MARGEM));
    if (gifFound) sum = checkedAdd(sum, checkedAdd(gifDurationMs, GIF_PRE + GIF_POS + MARGEM));
    return sum == 0 ? NO_EVENT : sum;
}

}  // namespace

std::int64_t bulletStepMs(std::int64_t animEffectiveMs) {
    return std::max(checkedAdd(animEffectiveMs, RESPIRO), BULLET);
}

std::int64_t advanceTimeMs(const std::vector<std::int64_t>& bulletDursMs, bool autoFound, std::int64_t autoDurationMs,
                           bool videoFound, std::int64_t videoDurationMs, bool gifFound, std::int64_t gifDurationMs,
                           std::int64_t exitGroupCount) {
    std::int64_t stepsMs = 0;
    for (const std::int64_t d : bulletDursMs) stepsMs = checkedAdd(stepsMs, bulletStepMs(d));
    return total(stepsMs, !bulletDursMs.empty(), autoFound, autoDurationMs, videoFound, videoDurationMs, gifFound,
                 gifDurationMs, exitGroupCount);
}

std::int64_t advanceTimeMs(std::int64_t bulletCount, bool autoFound, std::int64_t autoDurationMs, bool videoFound,
                           std::int64_t videoDurationMs, bool gifFound, std::int64_t gifDurationMs) {
    const std::int64_t stepsMs = bulletCount > 0 ? checkedMul(bulletCount, bulletStepMs(DEFAULT_ANIMATION)) : 0;
    return total(stepsMs, bulletCount > 0, autoFound, autoDurationMs, videoFound, videoDurationMs, gifFound,
                 gifDurationMs, 0);
}

}  // namespace orvandel::AdvanceTimeCalculator
