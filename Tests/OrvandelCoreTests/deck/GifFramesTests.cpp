#include <gtest/gtest.h>

#include <initializer_list>

#include "base/Bytes.hpp"
#include "deck/GifFrames.hpp"

using namespace orvandel;

namespace {

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const auto& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}
Bytes le(int v) { return {std::uint8_t(v & 0xFF), std::uint8_t((v >> 8) & 0xFF)}; }
// Header and screen (with a two-colour global table), then the blocks.
const Bytes kHead = join({toBytes("GIF89a"), le(65535), le(65535), {0x80, 0, 0}, Bytes(6, 0)});
Bytes delay(int cs) { return join({{0x21, 0xF9, 4, 0}, le(cs), {0, 0}}); }
Bytes loop(int n, const char* app = "NETSCAPE2.0") {
    return join({{0x21, 0xFF, 11}, toBytes(app), {3, 1}, le(n), {0}});
}
const Bytes kImage = {0x2C, 0, 0, 0, 0, 1, 0, 1, 0, 0, 2, 2, 0x4C, 0x01, 0};
const Bytes kEnd = {0x3B};

}  // namespace

TEST(GifFramesTest, FramesDelaysAndLoopsOfHandBuiltGifs) {
    constexpr std::int64_t kMax = 86'400'000;
    struct Case {
        const char* name;
        Bytes bytes;
        std::optional<GifFrames::Timing> timing;
        std::optional<std::int64_t> playMs;
    };
    const std::vector<Case> cases{
        {"one frame", join({kHead, delay(50), kImage, kEnd}), GifFrames::Timing{1, 500, {}}, {}},
        {"three frames, no loop extension: once",
         join({kHead, delay(10), kImage, delay(20), kImage, delay(30), kImage, kEnd}), GifFrames::Timing{3, 600, {}},
         600},
        {"0, 1 and no delay count as 100 ms", join({kHead, delay(0), kImage, delay(1), kImage, kImage, kEnd}),
         GifFrames::Timing{3, 300, {}}, 300},
        {"forever: one pass", join({kHead, loop(0), delay(5), kImage, delay(5), kImage, kEnd}),
         GifFrames::Timing{2, 100, 0}, 100},
        {"twice repeated: three plays", join({kHead, loop(2), delay(5), kImage, delay(5), kImage, kEnd}),
         GifFrames::Timing{2, 100, 2}, 300},
        {"ANIMEXTS", join({kHead, loop(1, "ANIMEXTS1.0"), kImage, kImage, kEnd}), GifFrames::Timing{2, 200, 1}, 400},
        {"held at the longest", join({kHead, loop(65535), delay(65535), kImage, delay(65535), kImage, kEnd}),
         GifFrames::Timing{2, 1'310'700, 65535}, kMax},
        {"no trailer", join({kHead, kImage, kImage}), GifFrames::Timing{2, 200, {}}, 200},
        {"a comment is passed",
         join({kHead, {0x21, 0xFE, 2, 'h', 'i', 0}, kImage, kEnd}),
         GifFrames::Timing{1, 100, {}},
         {}},
        {"truncated inside an image", join({kHead, kImage, Bytes(kImage.begin(), kImage.begin() + 12)}), {}, {}},
        {"a sub-block longer than the data", join({kHead, {0x2C, 0, 0, 0, 0, 1, 0, 1, 0, 0, 2, 255, 1, 2}}), {}, {}},
        {"a local table that is not there", join({kHead, {0x2C, 0, 0, 0, 0, 1, 0, 1, 0, 0x87, 2, 0}}), {}, {}},
        {"an unknown block ends it", join({kHead, kImage, {0x99}, kEnd}), GifFrames::Timing{1, 100, {}}, {}},
        {"an unknown block before any frame", join({kHead, {0x99}, kImage, kEnd}), {}, {}},
        {"not a GIF", toBytes("\x89PNG\r\n\x1a\n0000000000000"), {}, {}},
        {"too short", toBytes("GIF89a"), {}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto timing = GifFrames::read(c.bytes);
        EXPECT_EQ(timing, c.timing);
        if (timing) {
            EXPECT_EQ(timing->playMs(kMax), c.playMs);
        }
    }
}
