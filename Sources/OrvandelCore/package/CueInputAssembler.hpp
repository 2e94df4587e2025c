#pragma once
// Turns the deck's per-slide reports into the inputs of the cue calculator:
// one CueInput per slide, in presentation order, with the user's video and GIF
// durations folded in.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "deck/ClickGroupKind.hpp"
#include "deck/SlideReport.hpp"

namespace orvandel {

struct CueInput {
    std::int64_t slideIndex = 0;  // display index, 1-based, hidden slides counted
    bool isHidden = false;        // hidden slides produce no cues and take no time
    std::int64_t advanceTimeMs = 0;
    std::int64_t bulletCount = 0;
    std::vector<std::int64_t> bulletDursMs;
    std::optional<std::int64_t> videoDurationMs;
    std::optional<std::int64_t> gifDurationMs;
    std::optional<std::int64_t> autoDurationMs;  // absent when nothing starts by itself
    std::int64_t exitGroupCount = 0;
    std::vector<ClickGroupKind> orderedGroupKinds;
    // The steps follow an opening video or sound whose time autoDurationMs
    // holds (SlideReport::opensWithMedia).
    bool opensWithMedia = false;

    bool operator==(const CueInput&) const = default;
};

namespace CueInputAssembler {

// videoMs and gifMs are keyed by display index; a videoMs entry wins over the
// duration found in the deck. Throws DeckError::missingVideoDuration naming
// every visible slide without an advance time (a video nobody knows the
// length of); a hidden one is accepted with advance time 0.
std::vector<CueInput> cueInputs(const std::vector<SlideReport>& reports, const SlideDurations& videoMs,
                                const SlideDurations& gifMs);

// The same on the reports of DeckScanner::report for the deck, whose errors
// are thrown on.
std::vector<CueInput> cueInputs(const std::filesystem::path& pptx, const SlideDurations& videoMs,
                                const SlideDurations& gifMs);

}  // namespace CueInputAssembler

}  // namespace orvandel
