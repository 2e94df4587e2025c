#pragma once
// Picture fills LibreOffice does not draw as PowerPoint does, found in a
// slide, layout or master: a shape's (or picture's, or background's) picture
// or texture fill under a fill overlay (a:effectLst/a:fillOverlay: a colour
// or gradient blended over the fill), a background taken from the theme's
// background styles (p:bgRef idx 1001...), and a shape's fill taken from the
// theme's fill styles (p:style/a:fillRef) when that is a picture. Each is
// baked whole into one picture stretched over the shape, which takes the
// fill's place; the overlay goes with it, the other effects stay.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "storyboard/GradientFill.hpp"

namespace orvandel::ShapeFills {

struct Target {
    // What the baked fill replaces: an a:blipFill, a p:bgRef, or (begin == end) nothing, where it is inserted.
    std::size_t begin = 0, end = 0;
    bool background = false;  // the replacement is a p:bgPr
    std::string bgPrefix;     // the prefix of p:bgRef, for p:bgPr
    // The a:fillOverlay removed; begin == end for none.
    std::size_t overlayBegin = 0, overlayEnd = 0;
    std::string fill;                                // the a:blipFill's text, by itself
    bool fromTheme = false;                          // its blip's relationship is the theme's
    std::optional<DrawingColour::Rgba> placeholder;  // what phClr stands for in it
    std::optional<GradientFill::Paint> overlay;
    BlipEffects::Blend blend = BlipEffects::Blend::over;
    std::int64_t widthEmu = 0, heightEmu = 0;  // the box the fill covers
};

// The fills of a part to bake, in document order. `theme` is the text of the
// master's theme, the slide size the box of backgrounds. A shape whose size
// is not written, or whose overlay is not drawn here (a path gradient), is
// left out. Pure.
std::vector<Target> find(std::string_view xml, std::string_view theme, std::int64_t slideWidthEmu,
                         std::int64_t slideHeightEmu, const DrawingColour::Scheme& scheme);

// The text that takes the target's place: the fill, a stretched picture
// through relationship `id` (with a:effectLst in a p:bgPr). Pure.
std::string replacement(const Target& target, std::string_view id);

}  // namespace orvandel::ShapeFills
