#include "pixels/EffectPainter.hpp"

#include <algorithm>
#include <cstring>

namespace orvandel::EffectPainter {

namespace {

using Side = DrawnEffect::Side;
using Kind = DrawnEffect::Kind;

// Plane k of a frame: 0 is Y, 1 is U, 2 is V; chroma planes are halved.
struct Plane {
    std::uint8_t* data;
    int width, height;
    std::uint8_t& at(int x, int y) const { return data[std::size_t(y) * std::size_t(width) + std::size_t(x)]; }
};

Plane plane(const YuvFrame& f, int k) {
    const int w = f.size.width, h = f.size.height;
    auto* base = const_cast<std::uint8_t*>(f.planes.data());
    if (k == 0) return {base, w, h};
    const std::size_t luma = std::size_t(w) * std::size_t(h), chroma = luma / 4;
    return {base + luma + (k == 2 ? chroma : 0), w / 2, h / 2};
}

std::int64_t even(std::int64_t v) { return v - v % 2; }

// Whether the stills differ in the 2x2 block of chroma pixel (cx, cy).
class Mask {
public:
    Mask(const YuvFrame& a, const YuvFrame& b, bool all) : a_(a), b_(b), all_(all) {}
    bool operator()(int cx, int cy) const {
        if (all_) return true;
        for (int k = 1; k <= 2; ++k) {
            if (plane(a_, k).at(cx, cy) != plane(b_, k).at(cx, cy)) return true;
        }
        const Plane ya = plane(a_, 0), yb = plane(b_, 0);
        for (int dy = 0; dy < 2; ++dy) {
            for (int dx = 0; dx < 2; ++dx) {
                if (ya.at(2 * cx + dx, 2 * cy + dy) != yb.at(2 * cx + dx, 2 * cy + dy)) return true;
            }
        }
        return false;
    }

private:
    const YuvFrame& a_;
    const YuvFrame& b_;
    bool all_;
};

void fade(const YuvFrame& base, const YuvFrame& shown, const Area& a, std::int64_t vis, std::int64_t d, YuvFrame& out) {
    const int alpha = int(vis * 256 / d);
    for (int k = 0; k < 3; ++k) {
        const int s = k == 0 ? 1 : 2;
        const Plane b = plane(base, k), f = plane(shown, k), o = plane(out, k);
        for (int y = a.top / s; y < a.bottom / s; ++y) {
            for (int x = a.left / s; x < a.right / s; ++x) {
                o.at(x, y) = std::uint8_t((b.at(x, y) * (256 - alpha) + f.at(x, y) * alpha + 128) >> 8);
            }
        }
    }
}

void wipe(const YuvFrame& shown, const Area& a, Side side, std::int64_t vis, std::int64_t d, YuvFrame& out) {
    for (int k = 0; k < 3; ++k) {
        const int s = k == 0 ? 1 : 2;
        const Plane f = plane(shown, k), o = plane(out, k);
        const int left = a.left / s, right = a.right / s, top = a.top / s, bottom = a.bottom / s;
        const int revealedX = int((right - left) * vis / d), revealedY = int((bottom - top) * vis / d);
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                const bool in = side == Side::left    ? x < left + revealedX
                                : side == Side::right ? x >= right - revealedX
                                : side == Side::top   ? y < top + revealedY
                                                      : y >= bottom - revealedY;
                if (in) o.at(x, y) = f.at(x, y);
            }
        }
    }
}

// The masked pixels of `shown` in the area, moved by (dx, dy) (even).
void moved(const YuvFrame& shown, const Mask& mask, const Area& a, std::int64_t dx, std::int64_t dy, YuvFrame& out) {
    const int w = out.size.width, h = out.size.height;
    for (int k = 0; k < 3; ++k) {
        const int s = k == 0 ? 1 : 2;
        const Plane f = plane(shown, k), o = plane(out, k);
        const std::int64_t ox = dx / s, oy = dy / s;
        for (int y = a.top / s; y < a.bottom / s; ++y) {
            const std::int64_t ty = y + oy;
            if (ty < 0 || ty >= h / s) continue;
            for (int x = a.left / s; x < a.right / s; ++x) {
                const std::int64_t tx = x + ox;
                if (tx < 0 || tx >= w / s || !mask(x * s / 2, y * s / 2)) continue;
                o.at(int(tx), int(ty)) = f.at(x, y);
            }
        }
    }
}

void fly(const YuvFrame& shown, const Mask& mask, const Area& a, Side side, std::int64_t vis, std::int64_t d,
         YuvFrame& out) {
    const std::int64_t w = out.size.width, h = out.size.height, away = d - vis;
    std::int64_t dx = 0, dy = 0;
    switch (side) {
        case Side::left: dx = -even(a.right * away / d); break;
        case Side::right: dx = even((w - a.left) * away / d); break;
        case Side::top: dy = -even(a.bottom * away / d); break;
        case Side::bottom: dy = even((h - a.top) * away / d); break;
    }
    moved(shown, mask, a, dx, dy, out);
}

