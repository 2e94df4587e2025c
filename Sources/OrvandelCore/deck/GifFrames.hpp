#pragma once
// How a GIF picture plays by itself, read from its bytes without decoding a
// pixel: its frames, the time one pass over them takes and how often it
// repeats. The bytes come from a deck, so nothing they declare is trusted:
// every block is checked against what is there, nothing is allocated, and
// the work is one walk over the bytes.
#include <cstdint>
#include <optional>
#include <span>

namespace orvandel::GifFrames {

struct Timing {
    std::int64_t frames = 0;  // image descriptors
    // One pass: the sum of the frames' delays. A delay of 0 or 1 hundredth
    // (or none) counts as 100 ms, as browsers play it.
    std::int64_t passMs = 0;
    // The NETSCAPE2.0 (or ANIMEXTS1.0) loop count: 0 repeats forever, N
    // repeats N times after the first pass; absent: the GIF plays once.
    std::optional<std::int64_t> loopCount;

    bool animated() const { return frames > 1; }
    // How long it plays by itself: one pass times its plays (loopCount + 1)
    // when it ends, one pass when it loops forever, held at maxMs; nothing
    // for a still picture.
    std::optional<std::int64_t> playMs(std::int64_t maxMs) const;

    bool operator==(const Timing&) const = default;
};

// Nothing when the bytes are not a GIF, or end inside a block. As browsers
// do, data that ends where a block could begin (without the trailer), or a
// block of an unknown kind after the first frame, ends the GIF there.
std::optional<Timing> read(std::span<const std::uint8_t> bytes);

}  // namespace orvandel::GifFrames
