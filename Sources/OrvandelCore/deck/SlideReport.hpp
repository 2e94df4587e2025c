#pragma once
// What the deck scanner says about one slide, in presentation order.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "deck/ClickGroupKind.hpp"

namespace orvandel {

struct SlideReport {
    std::int64_t displayIndex = 0;  // 1-based, hidden slides counted
    std::string file;               // entry path, e.g. "ppt/slides/slide3.xml"
    std::int64_t bulletCount = 0;
    std::vector<std::int64_t> bulletDursMs;
    std::int64_t autoDurationMs = 0;
    bool hasVideoAutoplay = false;
    std::int64_t videoCount = 0;
    std::optional<std::int64_t> advTmMs;  // absent: a main-sequence video of unknown length
    bool isHidden = false;
    std::optional<std::int64_t> videoDurationMs;
    bool hasOnClickVideo = false;
    bool hasGif = false;
    bool hasExitEffect = false;
    std::int64_t exitGroupCount = 0;
    std::vector<ClickGroupKind> orderedGroupKinds;
    // The click steps follow an opening video or sound (ScanResult): then
    // autoDurationMs holds the media's time and advTmMs counts it once there.
    bool opensWithMedia = false;

    bool operator==(const SlideReport&) const = default;
};

// Durations the user gives per slide display number, in milliseconds.
using SlideDurations = std::map<std::int64_t, std::int64_t>;

}  // namespace orvandel
