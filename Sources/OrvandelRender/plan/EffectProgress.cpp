#include "plan/EffectProgress.hpp"

#include <algorithm>

namespace orvandel::EffectProgress {

namespace {

// Durations beyond a day and more than a thousand plays are the deck's
// nonsense; bounded so that no product below overflows.
constexpr std::int64_t kMaxMs = 86'400'000;
constexpr std::int64_t kMaxRepeatMilli = 1'000'000;

}  // namespace

std::int64_t eased(std::int64_t simple, const EffectTiming& timing) {
    const std::int64_t t = std::clamp<std::int64_t>(simple, 0, kWhole);
    std::int64_t a = std::clamp<std::int64_t>(timing.accel, 0, kWhole);
    std::int64_t b = std::clamp<std::int64_t>(timing.decel, 0, kWhole);
    if (a + b > kWhole) {  // shares that overlap are scaled down to meet
        const std::int64_t sum = a + b;
        a = a * kWhole / sum;
        b = kWhole - a;
    }
    if (a == 0 && b == 0) return t;
    // Twice the area under the speed ramp, in kWhole units: top speed is 2/(2 - a - b).
    const std::int64_t twice = 2 * kWhole - a - b;
    if (t < a) return kWhole * t * t / (a * twice);
    if (t <= kWhole - b) return kWhole * (2 * t - a) / twice;
    const std::int64_t late = t - (kWhole - b);
    return std::min(kWhole, kWhole * (b * (2 * t - a) - late * late) / (b * twice));
}

std::int64_t filtered(std::int64_t progress, const EffectTiming& timing) {
    const auto& points = timing.filter;
    const std::int64_t t = std::clamp<std::int64_t>(progress, 0, kWhole);
    if (points.empty()) return t;
    if (t <= points.front().first) return std::clamp<std::int64_t>(points.front().second, 0, kWhole);
    for (std::size_t i = 1; i < points.size(); ++i) {
        const auto [t0, v0] = points[i - 1];
        const auto [t1, v1] = points[i];
        if (t > t1) continue;
        const std::int64_t v = t1 > t0 ? v0 + (v1 - v0) * (t - t0) / (t1 - t0) : v1;
        return std::clamp<std::int64_t>(v, 0, kWhole);
    }
    return std::clamp<std::int64_t>(points.back().second, 0, kWhole);
}

std::int64_t activeMs(std::int64_t playMs, const EffectTiming& timing, std::int64_t untilMs) {
    if (timing.repeatMilli <= 0) return std::clamp<std::int64_t>(untilMs, 0, kMaxMs);
    const std::int64_t play = std::clamp<std::int64_t>(playMs, 0, kMaxMs) * (timing.autoReverse ? 2 : 1);
    return std::min(kMaxMs, play * std::min(timing.repeatMilli, kMaxRepeatMilli) / 1000);
}

std::int64_t at(std::int64_t elapsedMs, std::int64_t playMs, const EffectTiming& timing, std::int64_t untilMs) {
    if (elapsedMs <= 0) return filtered(0, timing);
    const std::int64_t play = std::clamp<std::int64_t>(playMs, 0, kMaxMs);
    if (play == 0) return filtered(timing.autoReverse ? 0 : kWhole, timing);
    const std::int64_t active = activeMs(play, timing, untilMs);
    const std::int64_t t = std::min(elapsedMs, active);
    const std::int64_t period = play * (timing.autoReverse ? 2 : 1);
    std::int64_t within = t % period;
    // The end of a whole play is its end, not the start of the next.
    if (within == 0 && t > 0) within = period;
    std::int64_t simple = within;
    if (timing.autoReverse) simple = within <= play ? within : 2 * play - within;
    return filtered(eased(simple * kWhole / play, timing), timing);
}

}  // namespace orvandel::EffectProgress
