#include "AnimatedGif.hpp"

#include <algorithm>
#include <stdexcept>
#include <unordered_map>

namespace orvandel::example {

namespace {

void putU16(Bytes& out, int value) {
    out.push_back(static_cast<std::uint8_t>(value & 0xFF));
    out.push_back(static_cast<std::uint8_t>((value >> 8) & 0xFF));
}

void putText(Bytes& out, const char* text) {
    while (*text) out.push_back(static_cast<std::uint8_t>(*text++));
}

// Codes are packed least significant bit first.
class BitWriter {
public:
    void write(unsigned code, int width) {
        buffer_ |= static_cast<std::uint32_t>(code) << bits_;
        bits_ += width;
        while (bits_ >= 8) {
            out_.push_back(static_cast<std::uint8_t>(buffer_ & 0xFF));
            buffer_ >>= 8;
            bits_ -= 8;
        }
    }
    Bytes finish() {
        if (bits_ > 0) out_.push_back(static_cast<std::uint8_t>(buffer_ & 0xFF));
        return std::move(out_);
    }

private:
    Bytes out_;
    std::uint32_t buffer_ = 0;
    int bits_ = 0;
};

}  // namespace

Bytes lzwCompress(const std::vector<std::uint8_t>& pixels, int minCodeSize) {
    const unsigned clear = 1u << minCodeSize;
    const unsigned end = clear + 1;
    BitWriter writer;
    std::unordered_map<std::uint32_t, unsigned> table;  // (prefix << 8 | byte) -> code
    int width = minCodeSize + 1;
    unsigned next = end + 1;
    writer.write(clear, width);
    if (pixels.empty()) {
        writer.write(end, width);
        return writer.finish();
    }
    unsigned prefix = pixels[0];
    for (std::size_t i = 1; i < pixels.size(); ++i) {
        const std::uint8_t k = pixels[i];
        const std::uint32_t key = (static_cast<std::uint32_t>(prefix) << 8) | k;
        if (const auto it = table.find(key); it != table.end()) {
            prefix = it->second;
            continue;
        }
        writer.write(prefix, width);
        if (next < 4096) {
            table.emplace(key, next);
            // The decoder adds this entry one code later, and widens its codes
            // once its table reaches the current width's limit.
            if (next == (1u << width) && width < 12) ++width;
            ++next;
        } else {
            writer.write(clear, width);
            table.clear();
            width = minCodeSize + 1;
            next = end + 1;
        }
        prefix = k;
    }
    writer.write(prefix, width);
    writer.write(end, width);
    return writer.finish();
}

Bytes animatedGif(int width, int height, const std::vector<Rgb>& palette, const std::vector<GifFrame>& frames) {
    if (palette.size() < 2 || palette.size() > 256) throw std::invalid_argument("palette of 2 to 256 colours");
    int bits = 1;
    while ((1u << bits) < palette.size()) ++bits;

    Bytes out;
    putText(out, "GIF89a");
    putU16(out, width);
    putU16(out, height);
    out.push_back(static_cast<std::uint8_t>(0x80 | ((bits - 1) << 4) | (bits - 1)));  // global table, its size
    out.push_back(0);                                                                 // background colour
    out.push_back(0);                                                                 // square pixels
    for (std::size_t i = 0; i < (1u << bits); ++i) {
        const Rgb c = i < palette.size() ? palette[i] : Rgb{};
        out.insert(out.end(), {c.r, c.g, c.b});
    }
    // Loop forever.
    out.insert(out.end(), {0x21, 0xFF, 0x0B});
    putText(out, "NETSCAPE2.0");
    out.insert(out.end(), {0x03, 0x01, 0x00, 0x00, 0x00});

    const int minCodeSize = bits < 2 ? 2 : bits;
    for (const auto& frame : frames) {
        if (frame.pixels.size() != static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
            throw std::invalid_argument("frame size differs from the image size");
        }
        for (const auto p : frame.pixels) {
            if (p >= palette.size()) throw std::invalid_argument("pixel outside the palette");
        }
        out.insert(out.end(), {0x21, 0xF9, 0x04, 0x04});  // graphic control: leave the frame in place
        putU16(out, frame.delayCentiseconds);
        out.insert(out.end(), {0x00, 0x00});
        out.push_back(0x2C);  // image descriptor, whole canvas, no local table
        putU16(out, 0);
        putU16(out, 0);
        putU16(out, width);
        putU16(out, height);
        out.push_back(0);
        out.push_back(static_cast<std::uint8_t>(minCodeSize));
        const Bytes data = lzwCompress(frame.pixels, minCodeSize);
        for (std::size_t at = 0; at < data.size(); at += 255) {
            const std::size_t n = std::min<std::size_t>(255, data.size() - at);
            out.push_back(static_cast<std::uint8_t>(n));
            out.insert(out.end(), data.begin() + static_cast<std::ptrdiff_t>(at),
                       data.begin() + static_cast<std::ptrdiff_t>(at + n));
        }
        out.push_back(0);
    }
    out.push_back(0x3B);
    return out;
}

}  // namespace orvandel::example
