#include "pixels/EffectPainter.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <numbers>
#include <string>

#include "plan/EffectProgress.hpp"
#include "plan/MotionPath.hpp"

namespace orvandel {

namespace {

using Role = DrawnEffect::Role;
using Layer = DrawnEffect::Layer;
using BKind = EffectBehaviour::Kind;
using Area = EffectPainter::Area;
constexpr std::int64_t kWhole = EffectProgress::kWhole;

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

Area unite(const Area& a, const Area& b) {
    if (a.empty()) return b;
    if (b.empty()) return a;
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right), std::max(a.bottom, b.bottom)};
}

struct Compiled {
    enum class Property { other, x, y, w, h, rotation, opacity, visibility, shear };
    EffectBehaviour b;
    Property property = Property::other;
    std::vector<AnimFormula> values;                   // one per key
    std::vector<std::optional<AnimFormula>> formulas;  // one per key
    std::vector<bool> hiddenAt;                        // visibility: the key hides
    std::optional<RevealMask> reveal;
    std::vector<std::pair<double, double>> path;  // motion, in slide fractions
    std::vector<double> along;                    // the path's length up to each point, in pixels
};

std::optional<Compiled> compile(const EffectBehaviour& b) {
    Compiled c{b};
    switch (b.kind) {
        case BKind::reveal:
            c.reveal = RevealMask::parse(b.filter);
            if (!c.reveal) return std::nullopt;
            break;
        case BKind::value: {
            std::string p = b.property;
            std::transform(p.begin(), p.end(), p.begin(), [](unsigned char ch) { return std::tolower(ch); });
            using P = Compiled::Property;
            c.property = p == "ppt_x"                        ? P::x
                         : p == "ppt_y"                      ? P::y
                         : p == "ppt_w"                      ? P::w
                         : p == "ppt_h"                      ? P::h
                         : p == "r" || p == "style.rotation" ? P::rotation
                         : p == "style.opacity"              ? P::opacity
                         : p == "style.visibility"           ? P::visibility
                         : p == "xshear"                     ? P::shear
                                                             : P::other;
            if (c.property == P::other || b.keys.empty()) return std::nullopt;
            auto keys = b.keys;
            std::stable_sort(keys.begin(), keys.end(), [](const auto& l, const auto& r) { return l.time < r.time; });
            c.b.keys = keys;
            try {
                for (const auto& k : keys) {
                    if (c.property == P::visibility) {
                        c.hiddenAt.push_back(k.value == "hidden");
                        continue;
                    }
                    c.values.push_back(AnimFormula::compile(k.value));
                    c.formulas.push_back(k.formula.empty() ? std::nullopt
                                                           : std::optional(AnimFormula::compile(k.formula)));
                }
            } catch (const AnimFormula::Error&) {
                return std::nullopt;
            }
            break;
        }
        case BKind::motion: {
            auto path = MotionPath::points(b.path);
            if (!path) return std::nullopt;
            c.path = std::move(*path);
            break;
        }
        default: break;
    }
    return c;
}

// Where the layer is in one frame, from its resting box.
struct Pose {
    double dx = 0, dy = 0;  // its centre moved, in pixels
    double sx = 1, sy = 1;
    double degrees = 0;
    double shear = 0;  // xshear: each row moved across by this times its height below the centre
    double opacity = 1;
    double slideX = 0, slideY = 0;  // a slide reveal: the layer's pixels shifted within its box
    double tint = 0;                // towards the colour still
    int through = 0;                // a transition through black (1) or white (2)
    double throughAt = 0;
    bool hidden = false;
    std::vector<std::pair<const std::vector<std::uint16_t>*, std::uint32_t>> patterns;
};

struct Piece {
    Area box;
    std::int64_t startMs = 0;
    std::map<std::size_t, std::vector<std::uint16_t>> keys;  // by behaviour
};

}  // namespace

