#pragma once
// The sounds a slide's effects and transition play (DrawnEffect::sound) as
// sound-only layers of the movie. A transition's sound starts with its
// slide, an effect's with the effect. A looping sound plays until the next
// sound of the slide starts (or stops what plays) or the slide ends; any
// other plays to its own end, over the slides after it, cut at the end of
// the movie. They play at full volume and never change the movie's length.
#include <cstdint>
#include <optional>
#include <vector>

#include "media/MediaLayers.hpp"
#include "plan/DrawnEffect.hpp"
#include "plan/PlayoutTimeline.hpp"

namespace orvandel {

// A sound of a slide and when it starts, from the slide's start.
struct SoundCue {
    std::int64_t startMs = 0;
    EffectSound sound;
    bool operator==(const SoundCue&) const = default;
};

namespace EffectSounds {

// The slide's sounds in time order: its transition's, then those of the
// effects that start before the slide's advance. Pure.
std::vector<SoundCue> cues(const SlidePlayout& playout, std::int64_t advanceMs,
                           const std::optional<DrawnEffect>& transition);

// Where a slide lies in the movie.
struct SlideSpan {
    std::int64_t startMs = 0;    // the slide's start in the movie
    std::int64_t advanceMs = 0;  // its length
    std::int64_t movieMs = 0;    // the whole movie's
};

// The layer of cues[which] (its file left empty for the caller), given the
// file's length (nothing: unknown, it plays to the end of the movie);
// nothing when it plays no sound or no time. Pure.
std::optional<MediaLayer> place(const std::vector<SoundCue>& cues, std::size_t which,
                                std::optional<std::int64_t> fileMs, const SlideSpan& span);

}  // namespace EffectSounds

}  // namespace orvandel
