#pragma once
// For the tests of recoloured pictures and fills: a deck's first still as
// the headless renderer draws it, its pixels, and colours compared channel
// by channel within a tolerance (a failure shows both colours).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "HeadlessRenderer.hpp"
#include "storyboard/DrawingColour.hpp"
#include "tools/PictureCodec.hpp"

namespace orvandel::test {

inline ::testing::AssertionResult near(const DrawingColour::Rgba& got, const DrawingColour::Rgba& want, int tolerance) {
    const int d = std::max(
        {std::abs(got.r - want.r), std::abs(got.g - want.g), std::abs(got.b - want.b), std::abs(got.a - want.a)});
    if (d <= tolerance) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << int(got.r) << "," << int(got.g) << "," << int(got.b) << ","
                                         << int(got.a) << " want " << int(want.r) << "," << int(want.g) << ","
                                         << int(want.b) << "," << int(want.a);
}

inline DrawingColour::Rgba pixelAt(const PictureCodec::Picture& p, int x, int y) {
    const auto* q = &p.rgba[(std::size_t(y) * std::size_t(p.width) + std::size_t(x)) * 4];
    return {q[0], q[1], q[2], q[3]};
}

// The deck's first still, effects cut, rendered and kept in `dir`.
inline std::optional<PictureCodec::Picture> firstStill(const std::filesystem::path& deck,
                                                       const std::filesystem::path& dir) {
    HeadlessRenderer::Options options;
    options.keepStillsIn = dir / "stills";
    options.drawEffects = false;
    HeadlessRenderer(options).export_(deck, dir / "master.mp4", {});
    return PictureCodec::decode(dir / "stills" / "still-1.tif", dir, std::nullopt);
}

}  // namespace orvandel::test
