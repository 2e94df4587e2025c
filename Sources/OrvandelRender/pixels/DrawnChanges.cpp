#include "pixels/DrawnChanges.hpp"

#include <algorithm>

namespace orvandel {

std::int64_t DrawnChange::elapsedAt(std::int64_t ms) const {
    const std::int64_t d = effect.durationMs, since = std::max<std::int64_t>(0, ms - effectStartMs);
    if (playedOverMs <= 0 || playedOverMs >= d) return std::min(since, d);
    return std::min(d, since * d / playedOverMs);
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
            const bool pieceByPiece = e.iterate.unit != EffectIteration::Unit::whole && e.iterate.units > 1;
            if (!drawnBefore) {
                // A transition brings in the slide as it plays: it runs on
                // over the slide's next states.
                std::int64_t until = start + shot.durationMs;
                for (std::size_t k = i + 1; shot.opensSlide && k < shots.size() && !shots[k].opensSlide; ++k) {
                    until += shots[k].durationMs;
                }
                const std::int64_t from = std::max(start, busyUntil);
                change.effectStartMs = start;
                if (pieceByPiece && start + e.durationMs > until && until > from) {
                    change.playedOverMs = until - from;
                    change.effectStartMs = from;
                }
                const std::int64_t length = change.playedOverMs > 0 ? change.playedOverMs : e.durationMs;
                change.span = {from, std::min(change.effectStartMs + length, until)};
            } else {
                const std::int64_t earliest = std::max(previousStart, busyUntil);
                if (pieceByPiece && start - e.durationMs < earliest && earliest < start)
                    change.playedOverMs = start - earliest;
                change.effectStartMs = start - (change.playedOverMs > 0 ? change.playedOverMs : e.durationMs);
                change.span = {std::max(change.effectStartMs, earliest), start};
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
