#pragma once
// What the deck scanner says about one slide, in presentation order.
#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "deck/ClickGroupKind.hpp"

namespace orvandel {

// One GIF picture a slide shows (a video's poster frame is not one).
struct GifReport {
    std::string part;       // its part in the package, e.g. "ppt/media/image3.gif"
    bool animated = false;  // more than one frame: it needs a length to play
    // How long it plays by itself: one pass over its frames (the sum of
    // their delays), times its loop count when that is finite; nothing
    // when it is a still picture or could not be read.
    std::optional<std::int64_t> loopMs;
    bool readable = true;  // false: not a GIF that could be read (treated as animated, without a loop length)
    std::optional<std::int64_t> passMs;  // one pass over its frames (animated only)

    bool operator==(const GifReport&) const = default;
};

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
    bool hasGif = false;  // any GIF picture, still or animated
    std::vector<GifReport> gifs;
    bool hasExitEffect = false;
    std::int64_t exitGroupCount = 0;
    std::vector<ClickGroupKind> orderedGroupKinds;
    // The click steps follow an opening video or sound (ScanResult): then
    // autoDurationMs holds the media's time and advTmMs counts it once there.
    bool opensWithMedia = false;
    // A video / an audio clip that only a click (on it or another shape) starts
    // (an interactive sequence): it is not played, it stays still.
    bool triggerVideo = false;
    bool triggerAudio = false;

    bool operator==(const SlideReport&) const = default;

    // The slide has a GIF that moves (or one that could not be read), so
    // its time on screen needs a length: the user's, or the GIFs' own.
    bool needsGifLength() const {
        for (const auto& gif : gifs) {
            if (gif.animated || !gif.readable) return true;
        }
        return false;
    }
    // A GIF's own loop is taken as a slide's length only up to a minute:
    // a GIF that repeats 232 times would hold its slide for 40 minutes.
    static constexpr std::int64_t kLongestOwnGifMs = 60'000;

    // The length the slide's moving GIFs play by themselves: the longest
    // among them, each its whole loop, or when that lasts over a minute as
    // many whole passes as fit in one (at least one); nothing when one of
    // them has no length of its own.
    std::optional<std::int64_t> ownGifLengthMs() const {
        std::optional<std::int64_t> longest;
        for (const auto& gif : gifs) {
            if (!gif.animated && gif.readable) continue;
            if (!gif.loopMs) return std::nullopt;
            std::int64_t own = *gif.loopMs;
            if (own > kLongestOwnGifMs && gif.passMs && *gif.passMs > 0) {
                own = std::max<std::int64_t>(1, kLongestOwnGifMs / *gif.passMs) * *gif.passMs;
                own = std::min(own, *gif.loopMs);
            }
            longest = std::max(longest.value_or(0), own);
        }
        return longest;
    }
};

// Durations the user gives per slide display number, in milliseconds.
using SlideDurations = std::map<std::int64_t, std::int64_t>;

}  // namespace orvandel
