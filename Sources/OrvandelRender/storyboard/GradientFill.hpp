#pragma once
// A solid or linear gradient fill (a:solidFill, a:gradFill with a:lin) as
// colours over a box of pixels, and laid over a picture with a blend mode,
// as a fill overlay lays its fill over the shape's. Path gradients are not
// drawn here.
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "storyboard/BlipEffects.hpp"
#include "tools/PictureCodec.hpp"

namespace orvandel::GradientFill {

using DrawingColour::Rgba;

// A colour at a position along the gradient, in thousandths of a percent.
struct Stop {
    std::int64_t position = 0;
    Rgba colour;
};

// A solid fill is one stop.
struct Paint {
    std::vector<Stop> stops;  // by position
    std::int64_t angle = 0;   // 60000ths of a degree, clockwise from left-to-right
    bool scaled = false;      // the angle is taken in the unit square, then stretched with the box
};

// The fill spans[fill] of xml stands for (a:solidFill, or an a:gradFill
// with a:lin); nothing for other fills, a path gradient, or a colour the
// scheme does not resolve. Pure.
std::optional<Paint> read(std::string_view xml, const std::vector<XmlSpans::Span>& spans, int fill,
                          const DrawingColour::Scheme& scheme);

// The colour at a position: between two stops a linear mix, before the
// first and after the last their colour. Integer arithmetic, pure.
Rgba colourAt(const std::vector<Stop>& stops, std::int64_t position);

// Where the centre of pixel (x, y) of a width x height box lies along the
// gradient, 0...100000: the gradient runs through the box's centre and its
// ends touch the farthest corners. Pure.
std::int64_t positionAt(const Paint& paint, int width, int height, int x, int y);

// The paint blended over every pixel of the picture. Pure.
void overlay(PictureCodec::Picture& picture, const Paint& paint, BlipEffects::Blend blend);

}  // namespace orvandel::GradientFill
