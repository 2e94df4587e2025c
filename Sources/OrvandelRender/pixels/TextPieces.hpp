#pragma once
// The words or letters of a layer of text, found in its pixels, for effects
// that play piece by piece: rows of text are split where a row of the mask is
// empty, a row into words where the columns are empty for more than about a
// third of its height, or into letters at any empty column. Pieces come in
// reading order (rows top to bottom, left to right within a row). Pure.
#include <cstdint>
#include <vector>

namespace orvandel {

namespace TextPieces {

struct Box {
    int left = 0, top = 0, right = 0, bottom = 0;  // [left, right) x [top, bottom), in mask cells
    bool operator==(const Box&) const = default;
};

enum class Unit { word, letter };

// `mask` is w x h cells, row by row (non-zero: the layer). Returns each
// piece's box; `owner` gets, per cell, the piece it belongs to (-1: none).
std::vector<Box> split(const std::vector<std::uint8_t>& mask, int w, int h, Unit unit,
                       std::vector<std::int32_t>& owner);

}  // namespace TextPieces

}  // namespace orvandel
