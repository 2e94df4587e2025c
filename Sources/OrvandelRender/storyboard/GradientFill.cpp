#include "storyboard/GradientFill.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "container/XmlElement.hpp"

namespace orvandel::GradientFill {

namespace {

using XmlSpans::Span;

constexpr std::int64_t kWhole = 100000;
constexpr std::int64_t kUnit = 1 << 16;  // fixed point of the direction's sine and cosine

std::string_view local(const Span& s) { return localName(s.name); }

std::optional<std::int64_t> number(std::string_view xml, const Span& s, std::string_view name) {
    return XmlSpans::integerAttribute(xml, s, name);
}

std::uint8_t mix(std::int64_t a, std::int64_t b, std::int64_t t, std::int64_t whole) {
    const std::int64_t d = (b - a) * t;
    return std::uint8_t(std::clamp<std::int64_t>(a + (d >= 0 ? d + whole / 2 : d - whole / 2) / whole, 0, 255));
}

}  // namespace

std::optional<Paint> read(std::string_view xml, const std::vector<Span>& spans, int fill,
                          const DrawingColour::Scheme& scheme) {
    const auto children = XmlSpans::childrenOf(spans, fill);
    Paint paint;
    if (local(spans[std::size_t(fill)]) == "solidFill") {
        if (children.empty()) return std::nullopt;
        const auto colour = DrawingColour::colourAt(xml, spans, children.front(), scheme);
        if (!colour) return std::nullopt;
        paint.stops.push_back({0, *colour});
        return paint;
    }
    if (local(spans[std::size_t(fill)]) != "gradFill") return std::nullopt;
    for (const int child : children) {
        const Span& s = spans[std::size_t(child)];
        if (local(s) == "gsLst") {
            for (const int gs : XmlSpans::childrenOf(spans, child)) {
                const auto position = number(xml, spans[std::size_t(gs)], "pos");
                const auto colours = XmlSpans::childrenOf(spans, gs);
                if (!position || colours.empty()) return std::nullopt;
                const auto colour = DrawingColour::colourAt(xml, spans, colours.front(), scheme);
                if (!colour) return std::nullopt;
                paint.stops.push_back({std::clamp<std::int64_t>(*position, 0, kWhole), *colour});
            }
        } else if (local(s) == "lin") {
            paint.angle = number(xml, s, "ang").value_or(0);
            const auto scaled = XmlSpans::attributeOf(xml, s, "scaled");
            paint.scaled = scaled == "1" || scaled == "true";
        } else if (local(s) == "path") {
            return std::nullopt;
        }
    }
    if (paint.stops.empty()) return std::nullopt;
    std::stable_sort(paint.stops.begin(), paint.stops.end(),
                     [](const Stop& a, const Stop& b) { return a.position < b.position; });
    return paint;
}

Rgba colourAt(const std::vector<Stop>& stops, std::int64_t position) {
    if (stops.empty()) return {};
    if (position <= stops.front().position) return stops.front().colour;
    for (std::size_t i = 1; i < stops.size(); ++i) {
        const Stop &a = stops[i - 1], &b = stops[i];
        if (position > b.position) continue;
        const std::int64_t span = b.position - a.position, t = position - a.position;
        if (span == 0) return b.colour;
        return {mix(a.colour.r, b.colour.r, t, span), mix(a.colour.g, b.colour.g, t, span),
                mix(a.colour.b, b.colour.b, t, span), mix(a.colour.a, b.colour.a, t, span)};
    }
    return stops.back().colour;
}

std::int64_t positionAt(const Paint& paint, int width, int height, int x, int y) {
    if (paint.stops.size() < 2 || width <= 0 || height <= 0) return 0;
    const double radians = double(paint.angle) / 60000.0 * std::numbers::pi / 180.0;
    const std::int64_t c = std::llround(std::cos(radians) * kUnit), s = std::llround(std::sin(radians) * kUnit);
    // Twice the offset from the centre; scaled, each axis is measured in its own length (times w * h).
    const std::int64_t dx = 2 * std::int64_t{x} + 1 - width, dy = 2 * std::int64_t{y} + 1 - height;
    const std::int64_t w = width, h = height;
    const std::int64_t along = paint.scaled ? dx * h * c + dy * w * s : dx * c + dy * s;
    const std::int64_t reach = paint.scaled ? (std::abs(c) + std::abs(s)) * w * h : w * std::abs(c) + h * std::abs(s);
    if (reach == 0) return 0;
    return std::clamp<std::int64_t>((along + reach) * kWhole / (2 * reach), 0, kWhole);
}

void overlay(PictureCodec::Picture& picture, const Paint& paint, BlipEffects::Blend blend) {
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            auto* q = &picture.rgba[(std::size_t(y) * std::size_t(picture.width) + std::size_t(x)) * 4];
            const Rgba colour = colourAt(paint.stops, positionAt(paint, picture.width, picture.height, x, y));
            const Rgba p = BlipEffects::composited(blend, {q[0], q[1], q[2], q[3]}, colour);
            q[0] = p.r;
            q[1] = p.g;
            q[2] = p.b;
            q[3] = p.a;
        }
    }
}

}  // namespace orvandel::GradientFill