struct EffectPainter::State {
    DrawnEffect effect;
    bool wholeSlide = false;
    bool ready = false;
    std::vector<Compiled> behaviours;
    std::size_t leftOut = 0;
    FrameSize size;
    Area area;                        // of the layer
    std::vector<std::uint8_t> mask;   // per chroma cell of `area`; empty: all of it
    std::vector<std::int32_t> owner;  // per cell, the piece; empty: one piece
    std::vector<Piece> pieces;
    Area dirty;   // what the last frame drew over the base
    Area around;  // crossfaded in place to the still after (a colour change around a moving layer)

    bool transition() const { return effect.role == Role::transition; }

    void prepare(const YuvFrame& before, const YuvFrame& after, const YuvFrame* without);
    std::int64_t endOf(const Piece& piece) const;
    Pose pose(std::size_t pieceIndex, std::int64_t elapsedMs);
    void draw(const YuvFrame& layer, const YuvFrame* tint, const Pose& pose, std::size_t pieceIndex, YuvFrame& out);
};

void EffectPainter::State::prepare(const YuvFrame& before, const YuvFrame& after, const YuvFrame* without) {
    ready = true;
    size = before.size;
    const bool lifted = effect.role == Role::emphasis || effect.role == Role::path;
    if (lifted && !without) {
        // Nothing to lift the targets off: the change fades in.
        effect.role = Role::entrance;
        EffectBehaviour fade;
        fade.filter = "fade";
        fade.durationMs = effect.durationMs;
        effect.behaviours = {fade};
        effect.iterate = {};
    }
    for (const auto& b : effect.behaviours) {
        if (auto c = compile(b)) behaviours.push_back(std::move(*c));
        else ++leftOut;
    }
    const double w = size.width, h = size.height;
    for (auto& c : behaviours) {
        if (c.path.empty()) continue;
        c.along.assign(c.path.size(), 0);
        for (std::size_t i = 1; i < c.path.size(); ++i) {
            c.along[i] = c.along[i - 1] + std::hypot((c.path[i].first - c.path[i - 1].first) * w,
                                                     (c.path[i].second - c.path[i - 1].second) * h);
        }
    }
    if (transition() || wholeSlide) {
        area = {0, 0, size.width - size.width % 2, size.height - size.height % 2};
        pieces = {{area}};
        return;
    }
    const YuvFrame& layer = effect.role == Role::entrance ? after : before;
    const YuvFrame& base = effect.role == Role::entrance ? before : effect.role == Role::exit ? after : *without;
    // A colour or style change crossfades into the still after, whose
    // target may reach further (a bolder or larger text, a shape's fill
    // behind a paragraph). When that is all it does, what the still after
    // changes is part of the layer (and of its pieces); when the layer also
    // moves, what changes around it crossfades in place.
    const auto tints = [](const Compiled& c) { return c.b.kind == BKind::colour || c.b.kind == BKind::restyle; };
    const bool tinted = lifted && std::any_of(behaviours.begin(), behaviours.end(), tints);
    const bool tintOnly = tinted && std::all_of(behaviours.begin(), behaviours.end(), tints);
    if (tinted && !tintOnly) around = changedArea(before, after);
    area = tintOnly ? unite(changedArea(layer, base), changedArea(after, base)) : changedArea(layer, base);
    const int cw = (area.right - area.left) / 2, ch = (area.bottom - area.top) / 2;
    mask.assign(std::size_t(std::max(cw, 0)) * std::size_t(std::max(ch, 0)), 0);
    for (int y = 0; y < ch; ++y) {
        for (int x = 0; x < cw; ++x) {
            const int lx = area.left + 2 * x, ly = area.top + 2 * y;
            const auto differs = [&](const YuvFrame& one, const YuvFrame& other) {
                for (int k = 1; k <= 2; ++k) {
                    if (plane(one, k).at(lx / 2, ly / 2) != plane(other, k).at(lx / 2, ly / 2)) return true;
                }
                const Plane a = plane(one, 0), b = plane(other, 0);
                for (int d = 0; d < 4; ++d) {
                    if (a.at(lx + d % 2, ly + d / 2) != b.at(lx + d % 2, ly + d / 2)) return true;
                }
                return false;
            };
            mask[std::size_t(y) * std::size_t(cw) + std::size_t(x)] = differs(layer, base) ||
                                                                      (tintOnly && differs(after, base));
        }
    }
    const auto unit = effect.iterate.unit;
    std::vector<TextPieces::Box> found;
    if (unit != EffectIteration::Unit::whole) {
        found = TextPieces::split(mask, cw, ch,
                                  unit == EffectIteration::Unit::word ? TextPieces::Unit::word
                                                                      : TextPieces::Unit::letter,
                                  owner);
    }
    if (found.size() <= 1) {
        owner.clear();
        pieces = {{area}};
        return;
    }
    // One unit's time, and the step between units: as the deck says when the
    // pieces found are the units it counts, else spread evenly.
    std::int64_t unitMs = 0;
    for (const auto& c : behaviours) {
        unitMs = std::max(unitMs, c.b.beginMs + EffectProgress::activeMs(c.b.durationMs, c.b.timing, c.b.durationMs));
    }
    const auto n = std::int64_t(found.size());
    std::int64_t step = 0;
    if (n == effect.iterate.units) {
        step = effect.iterate.stepMs ? *effect.iterate.stepMs
                                     : std::clamp<std::int64_t>(effect.iterate.stepPct, 0, kWhole) * unitMs / kWhole;
    } else {
        step = std::max<std::int64_t>(0, effect.durationMs - unitMs) / (n - 1);
    }
    step = std::clamp<std::int64_t>(step, 0, 86'400'000);
    for (std::int64_t i = 0; i < n; ++i) {
        const auto& f = found[std::size_t(i)];
        const std::int64_t order = effect.iterate.backwards ? n - 1 - i : i;
        pieces.push_back(
            {{area.left + 2 * f.left, area.top + 2 * f.top, area.left + 2 * f.right, area.top + 2 * f.bottom},
             order * step});
    }
}

