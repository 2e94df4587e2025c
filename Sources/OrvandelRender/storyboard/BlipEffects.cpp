#include "storyboard/BlipEffects.hpp"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace orvandel::BlipEffects {

namespace {

constexpr std::int64_t kWhole = 100000;
// A colour change takes colours this close to its own: decoded pictures
// (JPEG above all) do not keep a colour exactly.
constexpr int kSameColour = 2;

std::uint8_t clampByte(std::int64_t v) { return static_cast<std::uint8_t>(std::clamp<std::int64_t>(v, 0, 255)); }

// Rec. 601 luma, 0...255.
std::int64_t luma(const Rgba& p) { return (299 * p.r + 587 * p.g + 114 * p.b + 500) / 1000; }

// a + (b - a) * t / 255, rounded.
std::uint8_t mix(std::int64_t a, std::int64_t b, std::int64_t t) {
    const std::int64_t d = (b - a) * t;
    return clampByte(a + (d >= 0 ? d + 127 : d - 127) / 255);
}

std::uint8_t blended(Blend blend, std::int64_t p, std::int64_t c) {
    switch (blend) {
        case Blend::over: return clampByte(c);
        case Blend::multiply: return clampByte((p * c + 127) / 255);
        case Blend::screen: return clampByte(255 - ((255 - p) * (255 - c) + 127) / 255);
        case Blend::darken: return clampByte(std::min(p, c));
        case Blend::lighten: return clampByte(std::max(p, c));
    }
    return clampByte(p);
}

struct Apply {
    Rgba p;
    Rgba operator()(const Duotone& d) const {
        const auto t = luma(p);
        return {mix(d.dark.r, d.light.r, t), mix(d.dark.g, d.light.g, t), mix(d.dark.b, d.light.b, t), p.a};
    }
    Rgba operator()(const Grayscale&) const {
        const auto y = clampByte(luma(p));
        return {y, y, y, p.a};
    }
    Rgba operator()(const BiLevel& b) const {
        const std::uint8_t v = luma(p) * kWhole >= b.threshold * 255 ? 255 : 0;
        return {v, v, v, p.a};
    }
    Rgba operator()(const AlphaModFix& m) const {
        return {p.r, p.g, p.b, clampByte((p.a * std::max<std::int64_t>(m.amount, 0) + kWhole / 2) / kWhole)};
    }
    Rgba operator()(const Luminance& l) const {
        // Slope num/den: a contrast of c > 0 steepens by 1 / (1 - c), c < 0 flattens by 1 + c.
        const std::int64_t c = std::clamp<std::int64_t>(l.contrast, -kWhole, kWhole - 1);
        const std::int64_t num = c >= 0 ? kWhole : kWhole + c, den = c >= 0 ? kWhole - c : kWhole;
        const std::int64_t shift = l.bright * 255 * 2 / kWhole;  // in half steps
        const auto channel = [&](std::int64_t v) {
            const std::int64_t twice = (2 * v + shift - 255) * num / den + 255;  // 2 * value
            return clampByte((twice + 1) / 2);
        };
        return {channel(p.r), channel(p.g), channel(p.b), p.a};
    }
    Rgba operator()(const ColourChange& c) const {
        const auto near = [](int a, int b) { return std::abs(a - b) <= kSameColour; };
        const bool same = near(p.r, c.from.r) && near(p.g, c.from.g) && near(p.b, c.from.b) &&
                          (!c.matchAlpha || near(p.a, c.from.a));
        return same ? c.to : p;
    }
    Rgba operator()(const FillOverlay& f) const {
        const auto channel = [&](std::uint8_t v, std::uint8_t colour) {
            return mix(v, blended(f.blend, v, colour), f.colour.a);
        };
        return {channel(p.r, f.colour.r), channel(p.g, f.colour.g), channel(p.b, f.colour.b), p.a};
    }
};

}  // namespace

std::optional<Blend> blendNamed(std::string_view name) {
    for (const auto& [written, blend] :
         {std::pair{"over", Blend::over}, std::pair{"mult", Blend::multiply}, std::pair{"screen", Blend::screen},
          std::pair{"darken", Blend::darken}, std::pair{"lighten", Blend::lighten}}) {
        if (name == written) return blend;
    }
    return std::nullopt;
}

Rgba composited(Blend blend, Rgba backdrop, Rgba colour) {
    const std::int64_t ab = backdrop.a, as = colour.a;
    // Both scaled by 255 * 255: the premultiplied result and its opacity.
    const std::int64_t opacity = as * 255 + ab * (255 - as);
    if (opacity == 0) return {0, 0, 0, 0};
    const auto channel = [&](std::int64_t b, std::int64_t s) {
        const std::int64_t premultiplied = as * (255 - ab) * s + as * ab * blended(blend, b, s) + (255 - as) * ab * b;
        return clampByte((premultiplied + opacity / 2) / opacity);
    };
    return {channel(backdrop.r, colour.r), channel(backdrop.g, colour.g), channel(backdrop.b, colour.b),
            clampByte((opacity + 127) / 255)};
}

Rgba applied(const Effect& effect, Rgba pixel) { return std::visit(Apply{pixel}, effect); }

void apply(const std::vector<Effect>& effects, std::span<std::uint8_t> rgba) {
    for (std::size_t i = 0; i + 4 <= rgba.size(); i += 4) {
        Rgba p{rgba[i], rgba[i + 1], rgba[i + 2], rgba[i + 3]};
        for (const auto& effect : effects) p = applied(effect, p);
        rgba[i] = p.r;
        rgba[i + 1] = p.g;
        rgba[i + 2] = p.b;
        rgba[i + 3] = p.a;
    }
}

}  // namespace orvandel::BlipEffects
