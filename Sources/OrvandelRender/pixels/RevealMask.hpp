#pragma once
// How a reveal filter (p:animEffect's filter, a transition's pattern) uncovers
// a box as it progresses. Every pattern is a key per pixel: the pixel is
// shown once the progress passes its key, so a box's keys are computed once
// and a frame only compares. Patterns:
//   wipe(left|right|up|down)     from that edge (down: from the bottom)
//   box|circle|diamond|plus(in|out)  a shape shrinking from the edges (in) or
//                                growing from the centre (out)
//   wedge, wheel(N)              a sweep from twelve o'clock, both ways; N spokes
//   barn(in|out Vertical|Horizontal)  doors closing in or opening from the middle
//   blinds(horizontal|vertical)  slats, each opening on its own
//   checkerboard(across|down)    squares in alternate rows offset by one
//   strips(downLeft|...)         a diagonal from the opposite corner
//   randombar(horizontal|vertical), dissolve: lines or blocks in a fixed
//                                random order (the same movie every time)
//   comb(horizontal|vertical)    teeth coming from alternate sides
// and the ones that are not a pattern: fade (the layer's opacity),
// fade(throughBlack|throughWhite) (a transition through a colour), and
// slide(fromTop|fromBottom|fromLeft|fromRight) (the layer slides into its
// box, clipped to it). Pure.
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace orvandel {

class RevealMask {
public:
    enum class Kind { pattern, fade, throughBlack, throughWhite, slide };
    enum class Side { left, right, top, bottom };

    // Nothing for a filter it does not know.
    static std::optional<RevealMask> parse(std::string_view filter);

    Kind kind() const { return kind_; }
    // slide: the side it slides in from.
    Side from() const { return side_; }

    // A pattern's keys over a box of w x h pixels (row by row), 0..65535:
    // the pixel shows once progress * 65536 / 100000 exceeds its key.
    std::vector<std::uint16_t> keys(int w, int h) const;
    // The key limit at a progress (0..100000): shown where key < limit; with
    // `in` false the pattern runs the other way, hiding.
    static std::uint32_t limit(std::int64_t progress, bool in);

private:
    enum class Shape {
        wipe,
        box,
        circle,
        diamond,
        plus,
        wedge,
        wheel,
        barn,
        blinds,
        checkerboard,
        strips,
        randombar,
        dissolve,
        comb,
    };
    Kind kind_ = Kind::pattern;
    Shape shape_ = Shape::wipe;
    Side side_ = Side::left;
    bool out_ = false;       // grows from the centre (box, circle...), opens (barn)
    bool vertical_ = false;  // barn, blinds, randombar, comb, checkerboard down
    int spokes_ = 1;
};

}  // namespace orvandel