std::int64_t EffectPainter::State::endOf(const Piece& piece) const {
    std::int64_t end = 0;
    for (const auto& c : behaviours) {
        const std::int64_t until = std::max<std::int64_t>(0, effect.durationMs - piece.startMs - c.b.beginMs);
        end = std::max(end, c.b.beginMs + EffectProgress::activeMs(c.b.durationMs, c.b.timing, until));
    }
    return end;
}

Pose EffectPainter::State::pose(std::size_t pieceIndex, std::int64_t elapsedMs) {
    Piece& piece = pieces[pieceIndex];
    Pose pose;
    const std::int64_t t = elapsedMs - piece.startMs;
    if (effect.role == Role::entrance && t < 0) {
        pose.hidden = true;
        return pose;
    }
    if (effect.role == Role::exit && t >= endOf(piece)) {
        pose.hidden = true;
        return pose;
    }
    const double W = size.width, H = size.height;
    const Area& box = piece.box;
    const double bw = box.right - box.left, bh = box.bottom - box.top;
    const AnimFormula::Variables rest{0, (box.left + box.right) / 2.0 / W, (box.top + box.bottom) / 2.0 / H, bw / W,
                                      bh / H};
    for (std::size_t i = 0; i < behaviours.size(); ++i) {
        Compiled& c = behaviours[i];
        const EffectBehaviour& b = c.b;
        const std::int64_t bt = t - b.beginMs;
        if (bt < 0) {
            if (b.kind == BKind::reveal && b.in) pose.hidden = true;
            continue;
        }
        const std::int64_t until = std::max<std::int64_t>(0, effect.durationMs - piece.startMs - b.beginMs);
        const std::int64_t p = EffectProgress::at(bt, b.durationMs, b.timing, until);
        const double f = double(p) / kWhole;
        switch (b.kind) {
            case BKind::reveal: {
                const double shown = b.in ? f : 1 - f;
                switch (c.reveal->kind()) {
                    case RevealMask::Kind::fade: pose.opacity *= shown; break;
                    case RevealMask::Kind::throughBlack:
                    case RevealMask::Kind::throughWhite:
                        pose.through = c.reveal->kind() == RevealMask::Kind::throughBlack ? 1 : 2;
                        pose.throughAt = shown;
                        break;
                    case RevealMask::Kind::slide: {
                        const double away = 1 - shown;
                        switch (c.reveal->from()) {
                            case RevealMask::Side::left: pose.slideX = away * bw; break;
                            case RevealMask::Side::right: pose.slideX = -away * bw; break;
                            case RevealMask::Side::top: pose.slideY = away * bh; break;
                            case RevealMask::Side::bottom: pose.slideY = -away * bh; break;
                        }
                        break;
                    }
                    case RevealMask::Kind::pattern: {
                        auto& keys = piece.keys[i];
                        if (keys.empty()) keys = c.reveal->keys(int(bw), int(bh));
                        pose.patterns.emplace_back(&keys, RevealMask::limit(p, b.in));
                        break;
                    }
                }
                break;
            }
            case BKind::value: {
                // The segment of keys the progress is in, interpolated, then its formula.
                std::size_t k = 0;
                while (k + 1 < b.keys.size() && b.keys[k + 1].time <= p) ++k;
                if (c.property == Compiled::Property::visibility) {
                    if (c.hiddenAt[k]) pose.hidden = true;
                    break;
                }
                double v = c.values[k].evaluate(rest);
                if (!b.discrete && k + 1 < b.keys.size() && p > b.keys[k].time) {
                    const double span = double(b.keys[k + 1].time - b.keys[k].time);
                    const double local = span > 0 ? (p - b.keys[k].time) / span : 1;
                    v += (c.values[k + 1].evaluate(rest) - v) * std::clamp(local, 0.0, 1.0);
                }
                if (c.formulas[k]) {
                    AnimFormula::Variables with = rest;
                    with.value = v;
                    v = c.formulas[k]->evaluate(with);
                }
                switch (c.property) {
                    case Compiled::Property::x: pose.dx += (v - rest.x) * W; break;
                    case Compiled::Property::y: pose.dy += (v - rest.y) * H; break;
                    case Compiled::Property::w: pose.sx *= rest.w > 0 ? v / rest.w : 1; break;
                    case Compiled::Property::h: pose.sy *= rest.h > 0 ? v / rest.h : 1; break;
                    case Compiled::Property::rotation: pose.degrees += v; break;
                    case Compiled::Property::opacity: pose.opacity *= std::clamp(v, 0.0, 1.0); break;
                    case Compiled::Property::shear: pose.shear += v; break;
                    default: break;
                }
                break;
            }
            case BKind::scale:
                pose.sx *= (b.fromX + (b.toX - b.fromX) * f) / kWhole;
                pose.sy *= (b.fromY + (b.toY - b.fromY) * f) / kWhole;
                break;
            case BKind::rotate: pose.degrees += double(b.by) / 60000 * f; break;
            case BKind::motion: {
                const double target = c.along.back() * f;
                const auto it = std::lower_bound(c.along.begin(), c.along.end(), target);
                const std::size_t j = std::size_t(std::max<std::ptrdiff_t>(it - c.along.begin(), 1));
                std::pair<double, double> at = c.path.front();
                if (j < c.path.size()) {
                    const double seg = c.along[j] - c.along[j - 1];
                    const double u = seg > 0 ? (target - c.along[j - 1]) / seg : 1;
                    at = {c.path[j - 1].first + (c.path[j].first - c.path[j - 1].first) * u,
                          c.path[j - 1].second + (c.path[j].second - c.path[j - 1].second) * u};
                }
                pose.dx += at.first * W;
                pose.dy += at.second * H;
                break;
            }
            case BKind::colour:
            case BKind::restyle: pose.tint = f; break;
        }
    }
    // Bounded: a formula's value may be anything up to its bound.
    const auto bound = [](double v, double lo, double hi) { return std::isfinite(v) ? std::clamp(v, lo, hi) : 0.0; };
    pose.dx = bound(pose.dx, -4 * W, 4 * W);
    pose.dy = bound(pose.dy, -4 * H, 4 * H);
    pose.sx = bound(pose.sx, -64, 64);
    pose.sy = bound(pose.sy, -64, 64);
    pose.degrees = bound(std::fmod(pose.degrees, 360.0), -360, 360);
    pose.shear = bound(pose.shear, -8, 8);
    pose.opacity = bound(pose.opacity, 0, 1);
    return pose;
}

