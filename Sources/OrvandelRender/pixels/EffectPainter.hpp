#pragma once
// Draws the frames of one drawn change (DrawnChange) from the stills on
// either side of it, in 4:2:0 (the frames FrameConverter makes), as the
// effect's behaviours say. The change is drawn on a layer over a base:
//   entrance      the still after, over the still before
//   exit          the still before, over the still after
//   emphasis/path the still before, over the still without the targets
//   transition    the new slide over the old (incoming), the old over the
//                 new (outgoing), or the new one with the old pushed ahead
//                 of it by one frame (both)
// The layer is what differs between its still and the base (the whole frame
// for a transition); its resting box gives the formulas their #ppt_x,
// #ppt_y (centre) and #ppt_w, #ppt_h, in fractions of the frame. Each frame
// evaluates every behaviour once (EffectProgress, keys, AnimFormula) into a
// pose (offset, size, turn, shear, opacity, visibility, reveal pattern,
// colour), then draws the layer by inverse mapping inside its moved box
// only. A colour or text style change is a crossfade from the still
// before to the still after. Text built word by
// word or letter by letter plays the behaviours on each piece (TextPieces)
// in turn. One painter per change: the layer, its pieces, the compiled
// formulas and the reveal patterns are found once, on the first frame.
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/Bytes.hpp"
#include "pixels/RevealMask.hpp"
#include "pixels/TextPieces.hpp"
#include "plan/AnimFormula.hpp"
#include "plan/DrawnEffect.hpp"
#include "plan/FrameSize.hpp"

namespace orvandel {

// Y, then U, then V, without a header.
struct YuvFrame {
    FrameSize size;
    Bytes planes;  // width*height*3/2 bytes
};

class EffectPainter {
public:
    // In luma pixels, [left, right) x [top, bottom), edges even so that chroma
    // follows exactly; empty when the stills are the same.
    struct Area {
        int left = 0, top = 0, right = 0, bottom = 0;
        bool empty() const { return right <= left || bottom <= top; }
        bool operator==(const Area&) const = default;
    };
    static Area changedArea(const YuvFrame& a, const YuvFrame& b);

    EffectPainter(const DrawnEffect& effect, bool wholeSlide);
    ~EffectPainter();
    EffectPainter(EffectPainter&&) noexcept;
    EffectPainter& operator=(EffectPainter&&) noexcept;

    // The frame `elapsedMs` into the effect (0 .. durationMs). `without`
    // (emphasis and path: the still before without the targets) may be
    // null: the change is then drawn as a fade. A transition may be given a
    // different `after` on every frame (the slide as it is at that moment);
    // any other change the same stills throughout. `out` is resized as
    // needed; with `outIsEarlierFrame` it holds this painter's previous
    // frame, and only what that frame drew is put back.
    void paint(const YuvFrame& before, const YuvFrame& after, const YuvFrame* without, std::int64_t elapsedMs,
               YuvFrame& out, bool outIsEarlierFrame = false);

    // The behaviours left out because they cannot be drawn (a formula,
    // filter or path that cannot be read), after the first frame.
    std::size_t leftOut() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace orvandel
