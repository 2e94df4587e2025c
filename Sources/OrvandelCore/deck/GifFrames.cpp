#include "deck/GifFrames.hpp"

#include <algorithm>
#include <string_view>

namespace orvandel::GifFrames {

namespace {

// Browsers play a frame delay this short (in hundredths) as 100 ms.
constexpr std::int64_t kShortestDelayCs = 1;
constexpr std::int64_t kDefaultDelayMs = 100;

class Cursor {
public:
    explicit Cursor(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool atEnd() const { return at_ >= bytes_.size(); }
    bool has(std::size_t n) const { return bytes_.size() - at_ >= n; }
    std::uint8_t byte() { return bytes_[at_++]; }
    std::uint8_t peek() const { return bytes_[at_]; }
    std::uint16_t le16() {
        const auto low = bytes_[at_], high = bytes_[at_ + 1];
        at_ += 2;
        return static_cast<std::uint16_t>(low | (high << 8));
    }
    bool skip(std::size_t n) {
        if (!has(n)) return false;
        at_ += n;
        return true;
    }
    std::span<const std::uint8_t> take(std::size_t n) {
        const auto out = bytes_.subspan(at_, n);
        at_ += n;
        return out;
    }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t at_ = 0;
};

// Skips data sub-blocks up to and including the empty one that ends them.
bool skipSubBlocks(Cursor& in) {
    for (;;) {
        if (!in.has(1)) return false;
        const std::uint8_t size = in.byte();
        if (size == 0) return true;
        if (!in.skip(size)) return false;
    }
}

// A colour table of 2^(n+1) entries when the packed field's top bit says so.
bool skipColourTable(Cursor& in, std::uint8_t packed) {
    if ((packed & 0x80) == 0) return true;
    return in.skip(std::size_t{3} << ((packed & 0x07) + 1));
}

bool equals(std::span<const std::uint8_t> bytes, std::string_view text) {
    return bytes.size() == text.size() && std::equal(bytes.begin(), bytes.end(), text.begin(),
                                                     [](auto b, char c) { return b == static_cast<std::uint8_t>(c); });
}

}  // namespace

std::optional<std::int64_t> Timing::playMs(std::int64_t maxMs) const {
    if (!animated()) return std::nullopt;
    const std::int64_t pass = std::min(passMs, maxMs);
    const std::int64_t plays = loopCount && *loopCount > 0 ? *loopCount + 1 : 1;
    // Both factors are below 2^31 (a count is 16 bits): no overflow.
    return std::min(pass * plays, maxMs);
}

std::optional<Timing> read(std::span<const std::uint8_t> bytes) {
    Cursor in(bytes);
    if (!in.has(13)) return std::nullopt;
    const auto signature = in.take(6);
    if (!equals(signature, "GIF87a") && !equals(signature, "GIF89a")) return std::nullopt;
    in.skip(4);  // the logical screen's width and height, which nothing here needs
    const std::uint8_t screen = in.byte();
    in.skip(2);
    if (!skipColourTable(in, screen)) return std::nullopt;

    Timing timing;
    std::int64_t pendingDelayCs = 0;  // from the graphic control extension before the next image (0: none)
    for (;;) {
        // Data ending between blocks is a GIF that lost only its trailer.
        if (in.atEnd()) return timing;
        const std::uint8_t introducer = in.byte();
        if (introducer == 0x3B) return timing;
        if (introducer == 0x2C) {
            if (!in.has(9)) return std::nullopt;
            in.skip(8);
            const std::uint8_t packed = in.byte();
            if (!skipColourTable(in, packed) || !in.skip(1) || !skipSubBlocks(in)) return std::nullopt;
            const std::int64_t cs = pendingDelayCs;
            timing.frames += 1;
            // At most 65535 x 10 ms a frame, and fewer frames than bytes: far below overflow.
            timing.passMs += cs <= kShortestDelayCs ? kDefaultDelayMs : cs * 10;
            pendingDelayCs = 0;
            continue;
        }
        // Browsers end a GIF at a block they do not know and show the frames before it.
        if (introducer != 0x21) return timing.frames > 0 ? std::optional(timing) : std::nullopt;
        if (!in.has(1)) return std::nullopt;
        const std::uint8_t label = in.byte();
        if (label == 0xF9 && in.has(6) && in.peek() == 4) {
            in.skip(2);  // the block's size and its packed field
            pendingDelayCs = in.le16();
            in.skip(1);
        } else if (label == 0xFF && in.has(12) && in.peek() == 11) {
            in.skip(1);
            const auto application = in.take(11);
            if ((equals(application, "NETSCAPE2.0") || equals(application, "ANIMEXTS1.0")) && in.has(4)) {
                // Sub-block 1 holds the loop count; other sub-blocks (buffering hints) are skipped.
                Cursor peek = in;
                if (peek.byte() == 3 && peek.byte() == 1) {
                    timing.loopCount = peek.le16();
                }
            }
        } else {
            // Any other extension (comment, plain text): only its sub-blocks to pass.
            if (!skipSubBlocks(in)) return std::nullopt;
            continue;
        }
        if (!skipSubBlocks(in)) return std::nullopt;
    }
}

}  // namespace orvandel::GifFrames