void EffectPainter::State::draw(const YuvFrame& layer, const YuvFrame* tint, const Pose& pose, std::size_t pieceIndex,
                                YuvFrame& out) {
    const int alpha = int(std::lround(pose.opacity * 256));
    if (pose.hidden || alpha <= 0) return;
    const Piece& piece = pieces[pieceIndex];
    const Area& box = piece.box;
    if (box.empty() || std::abs(pose.sx) < 1e-3 || std::abs(pose.sy) < 1e-3) return;
    const int bw = box.right - box.left;
    const int cw = (area.right - area.left) / 2;
    const bool whole = owner.empty();
    const auto member = [&](int ix, int iy) {
        if (ix < box.left || ix >= box.right || iy < box.top || iy >= box.bottom) return false;
        if (!mask.empty()) {
            const std::size_t cell = std::size_t((iy - area.top) / 2) * std::size_t(cw) +
                                     std::size_t((ix - area.left) / 2);
            if (!mask[cell] || (!whole && owner[cell] != std::int32_t(pieceIndex))) return false;
        }
        for (const auto& [keys, limit] : pose.patterns) {
            if ((*keys)[std::size_t(iy - box.top) * std::size_t(bw) + std::size_t(ix - box.left)] >= limit)
                return false;
        }
        return true;
    };
    const int tintAlpha = tint ? int(std::lround(pose.tint * 256)) : 0;

    const auto putter = [&](const Plane& src, const Plane& tintPlane, int s) {
        return [&src, &tintPlane, s, alpha, tintAlpha](int ix, int iy, std::uint8_t& o) {
            int v = src.at(ix / s, iy / s);
            if (tintAlpha > 0) v = (v * (256 - tintAlpha) + tintPlane.at(ix / s, iy / s) * tintAlpha + 128) >> 8;
            o = alpha >= 256 ? std::uint8_t(v) : std::uint8_t((o * (256 - alpha) + v * alpha + 128) >> 8);
        };
    };
    const auto even = [](double v) {
        const long r = std::lround(v);
        return int(r - r % 2);
    };
    const int jx = even(pose.slideX), jy = even(pose.slideY);

    if (pose.sx == 1 && pose.sy == 1 && pose.degrees == 0 && pose.shear == 0) {
        // Only moved: whole rows of source per row, copied outright where
        // nothing is masked (a slide's transition), else pixel by pixel.
        const int ox = even(pose.dx), oy = even(pose.dy);
        const Area to{std::clamp(box.left + ox, 0, size.width), std::clamp(box.top + oy, 0, size.height),
                      std::clamp(box.right + ox, 0, size.width), std::clamp(box.bottom + oy, 0, size.height)};
        if (to.empty()) return;
        dirty = unite(dirty, to);
        // Outside the mask the layer's still is the base: in place, it need not be asked.
        const bool anyPixel = mask.empty() || (whole && ox == 0 && oy == 0 && jx == 0 && jy == 0);
        const bool rows = anyPixel && pose.patterns.empty() && jx == 0 && jy == 0;
        for (int k = 0; k < 3; ++k) {
            const int s = k == 0 ? 1 : 2;
            const Plane src = plane(layer, k), dst = plane(out, k);
            const Plane tintPlane = tint ? plane(*tint, k) : src;
            const auto put = putter(src, tintPlane, s);
            for (int y = to.top / s; y < to.bottom / s; ++y) {
                const int iy = y * s - oy;
                if (rows) {
                    const int n = (to.right - to.left) / s;
                    std::uint8_t* d = &dst.at(to.left / s, y);
                    const std::uint8_t* f = &src.at((to.left - ox) / s, iy / s);
                    if (alpha >= 256 && tintAlpha == 0) {
                        std::memcpy(d, f, std::size_t(n));
                        continue;
                    }
                    const std::uint8_t* c = &tintPlane.at((to.left - ox) / s, iy / s);
                    for (int i = 0; i < n; ++i) {
                        const int v = tintAlpha > 0 ? (f[i] * (256 - tintAlpha) + c[i] * tintAlpha + 128) >> 8 : f[i];
                        d[i] = std::uint8_t((d[i] * (256 - alpha) + v * alpha + 128) >> 8);
                    }
                    continue;
                }
                for (int x = to.left / s; x < to.right / s; ++x) {
                    const int ix = x * s - ox;
                    if (member(ix, iy) && ((jx == 0 && jy == 0) || member(ix + jx, iy + jy))) {
                        put(ix + jx, iy + jy, dst.at(x, y));
                    }
                }
            }
        }
        return;
    }

    // Turned, scaled or sheared: where the box lands (its corners mapped forward),
    // then each pixel there mapped back into the layer.
    const double cx = (box.left + box.right) / 2.0, cy = (box.top + box.bottom) / 2.0;
    const double mx = cx + pose.dx, my = cy + pose.dy;
    const double th = pose.degrees * std::numbers::pi / 180, cs = std::cos(th), sn = std::sin(th);
    double x0 = 1e18, y0 = 1e18, x1 = -1e18, y1 = -1e18;
    for (const double ux : {box.left - cx, box.right - cx}) {
        for (const double uy : {box.top - cy, box.bottom - cy}) {
            const double py = uy * pose.sy, px = ux * pose.sx + pose.shear * py;
            const double fx = mx + cs * px - sn * py, fy = my + sn * px + cs * py;
            x0 = std::min(x0, fx), x1 = std::max(x1, fx), y0 = std::min(y0, fy), y1 = std::max(y1, fy);
        }
    }
    const auto clampTo = [](double v, int hi) { return int(std::clamp(v, 0.0, double(hi))); };
    Area to{clampTo(std::floor(x0) - 2, size.width), clampTo(std::floor(y0) - 2, size.height),
            clampTo(std::ceil(x1) + 2, size.width), clampTo(std::ceil(y1) + 2, size.height)};
    to = {to.left - to.left % 2, to.top - to.top % 2, to.right - to.right % 2, to.bottom - to.bottom % 2};
    if (to.empty()) return;
    dirty = unite(dirty, to);
    // Scaled, then sheared, then turned: mapped back, turned back, unsheared, unscaled.
    const double k = pose.shear;
    const double ax = (cs + k * sn) / pose.sx, ay = -sn / pose.sy;  // source step per luma pixel along x
    const double bx = (sn - k * cs) / pose.sx, by = cs / pose.sy;   // along y
    for (int k = 0; k < 3; ++k) {
        const int s = k == 0 ? 1 : 2;
        const Plane src = plane(layer, k), dst = plane(out, k);
        const Plane tintPlane = tint ? plane(*tint, k) : src;
        const auto put = putter(src, tintPlane, s);
        for (int y = to.top / s; y < to.bottom / s; ++y) {
            const double vy = (y + 0.5) * s - my;
            const int first = to.left / s;
            const double vx = (first + 0.5) * s - mx;
            double sxp = cx + ax * vx + bx * vy, syp = cy + ay * vx + by * vy;
            for (int x = first; x < to.right / s; ++x, sxp += ax * s, syp += ay * s) {
                const int ix = int(std::floor(sxp)), iy = int(std::floor(syp));
                if (member(ix, iy) && ((jx == 0 && jy == 0) || member(ix + jx, iy + jy))) {
                    put(ix + jx, iy + jy, dst.at(x, y));
                }
            }
        }
    }
}

