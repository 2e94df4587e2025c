#pragma once
// Cue times of the master video: the end of every click step ("bullet") and of
// every slide, laid end to end over the visible slides. They are computed from
// the same per-slide plan as the advance times, never measured.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "package/CueInputAssembler.hpp"

namespace orvandel {

enum class CueKind { slide, bullet };

// The raw values written to the manifest: "slide", "bullet".
constexpr std::string_view toString(CueKind kind) { return kind == CueKind::slide ? "slide" : "bullet"; }

// Nothing for any text other than the two raw values (compared exactly).
std::optional<CueKind> cueKindFromString(std::string_view raw);

struct Cue {
    std::int64_t cueIndex = 0;    // 0-based, consecutive over the whole deck
    std::int64_t slideIndex = 0;  // display index
    CueKind kind = CueKind::slide;
    std::string label;
    std::int64_t timeMs = 0;  // from the start of the master video

    bool operator==(const Cue&) const = default;
};

namespace CueCalculator {

// Cues in index order; times within one slide are not necessarily increasing.
// Precondition: at least one input is visible. A list that yields no cue is a
// caller's fault and aborts the program (check for visible slides first).
// Overflow of any time sum aborts as well.
std::vector<Cue> calculateCues(const std::vector<CueInput>& inputs);

}  // namespace CueCalculator

}  // namespace orvandel
