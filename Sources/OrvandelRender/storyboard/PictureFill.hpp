#pragma once
// A picture laid into a box as a blip fill lays it: cropped (a:srcRect),
// then either stretched into the box's fill rectangle (a:stretch/a:fillRect)
// or tiled from an anchor at its own size, scaled (a:tile). Positions are
// worked out in EMU, in integers, so that a fill painted at any pixel size
// lands where the deck puts it.
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "plan/XmlSpans.hpp"
#include "tools/PictureCodec.hpp"

namespace orvandel::PictureFill {

// Edges in thousandths of a percent of a size, inwards (negative: outwards).
struct Insets {
    std::int64_t left = 0, top = 0, right = 0, bottom = 0;
};

// Where the tile grid is anchored in the box: a corner, an edge's middle or the centre.
enum class Align { topLeft, top, topRight, left, centre, right, bottomLeft, bottom, bottomRight };

struct Tiling {
    std::int64_t offsetX = 0, offsetY = 0;          // EMU, from the anchor
    std::int64_t scaleX = 100000, scaleY = 100000;  // of the picture's own size
    bool flipX = false, flipY = false;              // every other tile mirrored
    Align align = Align::topLeft;
};

struct Fill {
    Insets crop;                   // of the picture
    std::optional<Tiling> tiling;  // nothing: stretched
    Insets stretchInto;            // of the box, when stretched
};

// The fill spans[blipFill] of xml (an a:blipFill) describes. Pure.
Fill read(std::string_view xml, const std::vector<XmlSpans::Span>& spans, int blipFill);

// A picture of width x height pixels whose own size is widthEmu x heightEmu,
// laid into a box of boxWidthEmu x boxHeightEmu.
struct Placement {
    int width = 0, height = 0;
    std::int64_t widthEmu = 0, heightEmu = 0;
    std::int64_t boxWidthEmu = 0, boxHeightEmu = 0;
};

// The picture's pixel a point of the box (EMU from its top left corner)
// shows; nothing where the fill leaves the box empty. Pure.
std::optional<std::pair<int, int>> sourceOf(const Fill& fill, const Placement& at, std::int64_t x, std::int64_t y);

// The box drawn as width x height pixels, each showing the picture's pixel
// at its centre; transparent where the fill leaves it empty. Pure.
PictureCodec::Picture painted(const PictureCodec::Picture& picture, const Fill& fill, std::int64_t widthEmu,
                              std::int64_t heightEmu, std::int64_t boxWidthEmu, std::int64_t boxHeightEmu, int width,
                              int height);

}  // namespace orvandel::PictureFill
