#include "package/CueCalculator.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "base/Checked.hpp"
#include "base/Numbers.hpp"
#include "deck/TimingPolicy.hpp"

namespace orvandel {

std::optional<CueKind> cueKindFromString(std::string_view raw) {
    if (raw == "slide") return CueKind::slide;
    if (raw == "bullet") return CueKind::bullet;
    return std::nullopt;
}

namespace CueCalculator {

namespace {

// The advance times' own values, so that cues land where the rendered movie
// shows each step.
using TimingPolicy::BULLET;
using TimingPolicy::DEFAULT_ANIMATION;
using TimingPolicy::LEAD_IN;
using TimingPolicy::RESPIRO;
using TimingPolicy::STEP;

class CueList {
public:
    CueList(std::vector<Cue>& cues, std::int64_t nextIndex, std::int64_t slide)
        : cues_(cues), nextIndex_(nextIndex), slide_(slide), prefix_("Slide " + formatInt(slide)) {}

    void slideCue(std::int64_t timeMs) { append(CueKind::slide, prefix_, timeMs); }
    void stepCue(std::int64_t timeMs) { append(CueKind::bullet, prefix_ + " - bullet", timeMs); }
    void videoEndCue(std::int64_t timeMs) { append(CueKind::bullet, prefix_ + " - fim do video", timeMs); }
    void gifEndCue(std::int64_t timeMs) { append(CueKind::bullet, prefix_ + " - fim do GIF", timeMs); }

    std::int64_t nextIndex() const { return nextIndex_; }

private:
    void append(CueKind kind, std::string label, std::int64_t timeMs) {
        cues_.push_back(Cue{nextIndex_, slide_, kind, std::move(label), timeMs});
        nextIndex_ = checkedAdd(nextIndex_, 1);
    }

    std::vector<Cue>& cues_;
    std::int64_t nextIndex_;
    std::int64_t slide_;
    std::string prefix_;
};

// Appends the cues of one visible slide that starts at slideStartMs and
// returns the next free cue index.
std::int64_t addCuesForSlide(std::vector<Cue>& cues, std::int64_t nextIndex, const CueInput& input,
                             std::int64_t slideStartMs) {
    CueList list(cues, nextIndex, input.slideIndex);
    const std::int64_t base = checkedAdd(slideStartMs, input.autoDurationMs.value_or(0));
    // Steps after an opening video: the video has played when they start (its
    // time is in base), so its cue comes first and the steps are laid out as
    // on a slide without media, each cue after its step and before the next.
    const bool videoFirst = input.opensWithMedia && input.videoDurationMs;
    if (videoFirst) list.videoEndCue(base);
    const bool hasMedia = (input.videoDurationMs && !videoFirst) || input.gifDurationMs;

    if (input.bulletCount > 0) {
        if (input.exitGroupCount >= 1 && !input.orderedGroupKinds.empty() && !hasMedia) {
            // Entry and exit groups interleave: each group has its own fixed slot.
            const auto& kinds = input.orderedGroupKinds;
            if (kinds.front() == ClickGroupKind::entry) list.stepCue(checkedAdd(base, LEAD_IN));
            for (std::size_t i = 0; i < kinds.size(); ++i) {
                const std::int64_t j = checkedAdd(static_cast<std::int64_t>(i), 1);
                if (kinds[i] == ClickGroupKind::exit) {
                    list.stepCue(checkedAdd(checkedAdd(base, checkedMul(j - 1, STEP)), LEAD_IN));
                } else {
                    const std::int64_t t = checkedAdd(checkedAdd(base, checkedMul(j, STEP)), RESPIRO);
                    if (i + 1 == kinds.size()) {
                        list.slideCue(t);
                    } else {
                        list.stepCue(t);
                    }
                }
            }
            return list.nextIndex();
        }

        // With media the slide ends on the media's own cue, so no lead-in and
        // no slide cue.
        if (!hasMedia) list.stepCue(checkedAdd(base, LEAD_IN));
        std::int64_t sum = 0;
        for (std::int64_t i = 0; i < input.bulletCount; ++i) {
            const auto index = static_cast<std::size_t>(i);
            const std::int64_t d = index < input.bulletDursMs.size() ? input.bulletDursMs[index] : DEFAULT_ANIMATION;
            sum = checkedAdd(sum, std::max(checkedAdd(d, RESPIRO), BULLET));
            const std::int64_t t = checkedAdd(checkedAdd(base, sum), RESPIRO);
            if (i == input.bulletCount - 1 && !hasMedia) {
                list.slideCue(t);
            } else {
                list.stepCue(t);
            }
        }
    }

    // Measured from base: the video starts with the slide, not after the steps.
    if (input.videoDurationMs && !videoFirst) {
        list.videoEndCue(checkedAdd(checkedAdd(checkedAdd(base, LEAD_IN), *input.videoDurationMs), LEAD_IN));
    }

    if (!input.gifDurationMs) {
        if (input.videoDurationMs || input.bulletCount != 0) return list.nextIndex();
        if (input.exitGroupCount < 1) {
            list.slideCue(checkedAdd(base, RESPIRO));
            return list.nextIndex();
        }
        for (std::int64_t k = 0; k < input.exitGroupCount; ++k) {
            list.stepCue(checkedAdd(checkedAdd(base, checkedMul(k, STEP)), LEAD_IN));
        }
        list.slideCue(checkedAdd(checkedAdd(base, checkedMul(input.exitGroupCount, STEP)), RESPIRO));
        return list.nextIndex();
    }

    list.gifEndCue(checkedAdd(checkedAdd(checkedAdd(base, LEAD_IN), *input.gifDurationMs), LEAD_IN));
    return list.nextIndex();
}

}  // namespace

std::vector<Cue> calculateCues(const std::vector<CueInput>& inputs) {
    std::vector<Cue> cues;
    std::int64_t nextIndex = 0;
    std::int64_t slideStartMs = 0;
    for (const CueInput& input : inputs) {
        if (input.isHidden) continue;
        nextIndex = addCuesForSlide(cues, nextIndex, input, slideStartMs);
        slideStartMs = checkedAdd(slideStartMs, input.advanceTimeMs);
    }
    if (cues.empty()) {
        // Callers check for visible slides first (DeckError::noVisibleSlides);
        // reaching this is a programming fault, like an overflow.
        std::fprintf(stderr, "orvandel: fatal: calculateCues was given no visible slide\n");
        std::abort();
    }
    return cues;
}

}  // namespace CueCalculator

}  // namespace orvandel
