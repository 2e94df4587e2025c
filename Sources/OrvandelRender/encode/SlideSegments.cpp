#include "encode/SlideSegments.hpp"

#include <algorithm>
#include <set>

namespace orvandel::SlideSegments {

std::vector<SlideSegment> split(const std::vector<Storyboard::Shot>& shots, const std::vector<ScheduledFrame>& frames,
                                const std::vector<DrawnChange>& changes, const std::vector<MediaLayer>& media) {
    std::vector<SlideSegment> out;
    std::int64_t at = 0;
    for (std::size_t i = 0; i < shots.size(); ++i) {
        if (out.empty() || shots[i].opensSlide) {
            if (!out.empty()) out.back().endShot = i;
            out.push_back({{at, at}, i, i, {}, {}, {}, {}});
        }
        at += shots[i].durationMs;
        out.back().span.endMs = at;
    }
    if (!out.empty()) out.back().endShot = shots.size();

    std::size_t nextFrame = 0, nextChange = 0;
    for (auto& segment : out) {
        std::set<int> pages;
        for (std::size_t i = segment.firstShot; i < segment.endShot; ++i) pages.insert(shots[i].page);
        // The last frame of the movie closes it on its last millisecond.
        while (nextFrame < frames.size() &&
               (frames[nextFrame].startMs < segment.span.endMs || &segment == &out.back())) {
            segment.frames.push_back(frames[nextFrame++]);
        }
        while (nextChange < changes.size() && changes[nextChange].span.startMs < segment.span.endMs) {
            const DrawnChange& c = changes[nextChange++];
            segment.changes.push_back(c);
            pages.insert(shots.at(c.from).page);
            if (c.withoutPage > 0) pages.insert(c.withoutPage);
        }
        for (const auto& m : media) {
            if (!m.picture || m.shown.empty()) continue;
            if (m.shown.front().startMs < segment.span.startMs || m.shown.front().startMs >= segment.span.endMs) {
                continue;
            }
            MediaLayer shifted = m;
            shifted.sound = false;
            shifted.startMs -= segment.span.startMs;
            for (auto& s : shifted.shown) {
                s.startMs = std::max<std::int64_t>(0, s.startMs - segment.span.startMs);
                s.endMs = std::min(s.endMs, segment.span.endMs) - segment.span.startMs;
            }
            segment.pictures.push_back(std::move(shifted));
        }
        segment.pages.assign(pages.begin(), pages.end());
    }
    return out;
}

}  // namespace orvandel::SlideSegments
