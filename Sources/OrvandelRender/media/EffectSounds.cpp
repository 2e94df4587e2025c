#include "media/EffectSounds.hpp"

#include <algorithm>

namespace orvandel::EffectSounds {

std::vector<SoundCue> cues(const SlidePlayout& playout, std::int64_t advanceMs,
                           const std::optional<DrawnEffect>& transition) {
    std::vector<SoundCue> out;
    if (transition && transition->sound) out.push_back({0, *transition->sound});
    for (const auto& planned : playout.planned) {
        if (planned.effect.sound && planned.startMs >= 0 && planned.startMs < advanceMs) {
            out.push_back({planned.startMs, *planned.effect.sound});
        }
    }
    // Planned effects come in time order already; the transition's is first.
    std::stable_sort(out.begin(), out.end(),
                     [](const SoundCue& a, const SoundCue& b) { return a.startMs < b.startMs; });
    return out;
}

std::optional<MediaLayer> place(const std::vector<SoundCue>& cues, std::size_t which,
                                std::optional<std::int64_t> fileMs, const SlideSpan& span) {
    if (which >= cues.size() || cues[which].sound.relationshipId.empty()) return std::nullopt;
    const SoundCue& cue = cues[which];
    const std::int64_t start = span.startMs + cue.startMs;
    std::int64_t end = span.movieMs;
    MediaLayer l;
    l.picture = false;
    l.sound = true;
    l.loops = cue.sound.loop;
    if (cue.sound.loop) {
        end = std::min(end, span.startMs + span.advanceMs);
        if (which + 1 < cues.size()) end = std::min(end, span.startMs + cues[which + 1].startMs);
    } else if (fileMs) {
        // Read past the file's end, ffmpeg would only give silence: the layer ends with it.
        end = std::min(end, start + std::max<std::int64_t>(0, *fileMs));
    }
    if (end <= start) return std::nullopt;
    l.startMs = start;
    l.playMs = end - start;
    return l;
}

}  // namespace orvandel::EffectSounds
