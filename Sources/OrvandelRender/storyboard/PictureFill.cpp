#include "storyboard/PictureFill.hpp"

#include <algorithm>
#include <map>

#include "container/XmlElement.hpp"

namespace orvandel::PictureFill {

namespace {

using XmlSpans::Span;

constexpr std::int64_t kWhole = 100000;

std::string_view local(const Span& s) { return localName(s.name); }

std::int64_t number(std::string_view xml, const Span& s, std::string_view name, std::int64_t fallback) {
    const auto text = XmlSpans::attributeOf(xml, s, name);
    if (!text) return fallback;
    try {
        std::size_t used = 0;
        const long long v = std::stoll(*text, &used);
        // Beyond a thousand times the box nothing is left to draw; the bound keeps the products in range.
        if (used == text->size()) return std::clamp<long long>(v, -1'000'000'000, 1'000'000'000);
    } catch (const std::exception&) {
    }
    return fallback;
}

Insets insetsOf(std::string_view xml, const Span& s) {
    return {number(xml, s, "l", 0), number(xml, s, "t", 0), number(xml, s, "r", 0), number(xml, s, "b", 0)};
}

std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// One axis of sourceOf: the picture's pixel (of `pixels`) at `at` EMU into a box `box` EMU long.
std::optional<int> sourceAlong(std::int64_t at, int pixels, std::int64_t ownEmu, std::int64_t box,
                               std::int64_t cropFrom, std::int64_t cropTo, const Tiling* tiling, bool vertical,
                               std::int64_t intoFrom, std::int64_t intoTo) {
    const std::int64_t from = pixels * cropFrom / kWhole, to = pixels - pixels * cropTo / kWhole;
    if (to <= from) return std::nullopt;
    std::int64_t pixel = 0;
    if (tiling) {
        const std::int64_t scale = std::abs(vertical ? tiling->scaleY : tiling->scaleX);
        const std::int64_t tile = std::max<std::int64_t>(1, ownEmu * (to - from) / pixels * scale / kWhole);
        const int column = int(tiling->align) % 3, row = int(tiling->align) / 3;
        const int third = vertical ? row : column;  // 0: start, 1: middle, 2: end
        const std::int64_t origin = (box - tile) * third / 2 + (vertical ? tiling->offsetY : tiling->offsetX);
        const std::int64_t index = floorDiv(at - origin, tile);
        std::int64_t within = at - origin - index * tile;
        if ((vertical ? tiling->flipY : tiling->flipX) && index % 2 != 0) within = tile - 1 - within;
        pixel = from + within * (to - from) / tile;
    } else {
        const std::int64_t start = box * intoFrom / kWhole, end = box - box * intoTo / kWhole;
        if (at < start || at >= end) return std::nullopt;
        pixel = from + (at - start) * (to - from) / (end - start);
    }
    if (pixel < 0 || pixel >= pixels) return std::nullopt;
    return int(pixel);
}

}  // namespace

Fill read(std::string_view xml, const std::vector<Span>& spans, int blipFill) {
    static const std::map<std::string, Align, std::less<>> aligns{{"tl", Align::topLeft},    {"t", Align::top},
                                                                  {"tr", Align::topRight},   {"l", Align::left},
                                                                  {"ctr", Align::centre},    {"r", Align::right},
                                                                  {"bl", Align::bottomLeft}, {"b", Align::bottom},
                                                                  {"br", Align::bottomRight}};
    Fill fill;
    for (const int child : XmlSpans::childrenOf(spans, blipFill)) {
        const Span& s = spans[std::size_t(child)];
        if (local(s) == "srcRect") {
            fill.crop = insetsOf(xml, s);
        } else if (local(s) == "tile") {
            Tiling t;
            t.offsetX = number(xml, s, "tx", 0);
            t.offsetY = number(xml, s, "ty", 0);
            t.scaleX = number(xml, s, "sx", kWhole);
            t.scaleY = number(xml, s, "sy", kWhole);
            const auto flip = XmlSpans::attributeOf(xml, s, "flip").value_or("none");
            t.flipX = flip == "x" || flip == "xy";
            t.flipY = flip == "y" || flip == "xy";
            const auto align = aligns.find(XmlSpans::attributeOf(xml, s, "algn").value_or("tl"));
            if (align != aligns.end()) t.align = align->second;
            fill.tiling = t;
        } else if (local(s) == "stretch") {
            for (const int rect : XmlSpans::childrenOf(spans, child)) {
                if (local(spans[std::size_t(rect)]) == "fillRect")
                    fill.stretchInto = insetsOf(xml, spans[std::size_t(rect)]);
            }
        }
    }
    return fill;
}

std::optional<std::pair<int, int>> sourceOf(const Fill& fill, const Placement& at, std::int64_t x, std::int64_t y) {
    if (at.width <= 0 || at.height <= 0 || at.widthEmu <= 0 || at.heightEmu <= 0) return std::nullopt;
    const Tiling* tiling = fill.tiling ? &*fill.tiling : nullptr;
    const auto column = sourceAlong(x, at.width, at.widthEmu, at.boxWidthEmu, fill.crop.left, fill.crop.right, tiling,
                                    false, fill.stretchInto.left, fill.stretchInto.right);
    const auto row = sourceAlong(y, at.height, at.heightEmu, at.boxHeightEmu, fill.crop.top, fill.crop.bottom, tiling,
                                 true, fill.stretchInto.top, fill.stretchInto.bottom);
    if (!column || !row) return std::nullopt;
    return std::pair{*column, *row};
}

PictureCodec::Picture painted(const PictureCodec::Picture& picture, const Fill& fill, std::int64_t widthEmu,
                              std::int64_t heightEmu, std::int64_t boxWidthEmu, std::int64_t boxHeightEmu, int width,
                              int height) {
    PictureCodec::Picture out{width, height, Bytes(std::size_t(width) * std::size_t(height) * 4)};
    const Placement at{picture.width, picture.height, widthEmu, heightEmu, boxWidthEmu, boxHeightEmu};
    for (int row = 0; row < height; ++row) {
        const std::int64_t y = (2 * std::int64_t{row} + 1) * boxHeightEmu / (2 * std::int64_t{height});
        for (int column = 0; column < width; ++column) {
            const std::int64_t x = (2 * std::int64_t{column} + 1) * boxWidthEmu / (2 * std::int64_t{width});
            const auto source = sourceOf(fill, at, x, y);
            if (!source) continue;
            const auto* from =
                &picture
                     .rgba[(std::size_t(source->second) * std::size_t(picture.width) + std::size_t(source->first)) * 4];
            std::copy(from, from + 4, &out.rgba[(std::size_t(row) * std::size_t(width) + std::size_t(column)) * 4]);
        }
    }
    return out;
}

}  // namespace orvandel::PictureFill
