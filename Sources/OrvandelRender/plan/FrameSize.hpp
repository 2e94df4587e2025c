#pragma once
// The movie's frame: the slide's aspect ratio fitted inside the chosen
// resolution's box (VideoSettings; 1920x1080 by default), both sides even as
// yuv420p requires.
#include <cstdint>

namespace orvandel {

struct FrameSize {
    int width = 0;
    int height = 0;
    bool operator==(const FrameSize&) const = default;
};

// slideWidth/slideHeight in any unit (the deck's EMU); non-positive sizes
// fall back to 16:9.
FrameSize fitFrame(std::int64_t slideWidth, std::int64_t slideHeight, int maxWidth = 1920, int maxHeight = 1080);

}  // namespace orvandel
