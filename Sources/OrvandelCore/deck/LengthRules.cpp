#include "deck/LengthRules.hpp"

#include <map>

#include "deck/DeckError.hpp"

namespace orvandel::LengthRules {

namespace {

// A medium that a video length can time: a video, or a media call (a sound) the timing starts.
bool hasVideo(const SlideReport& s) { return s.videoCount > 0 || s.hasVideoAutoplay || s.hasOnClickVideo; }

}  // namespace

Lengths apply(const std::vector<SlideReport>& reports, const SlideDurations& videoMs, const SlideDurations& gifMs,
              Unused unused) {
    std::map<std::int64_t, const SlideReport*> bySlide;
    for (const auto& s : reports) bySlide[s.displayIndex] = &s;
    const auto reportOf = [&](std::int64_t slide) -> const SlideReport* {
        const auto it = bySlide.find(slide);
        return it == bySlide.end() ? nullptr : it->second;
    };

    Lengths lengths;
    std::vector<std::int64_t> gifsUnused, videosUnused;
    for (const auto& [slide, ms] : gifMs) {
        const SlideReport* s = reportOf(slide);
        if (!s || s->gifs.empty()) {
            gifsUnused.push_back(slide);
        } else if (!s->needsGifLength()) {
            lengths.warnings.push_back(Warning::gifLengthIgnored(slide, false));
        } else {
            lengths.gifMs[slide] = ms;
        }
    }
    for (const auto& [slide, ms] : videoMs) {
        const SlideReport* s = reportOf(slide);
        if (!s || !hasVideo(*s)) {
            videosUnused.push_back(slide);
        } else {
            lengths.videoMs[slide] = ms;
        }
    }
    if (unused == Unused::refuse) {
        if (!gifsUnused.empty()) throw DeckError::lengthForSlideWithout(DeckError::Medium::gif, gifsUnused);
        if (!videosUnused.empty()) throw DeckError::lengthForSlideWithout(DeckError::Medium::video, videosUnused);
    }

    std::vector<std::int64_t> withoutLength;
    for (const auto& s : reports) {
        if (!s.needsGifLength() || lengths.gifMs.contains(s.displayIndex)) continue;
        if (const auto own = s.ownGifLengthMs()) {
            lengths.gifMs[s.displayIndex] = *own;
            if (!s.isHidden) lengths.warnings.push_back(Warning::gifLengthAssumed(s.displayIndex, *own));
        } else if (!s.isHidden) {
            withoutLength.push_back(s.displayIndex);
        }
    }
    if (!withoutLength.empty()) throw DeckError::gifWithoutDuration(withoutLength);

    // Warnings in slide order: the ones about lengths dropped, then the lengths assumed.
    std::vector<Warning> ignored;
    for (const auto slide : gifsUnused) ignored.push_back(Warning::gifLengthIgnored(slide, true));
    for (const auto slide : videosUnused) ignored.push_back(Warning::videoLengthIgnored(slide));
    lengths.warnings.insert(lengths.warnings.begin(), ignored.begin(), ignored.end());
    return lengths;
}

}  // namespace orvandel::LengthRules
