#include "storyboard/DrawingColour.hpp"

#include <algorithm>
#include <cmath>

#include "container/XmlElement.hpp"

namespace orvandel::DrawingColour {

namespace {

constexpr double kWhole = 100000.0;  // val of 100 %

struct Hsl {
    double h, s, l;  // hue in degrees [0, 360), saturation and luminance in [0, 1]
};

double clamp01(double v) { return std::clamp(v, 0.0, 1.0); }
std::uint8_t byte(double unit) { return static_cast<std::uint8_t>(std::lround(clamp01(unit) * 255.0)); }

Hsl toHsl(const Rgba& c) {
    const double r = c.r / 255.0, g = c.g / 255.0, b = c.b / 255.0;
    const double hi = std::max({r, g, b}), lo = std::min({r, g, b}), l = (hi + lo) / 2;
    if (hi == lo) return {0, 0, l};
    const double d = hi - lo, s = l > 0.5 ? d / (2 - hi - lo) : d / (hi + lo);
    double h = hi == r ? (g - b) / d + (g < b ? 6 : 0) : hi == g ? (b - r) / d + 2 : (r - g) / d + 4;
    return {h * 60, s, l};
}

double hueChannel(double p, double q, double t) {
    if (t < 0) t += 1;
    if (t > 1) t -= 1;
    if (t < 1.0 / 6) return p + (q - p) * 6 * t;
    if (t < 0.5) return q;
    if (t < 2.0 / 3) return p + (q - p) * (2.0 / 3 - t) * 6;
    return p;
}

Rgba fromHsl(const Hsl& c, std::uint8_t alpha) {
    const double s = clamp01(c.s), l = clamp01(c.l), h = std::fmod(std::fmod(c.h, 360) + 360, 360) / 360;
    if (s == 0) return {byte(l), byte(l), byte(l), alpha};
    const double q = l < 0.5 ? l * (1 + s) : l + s - l * s, p = 2 * l - q;
    return {byte(hueChannel(p, q, h + 1.0 / 3)), byte(hueChannel(p, q, h)), byte(hueChannel(p, q, h - 1.0 / 3)), alpha};
}

double toLinear(std::uint8_t v) {
    const double c = v / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}
std::uint8_t fromLinear(double v) {
    v = clamp01(v);
    return byte(v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1 / 2.4) - 0.055);
}

// Each colour channel mapped in linear RGB.
template <class F>
Rgba linearly(const Rgba& c, F f) {
    return {fromLinear(f(toLinear(c.r))), fromLinear(f(toLinear(c.g))), fromLinear(f(toLinear(c.b))), c.a};
}

Rgba inHsl(const Rgba& c, double Hsl::*field, double factor, double offset) {
    Hsl hsl = toHsl(c);
    hsl.*field = hsl.*field * factor + offset;
    return fromHsl(hsl, c.a);
}

const std::map<std::string, Rgba, std::less<>>& presets() {
    static const std::map<std::string, Rgba, std::less<>> colours{
        {"black", {0, 0, 0}},        {"white", {255, 255, 255}},     {"red", {255, 0, 0}},
        {"green", {0, 128, 0}},      {"lime", {0, 255, 0}},          {"blue", {0, 0, 255}},
        {"yellow", {255, 255, 0}},   {"cyan", {0, 255, 255}},        {"aqua", {0, 255, 255}},
        {"magenta", {255, 0, 255}},  {"fuchsia", {255, 0, 255}},     {"gray", {128, 128, 128}},
        {"grey", {128, 128, 128}},   {"silver", {192, 192, 192}},    {"maroon", {128, 0, 0}},
        {"navy", {0, 0, 128}},       {"olive", {128, 128, 0}},       {"purple", {128, 0, 128}},
        {"teal", {0, 128, 128}},     {"orange", {255, 165, 0}},      {"darkGray", {169, 169, 169}},
        {"dkGray", {169, 169, 169}}, {"lightGray", {211, 211, 211}}, {"ltGray", {211, 211, 211}},
        {"darkBlue", {0, 0, 139}},   {"dkBlue", {0, 0, 139}},        {"darkRed", {139, 0, 0}},
        {"dkRed", {139, 0, 0}},      {"darkGreen", {0, 100, 0}},     {"dkGreen", {0, 100, 0}},
        {"brown", {165, 42, 42}},    {"gold", {255, 215, 0}},        {"pink", {255, 192, 203}},
        {"violet", {238, 130, 238}}, {"indigo", {75, 0, 130}},       {"skyBlue", {135, 206, 235}}};
    return colours;
}

std::optional<std::int64_t> number(std::string_view xml, const XmlSpans::Span& span, std::string_view name) {
    const auto text = XmlSpans::attributeOf(xml, span, name);
    if (!text) return std::nullopt;
    try {
        std::size_t used = 0;
        const long long v = std::stoll(*text, &used);
        if (used != text->size()) return std::nullopt;
        return v;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace

Rgba transformed(Rgba c, const std::vector<Transform>& transforms) {
    for (const auto& [name, value] : transforms) {
        const double v = double(value) / kWhole;
        if (name == "alpha") {
            c.a = byte(v);
        } else if (name == "alphaMod") {
            c.a = byte(c.a / 255.0 * v);
        } else if (name == "alphaOff") {
            c.a = byte(c.a / 255.0 + v);
        } else if (name == "lumMod") {
            c = inHsl(c, &Hsl::l, v, 0);
        } else if (name == "lumOff") {
            c = inHsl(c, &Hsl::l, 1, v);
        } else if (name == "lum") {
            c = inHsl(c, &Hsl::l, 0, v);
        } else if (name == "satMod") {
            c = inHsl(c, &Hsl::s, v, 0);
        } else if (name == "satOff") {
            c = inHsl(c, &Hsl::s, 1, v);
        } else if (name == "sat") {
            c = inHsl(c, &Hsl::s, 0, v);
        } else if (name == "hueMod") {
            c = inHsl(c, &Hsl::h, v, 0);
        } else if (name == "hueOff") {
            c = inHsl(c, &Hsl::h, 1, double(value) / 60000);
        } else if (name == "hue") {
            c = inHsl(c, &Hsl::h, 0, double(value) / 60000);
        } else if (name == "comp") {
            c = inHsl(c, &Hsl::h, 1, 180);
        } else if (name == "tint") {
            c = linearly(c, [&](double x) { return x * v + (1 - v); });
        } else if (name == "shade") {
            c = linearly(c, [&](double x) { return x * v; });
        } else if (name == "inv") {
            c = {std::uint8_t(255 - c.r), std::uint8_t(255 - c.g), std::uint8_t(255 - c.b), c.a};
        } else if (name == "gray") {
            const auto y = std::uint8_t((299 * c.r + 587 * c.g + 114 * c.b + 500) / 1000);
            c = {y, y, y, c.a};
        }
    }
    return c;
}

std::optional<Rgba> hexColour(std::string_view hex) {
    if (hex.size() != 6 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos) {
        return std::nullopt;
    }
    const auto v = std::stoul(std::string(hex), nullptr, 16);
    return Rgba{std::uint8_t(v >> 16), std::uint8_t(v >> 8), std::uint8_t(v)};
}

std::optional<Rgba> colourAt(std::string_view xml, const std::vector<XmlSpans::Span>& spans, int element,
                             const Scheme& scheme) {
    const auto& span = spans.at(std::size_t(element));
    const std::string_view kind = localName(span.name);
    const auto val = XmlSpans::attributeOf(xml, span, "val");
    std::optional<Rgba> base;
    if (kind == "srgbClr") {
        if (val) base = hexColour(*val);
    } else if (kind == "schemeClr") {
        std::string name = val.value_or("");
        if (const auto mapped = scheme.map.find(name); mapped != scheme.map.end()) name = mapped->second;
        if (const auto found = scheme.colours.find(name); found != scheme.colours.end()) base = found->second;
    } else if (kind == "prstClr") {
        if (const auto found = presets().find(val.value_or("")); found != presets().end()) base = found->second;
    } else if (kind == "sysClr") {
        if (const auto last = XmlSpans::attributeOf(xml, span, "lastClr")) base = hexColour(*last);
        if (!base && val) base = *val == "window" ? Rgba{255, 255, 255} : Rgba{0, 0, 0};
    } else if (kind == "scrgbClr") {
        const auto r = number(xml, span, "r"), g = number(xml, span, "g"), b = number(xml, span, "b");
        if (r && g && b) base = Rgba{fromLinear(*r / kWhole), fromLinear(*g / kWhole), fromLinear(*b / kWhole)};
    } else if (kind == "hslClr") {
        const auto h = number(xml, span, "hue"), s = number(xml, span, "sat"), l = number(xml, span, "lum");
        if (h && s && l) base = fromHsl({*h / 60000.0, *s / kWhole, *l / kWhole}, 255);
    }
    if (!base) return std::nullopt;
    std::vector<Transform> transforms;
    for (const int child : XmlSpans::childrenOf(spans, element)) {
        const auto& t = spans[std::size_t(child)];
        transforms.push_back({std::string(localName(t.name)), number(xml, t, "val").value_or(0)});
    }
    return transformed(*base, transforms);
}

}  // namespace orvandel::DrawingColour
