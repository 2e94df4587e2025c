#pragma once
// The colour effects a picture's blip may carry, as pixel maths on RGBA
// bytes: what PowerPoint shows and LibreOffice does not draw (or draws
// otherwise). Amounts are in the deck's units, thousandths of a percent.
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "storyboard/DrawingColour.hpp"

namespace orvandel::BlipEffects {

using DrawingColour::Rgba;

// Each pixel's luminance picks its colour between dark (black) and light (white).
struct Duotone {
    Rgba dark, light;
};
struct Grayscale {};
// Luminance at or above the threshold turns white, below it black.
struct BiLevel {
    std::int64_t threshold = 50000;
};
// Opacity multiplied by the amount.
struct AlphaModFix {
    std::int64_t amount = 100000;
};
// Brightness added, then contrast stretched (or squeezed) around the middle grey.
struct Luminance {
    std::int64_t bright = 0, contrast = 0;
};
// Pixels of one colour become another (usually transparent).
struct ColourChange {
    Rgba from, to;
    bool matchAlpha = true;
};
enum class Blend { over, multiply, screen, darken, lighten };
// The blend a fill overlay's blend attribute names ("over", "mult"...); nothing for one not drawn here.
std::optional<Blend> blendNamed(std::string_view name);
// A colour blended over every pixel, as much as the colour is opaque.
struct FillOverlay {
    Rgba colour;
    Blend blend = Blend::over;
};

using Effect = std::variant<Duotone, Grayscale, BiLevel, AlphaModFix, Luminance, ColourChange, FillOverlay>;

// One pixel with the effect applied. Integer arithmetic, pure.
Rgba applied(const Effect& effect, Rgba pixel);

// A colour laid with a blend mode over a pixel that may be transparent: where
// the pixel is opaque the blend shows as much as the colour is opaque, where
// it is transparent the colour itself (source-over with blending, as a shape
// whose fill overlay covers a see-through texture shows). Integer, pure.
Rgba composited(Blend blend, Rgba backdrop, Rgba colour);

// Every pixel of tightly packed RGBA bytes with the effects applied in order.
void apply(const std::vector<Effect>& effects, std::span<std::uint8_t> rgba);

}  // namespace orvandel::BlipEffects
