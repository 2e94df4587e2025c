#include "pixels/TextPieces.hpp"

#include <algorithm>

namespace orvandel::TextPieces {

namespace {

// So many pieces make no visible difference and would cost a pass each.
constexpr std::size_t kMaxPieces = 4096;

}  // namespace

std::vector<Box> split(const std::vector<std::uint8_t>& mask, int w, int h, Unit unit,
                       std::vector<std::int32_t>& owner) {
    owner.assign(std::size_t(std::max(w, 0)) * std::size_t(std::max(h, 0)), -1);
    std::vector<Box> pieces;
    if (w <= 0 || h <= 0 || mask.size() < owner.size()) return pieces;
    const auto at = [&](int x, int y) { return mask[std::size_t(y) * std::size_t(w) + std::size_t(x)] != 0; };
    int y = 0;
    while (y < h) {
        // A row of text: consecutive rows that hold something.
        const auto rowEmpty = [&](int r) {
            for (int x = 0; x < w; ++x) {
                if (at(x, r)) return false;
            }
            return true;
        };
        while (y < h && rowEmpty(y)) ++y;
        if (y >= h) break;
        const int top = y;
        while (y < h && !rowEmpty(y)) ++y;
        const int bottom = y;
        std::vector<bool> filled(std::size_t(w), false);
        for (int x = 0; x < w; ++x) {
            for (int r = top; r < bottom && !filled[std::size_t(x)]; ++r) filled[std::size_t(x)] = at(x, r);
        }
        const int widestGap = unit == Unit::letter ? 0 : std::max(1, (bottom - top) / 3);
        int x = 0;
        while (x < w) {
            while (x < w && !filled[std::size_t(x)]) ++x;
            if (x >= w) break;
            const int left = x;
            int right = x;
            // A piece runs on across gaps no wider than widestGap.
            while (x < w) {
                if (filled[std::size_t(x)]) {
                    right = ++x;
                    continue;
                }
                int gapEnd = x;
                while (gapEnd < w && !filled[std::size_t(gapEnd)]) ++gapEnd;
                if (gapEnd >= w || gapEnd - x > widestGap) break;
                x = gapEnd;
            }
            x = right;
            if (pieces.size() >= kMaxPieces) {
                // The rest of the text joins the last piece.
                pieces.back().right = std::max(pieces.back().right, right);
                pieces.back().bottom = std::max(pieces.back().bottom, bottom);
                pieces.back().left = std::min(pieces.back().left, left);
            } else {
                pieces.push_back({left, top, right, bottom});
            }
            const auto index = std::int32_t(pieces.size() - 1);
            for (int r = top; r < bottom; ++r) {
                for (int c = left; c < right; ++c) {
                    if (at(c, r)) owner[std::size_t(r) * std::size_t(w) + std::size_t(c)] = index;
                }
            }
        }
    }
    return pieces;
}

}  // namespace orvandel::TextPieces
