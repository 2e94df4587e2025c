#include "pixels/DrawnChanges.hpp"

#include <algorithm>

namespace orvandel {

std::int64_t DrawnChange::elapsedAt(std::int64_t ms) const {
    return std::clamp<std::int64_t>(ms - effectStartMs, 0, effect.durationMs);
}

namespace DrawnChanges {

std::vector<DrawnChange> plan(const std::vector<Storyboard::Shot>& shots) {
    std::vector<DrawnChange> out;
    std::int64_t previousStart = 0, start = 0, busyUntil = 0;
    for (std::size_t i = 0; i < shots.size(); ++i) {
        const auto& shot = shots[i];
        const DrawnEffect& e = shot.effect;
        if (i > 0 && e.drawn()) {
            DrawnChange change{{}, i - 1, i, e, shot.opensSlide, 0, shot.withoutPage};
            const bool drawnBefore = e.drawnBeforeChange();
            if (!drawnBefore) {
                // A transition brings in the slide as it plays: it runs on
                // over the slide's next states.
                std::int64_t until = start + shot.durationMs;
                for (std::size_t k = i + 1; shot.opensSlide && k < shots.size() && !shots[k].opensSlide; ++k) {
                    until += shots[k].durationMs;
                }
                change.effectStartMs = start;
                change.span = {std::max(start, busyUntil), std::min(start + e.durationMs, until)};
            } else {
                change.effectStartMs = start - e.durationMs;
                change.span = {std::max({change.effectStartMs, previousStart, busyUntil}), start};
            }
            if (change.span.endMs > change.span.startMs) {
                busyUntil = change.span.endMs;
                out.push_back(change);
            }
        }
        previousStart = start;
        start += shot.durationMs;
    }
    return out;
}

}  // namespace DrawnChanges

}  // namespace orvandel
