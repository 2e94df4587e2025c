#pragma once
// Draws one frame of a change between two stills in 4:2:0 (the frames
// FrameConverter makes), in integers. For a shape's effect the picture
// changes only where the two stills differ (changedArea): a fade blends
// that area, a wipe reveals it from a side, a fly moves the pixels that
// differ (the target) in from an edge of the frame, a zoom scales them from
// the area's centre. For a slide's transition the area is the whole frame:
// a cover (fly) slides the new slide in over the old one, a push moves both,
// an uncover slides the old one away. Pure.
#include <cstdint>

#include "base/Bytes.hpp"
#include "plan/DrawnEffect.hpp"
#include "plan/FrameSize.hpp"

namespace orvandel {

// Y, then U, then V, without a header.
struct YuvFrame {
    FrameSize size;
    Bytes planes;  // width*height*3/2 bytes
};

namespace EffectPainter {

// In luma pixels, [left, right) x [top, bottom), edges even so that chroma
// follows exactly; empty when the stills are the same.
struct Area {
    int left = 0, top = 0, right = 0, bottom = 0;
    bool empty() const { return right <= left || bottom <= top; }
    bool operator==(const Area&) const = default;
};

Area changedArea(const YuvFrame& a, const YuvFrame& b);

// The frame `elapsedMs` into the effect (0 .. effect.durationMs): at 0 an
// entrance shows `before`, at the end `after`; an exit the other way round.
// `out` is resized as needed. With `outIsEarlierFrame`, out holds a frame
// painted for the same change, so that a fade or wipe only repaints its area.
void paint(const YuvFrame& before, const YuvFrame& after, const DrawnEffect& effect, const Area& area, bool wholeSlide,
           std::int64_t elapsedMs, YuvFrame& out, bool outIsEarlierFrame = false);

}  // namespace EffectPainter

}  // namespace orvandel
