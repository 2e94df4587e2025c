#pragma once
// What an emphasis or a motion path leaves on a shape (HeldChange), drawn
// into a storyboard slide by editing the shape's own markup: LibreOffice
// then draws the shape so. A change to a paragraph, a word or a part of a
// graphic is drawn on its whole shape.
//
// - moved: a:off shifted by the change's share of the slide's size;
// - scaled about its centre: a:ext scaled and a:off moved by half the
//   difference (a negative scale is drawn as a flip of that size);
// - turned: added to a:xfrm's rot;
// - recoloured: the fill of the shape's properties becomes a solid one, so
//   does its a:ln's and each text run's;
// - opacity: an a:alpha (multiplied into any there) on every colour of a
//   solid fill or gradient stop in the shape (fills, lines, text), and an
//   a:alphaModFix on its pictures. Approximate: what the shape takes from
//   its theme style (p:style) or its text inherits keeps its opacity.
//
// - restyled (a paragraph's change on that paragraph only): every run's
//   a:rPr gets b, i, u, an a:latin typeface, and sz scaled; a run without a
//   sz scales the size it inherits: its shape's list style, else its
//   placeholder's on the layout or master, else the master's text style
//   (`inheritedSizes`), else 18 pt. Only the first level is looked up: a
//   deeper paragraph of a placeholder scales that level's first size.
//   Text colours, too, change only the target paragraph's runs, and a
//   paragraph that grows or shrinks scales its runs' sizes (by the height's
//   share) instead of its shape.
//
// A group moves, scales and turns through its grpSpPr (its children follow
// its chOff/chExt); a graphic frame through its p:xfrm. A placeholder that
// writes no a:xfrm takes the one of its layout's (or master's) placeholder
// (`inheritedBoxes`), written out in the shape.
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "plan/PlayoutTimeline.hpp"

namespace orvandel::HeldShapes {

// A shape's rectangle as its a:xfrm writes it, in EMU.
struct Box {
    std::int64_t x = 0, y = 0, cx = 0, cy = 0;
    bool operator==(const Box&) const = default;
};

struct Context {
    std::int64_t slideWidthEmu = 0, slideHeightEmu = 0;
    // By shape id: the box of each placeholder without an a:xfrm of its own.
    std::map<std::string, Box> inherited;
    // By shape id: the text size (hundredths of a point) its runs inherit.
    std::map<std::string, std::int64_t> sizes;
};

// The slide with the changes drawn; a change whose shape is not there, or
// whose markup is not that of a shape, changes nothing. Pure.
std::string drawn(std::string_view slideXml, const std::vector<HeldChange>& held, const Context& context);

// The context of a slide of that size whose layout and master are given:
// what its placeholders inherit from the layout's placeholder (by idx, else
// by type), else from the master's (by type). `inherited`: the box of each
// that writes no a:xfrm. `sizes`: the first-level text size (hundredths of
// a point) of each, else the master's title, body or other text style.
// Pure; unreadable parts give nothing.
Context contextOf(std::string_view slideXml, std::string_view layoutXml, std::string_view masterXml,
                  std::int64_t slideWidthEmu, std::int64_t slideHeightEmu);

}  // namespace orvandel::HeldShapes
