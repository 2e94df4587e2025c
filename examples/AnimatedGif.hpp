#pragma once
// A small GIF89a writer for the example deck's animation: one global palette,
// frames of palette indices at full size, a delay per frame, endless looping.
// The image data is LZW-compressed as decoders expect it (variable code width
// up to 12 bits, a clear code when the table is full).
#include <cstdint>
#include <vector>

#include "base/Bytes.hpp"

namespace orvandel::example {

struct Rgb {
    std::uint8_t r = 0, g = 0, b = 0;
};

struct GifFrame {
    std::vector<std::uint8_t> pixels;  // width * height palette indices, row by row
    int delayCentiseconds = 10;
};

// palette: 2 to 256 colours (padded to a power of two). Frames must all be
// width * height; indices must lie within the palette.
Bytes animatedGif(int width, int height, const std::vector<Rgb>& palette, const std::vector<GifFrame>& frames);

// The LZW code stream of one image (before it is cut into sub-blocks).
Bytes lzwCompress(const std::vector<std::uint8_t>& pixels, int minCodeSize);

}  // namespace orvandel::example
