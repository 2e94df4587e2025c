#pragma once
// Reads a slide's main animation sequence: its click steps and their
// durations, how long the animations that start by themselves run, and its
// exit groups. AdvanceTimeCalculator turns the result into an advance time.
#include <cstdint>
#include <string_view>
#include <vector>

#include "deck/ClickGroupKind.hpp"

namespace orvandel {

struct ScanResult {
    // Entry click groups whose head does not animate a media shape.
    std::int64_t bulletCount = 0;
    // How long the groups before the first click group run, media left out
    // (but see opensWithMedia); 0 when none.
    std::int64_t autoDurationMs = 0;
    std::vector<std::int64_t> bulletDursMs;  // one per counted click step
    bool hasExitEffect = false;              // any time node of the timing
    std::int64_t exitGroupCount = 0;         // click groups headed by an exit
    std::vector<ClickGroupKind> orderedGroupKinds;
    // Click steps follow an opening chain whose media (a video, a sound) make
    // it longer: autoDurationMs is then the whole chain, media included.
    bool opensWithMedia = false;

    bool operator==(const ScanResult&) const = default;
};

namespace AdvanceTimeScanner {

// The slide's XML text in. A slide without p:timing, or a timing without a
// main sequence, scans to the empty result. Throws SlideXMLError when the
// timing, or the shape tree it must look into, cannot be parsed.
ScanResult scan(std::string_view xml);

}  // namespace AdvanceTimeScanner

}  // namespace orvandel