void zoom(const YuvFrame& shown, const Mask& mask, const Area& a, std::int64_t vis, std::int64_t d, YuvFrame& out) {
    if (vis <= 0) return;
    for (int k = 0; k < 3; ++k) {
        const int s = k == 0 ? 1 : 2;
        const Plane f = plane(shown, k), o = plane(out, k);
        const int left = a.left / s, right = a.right / s, top = a.top / s, bottom = a.bottom / s;
        const std::int64_t cx = (left + right) / 2, cy = (top + bottom) / 2;
        const auto from = [&](std::int64_t at, std::int64_t c) { return c + (at - c) * d / vis; };
        for (std::int64_t y = cy - (cy - top) * vis / d; y < cy + (bottom - cy) * vis / d; ++y) {
            const std::int64_t sy = from(y, cy);
            if (sy < top || sy >= bottom) continue;
            for (std::int64_t x = cx - (cx - left) * vis / d; x < cx + (right - cx) * vis / d; ++x) {
                const std::int64_t sx = from(x, cx);
                if (sx < left || sx >= right || !mask(int(sx) * s / 2, int(sy) * s / 2)) continue;
                o.at(int(x), int(y)) = f.at(int(sx), int(sy));
            }
        }
    }
}

// The new slide comes in from `side` and pushes the old one out.
void push(const YuvFrame& before, const YuvFrame& after, Side side, std::int64_t vis, std::int64_t d, YuvFrame& out) {
    const bool across = side == Side::left || side == Side::right;
    const int sign = side == Side::right || side == Side::bottom ? 1 : -1;
    for (int k = 0; k < 3; ++k) {
        const Plane b = plane(before, k), f = plane(after, k), o = plane(out, k);
        const std::int64_t extent = across ? o.width : o.height;
        const std::int64_t newAt = sign * (extent * (d - vis) / d), oldAt = newAt - sign * extent;
        for (int y = 0; y < o.height; ++y) {
            for (int x = 0; x < o.width; ++x) {
                const std::int64_t p = across ? x : y;
                const std::int64_t inNew = p - newAt;
                const bool fresh = inNew >= 0 && inNew < extent;
                const std::int64_t q = fresh ? inNew : p - oldAt;
                const Plane& src = fresh ? f : b;
                o.at(x, y) = across ? src.at(int(q), y) : src.at(x, int(q));
            }
        }
    }
}

}  // namespace

Area changedArea(const YuvFrame& a, const YuvFrame& b) {
    // Rows that are the same are skipped at memcmp speed; in the others the
    // first and last differing samples widen the box.
    int left = a.size.width, top = a.size.height, right = 0, bottom = 0;
    for (int k = 0; k < 3; ++k) {
        const int s = k == 0 ? 1 : 2;
        const Plane pa = plane(a, k), pb = plane(b, k);
        for (int y = 0; y < pa.height; ++y) {
            const std::uint8_t* ra = &pa.at(0, y);
            const std::uint8_t* rb = &pb.at(0, y);
            if (std::memcmp(ra, rb, std::size_t(pa.width)) == 0) continue;
            int first = 0, last = pa.width - 1;
            while (ra[first] == rb[first]) ++first;
            while (ra[last] == rb[last]) --last;
            left = std::min(left, first * s);
            right = std::max(right, (last + 1) * s);
            top = std::min(top, y * s);
            bottom = std::max(bottom, (y + 1) * s);
        }
    }
    if (right <= left) return {};
    // Even edges, so that the chroma samples of the area are whole.
    return {left - left % 2, top - top % 2, right + right % 2, bottom + bottom % 2};
}

void paint(const YuvFrame& before, const YuvFrame& after, const DrawnEffect& effect, const Area& area, bool wholeSlide,
           std::int64_t elapsedMs, YuvFrame& out, bool outIsEarlierFrame) {
    const std::int64_t d = std::max<std::int64_t>(1, effect.durationMs), t = std::clamp<std::int64_t>(elapsedMs, 0, d);
    DrawnEffect e = effect;
    bool entering = e.entering;
    // An uncover is the old slide flying out towards its side.
    if (e.kind == Kind::uncover) {
        e.kind = Kind::fly;
        entering = false;
    }
    const YuvFrame& shown = entering ? after : before;
    const YuvFrame& base = entering ? before : after;
    const std::int64_t vis = entering ? t : d - t;  // how far the shown picture is in
    const Area a = wholeSlide ? Area{0, 0, base.size.width, base.size.height} : area;
    // A fade or a wipe changes nothing outside its area: an earlier frame of
    // the same change needs only its area put back.
    if (outIsEarlierFrame && !wholeSlide && (e.kind == Kind::fade || e.kind == Kind::wipe) &&
        out.planes.size() == base.planes.size()) {
        for (int k = 0; k < 3; ++k) {
            const int s = k == 0 ? 1 : 2;
            const Plane b = plane(base, k), o = plane(out, k);
            for (int y = a.top / s; y < a.bottom / s; ++y) {
                std::memcpy(&o.at(a.left / s, y), &b.at(a.left / s, y), std::size_t(a.right / s - a.left / s));
            }
        }
    } else {
        out.size = base.size;
        out.planes = base.planes;
    }
    const Mask mask(before, after, wholeSlide);
    if (a.empty()) return;
    switch (e.kind) {
        case Kind::cut:
            if (vis * 2 >= d) out.planes = shown.planes;
            break;
        case Kind::fade: fade(base, shown, a, vis, d, out); break;
        case Kind::wipe: wipe(shown, a, e.side, vis, d, out); break;
        case Kind::fly:
        case Kind::uncover: fly(shown, mask, a, e.side, vis, d, out); break;
        case Kind::zoom: zoom(shown, mask, a, vis, d, out); break;
        case Kind::push: push(before, after, e.side, t, d, out); break;
    }
}

}  // namespace orvandel::EffectPainter
