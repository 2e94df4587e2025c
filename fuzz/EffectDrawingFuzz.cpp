// A slide's animation timing, read and drawn: the play-out, every effect's
// behaviours (formulas, motion paths, filters, easing, text iteration) and a
// few frames of each drawn change painted over small stills.
#include <cstddef>
#include <cstdint>
#include <string>

#include "base/Error.hpp"
#include "pixels/EffectPainter.hpp"
#include "plan/PlayoutTimeline.hpp"

using namespace orvandel;

namespace {

// A dark frame with a bright block, or without it.
YuvFrame still(bool block) {
    constexpr int w = 64, h = 36;
    YuvFrame f{{w, h}, Bytes(std::size_t(w) * h * 3 / 2, 128)};
    std::fill(f.planes.begin(), f.planes.begin() + w * h, 16);
    for (int y = 8; y < 24 && block; ++y) std::fill(f.planes.begin() + y * w + 10, f.planes.begin() + y * w + 50, 235);
    return f;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string slide(reinterpret_cast<const char*>(data), size);
    SlidePlayout playout;
    try {
        playout = PlayoutTimeline::evaluate(slide);
    } catch (const Error&) {
        return 0;
    }
    static const YuvFrame without = still(false), with = still(true);
    YuvFrame out;
    for (const auto& planned : playout.planned) {
        const DrawnEffect& e = planned.effect;
        if (!e.drawn()) continue;
        EffectPainter painter(e, e.role == DrawnEffect::Role::transition);
        const bool entering = e.role == DrawnEffect::Role::entrance;
        for (const std::int64_t at : {std::int64_t(0), e.durationMs / 3, e.durationMs / 2, e.durationMs})
            painter.paint(entering ? without : with, entering ? with : without, &without, at, out, at > 0);
    }
    return 0;
}
