#pragma once
// DrawingML colours as the deck writes them: a base colour (sRGB, scheme,
// preset, system, scRGB or HSL) followed by transforms applied in order. The
// scheme colour resolves through the colour map of the part that shows it.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plan/XmlSpans.hpp"

namespace orvandel::DrawingColour {

struct Rgba {
    std::uint8_t r = 0, g = 0, b = 0, a = 255;
    bool operator==(const Rgba&) const = default;
};

// One transform: its element's local name ("lumMod") and its val attribute
// as written (thousandths of a percent, or 60000ths of a degree for hues;
// 0 for the transforms that take none).
struct Transform {
    std::string name;
    std::int64_t value = 0;
};

// The colour with the transforms applied in order. Luminance, saturation
// and hue transforms work in HSL; tint and shade mix with white or black in
// linear RGB, as PowerPoint does. Unknown transforms are skipped. Pure.
Rgba transformed(Rgba colour, const std::vector<Transform>& transforms);

// What scheme colours stand for where a colour is read: the theme's colours
// by name (dk1, lt1, accent1...) and the colour map (bg1 -> lt1...).
struct Scheme {
    std::map<std::string, Rgba, std::less<>> colours;
    std::map<std::string, std::string, std::less<>> map;
};

// The colour element spans[element] of xml stands for (srgbClr, schemeClr,
// prstClr, sysClr, scrgbClr, hslClr with its transforms); nothing when it is
// none of them or names what the scheme does not hold (phClr included). Pure.
std::optional<Rgba> colourAt(std::string_view xml, const std::vector<XmlSpans::Span>& spans, int element,
                             const Scheme& scheme);

// An "RRGGBB" value; nothing when it is not one. Pure.
std::optional<Rgba> hexColour(std::string_view hex);

}  // namespace orvandel::DrawingColour