EffectPainter::EffectPainter(const DrawnEffect& effect, bool wholeSlide) : state_(std::make_unique<State>()) {
    state_->effect = effect;
    state_->wholeSlide = wholeSlide;
}
EffectPainter::~EffectPainter() = default;
EffectPainter::EffectPainter(EffectPainter&&) noexcept = default;
EffectPainter& EffectPainter::operator=(EffectPainter&&) noexcept = default;

std::size_t EffectPainter::leftOut() const { return state_->leftOut; }

EffectPainter::Area EffectPainter::changedArea(const YuvFrame& a, const YuvFrame& b) {
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

void EffectPainter::paint(const YuvFrame& before, const YuvFrame& after, const YuvFrame* without,
                          std::int64_t elapsedMs, YuvFrame& out, bool outIsEarlierFrame) {
    State& s = *state_;
    if (!s.ready) s.prepare(before, after, without);
    const DrawnEffect& e = s.effect;
    const std::int64_t t = std::clamp<std::int64_t>(elapsedMs, 0, std::max<std::int64_t>(1, e.durationMs));
    // The first frame decides whether there is a still to lift the targets
    // off; a later frame without it keeps the layer over the still before.
    const bool lifted = e.role == Role::emphasis || e.role == Role::path;
    if (lifted && !without) without = &before;
    const bool layerIsAfter = e.role == Role::entrance || (e.role == Role::transition && e.layer != Layer::outgoing);
    const YuvFrame& layer = layerIsAfter ? after : before;
    const YuvFrame& base = e.role == Role::entrance                                   ? before
                           : e.role == Role::exit                                     ? after
                           : lifted                                                   ? *without
                           : e.role == Role::transition && e.layer == Layer::outgoing ? after
                                                                                      : before;
    // Only what the earlier frame drew is put back (a transition's base may
    // change from frame to frame: it is copied whole).
    if (outIsEarlierFrame && !s.transition() && out.planes.size() == base.planes.size() && out.size == base.size) {
        const Area d = s.dirty;
        for (int k = 0; k < 3 && !d.empty(); ++k) {
            const int sc = k == 0 ? 1 : 2;
            const Plane b = plane(base, k), o = plane(out, k);
            for (int y = d.top / sc; y < d.bottom / sc; ++y) {
                std::memcpy(&o.at(d.left / sc, y), &b.at(d.left / sc, y), std::size_t(d.right / sc - d.left / sc));
            }
        }
    } else {
        out.size = base.size;
        out.planes = base.planes;
    }
    s.dirty = {};
    if (s.area.empty() || s.behaviours.empty()) return;
    const YuvFrame* tint = lifted ? &after : nullptr;
    if (!s.around.empty() && tint && !s.pieces.empty()) {
        const int a = int(std::lround(std::clamp(s.pose(0, t).tint, 0.0, 1.0) * 256));
        for (int k = 0; k < 3 && a > 0; ++k) {
            const int sc = k == 0 ? 1 : 2;
            const Plane o = plane(out, k), f = plane(*tint, k);
            for (int y = s.around.top / sc; y < s.around.bottom / sc; ++y) {
                for (int x = s.around.left / sc; x < s.around.right / sc; ++x)
                    o.at(x, y) = std::uint8_t((o.at(x, y) * (256 - a) + f.at(x, y) * a + 128) >> 8);
            }
        }
        s.dirty = s.around;
    }
    for (std::size_t i = 0; i < s.pieces.size(); ++i) {
        Pose pose = s.pose(i, t);
        if (pose.through) {
            // Through a colour: the old picture fades to it, then the new one in from it.
            const std::uint8_t colour[3] = {std::uint8_t(pose.through == 1 ? 16 : 235), 128, 128};
            const int a = int(std::lround(std::min(1.0, pose.throughAt < 0.5 ? 2 * pose.throughAt : 1.0) * 256));
            for (int k = 0; k < 3; ++k) {
                const Plane o = plane(out, k);
                for (int y = 0; y < o.height; ++y) {
                    for (int x = 0; x < o.width; ++x)
                        o.at(x, y) = std::uint8_t((o.at(x, y) * (256 - a) + colour[k] * a + 128) >> 8);
                }
            }
            s.dirty = s.area;
            pose.opacity *= std::max(0.0, 2 * pose.throughAt - 1);
        }
        if (e.role == Role::transition && e.layer == Layer::both && (pose.dx != 0 || pose.dy != 0)) {
            // The old slide goes ahead of the new one, one frame away.
            Pose old = pose;
            old.dx -= pose.dx > 0 ? s.size.width : pose.dx < 0 ? -s.size.width : 0;
            old.dy -= pose.dy > 0 ? s.size.height : pose.dy < 0 ? -s.size.height : 0;
            old.opacity = 1;
            old.patterns.clear();
            s.draw(before, nullptr, old, i, out);
        }
        s.draw(layer, tint, pose, i, out);
    }
}

}  // namespace orvandel
