#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

#include "pixels/EffectPainter.hpp"
#include "pixels/RevealMask.hpp"

using namespace orvandel;
using Role = DrawnEffect::Role;
using BKind = EffectBehaviour::Kind;

namespace {

constexpr int W = 160, H = 90;
struct Rect {
    int left, top, right, bottom, luma;
};

YuvFrame frame(const std::vector<Rect>& rects = {}) {
    YuvFrame f{{W, H}, Bytes(std::size_t(W) * H * 3 / 2, 128)};
    std::fill(f.planes.begin(), f.planes.begin() + W * H, 16);
    for (const auto& r : rects) {
        for (int y = r.top; y < r.bottom; ++y) {
            std::fill(f.planes.begin() + y * W + r.left, f.planes.begin() + y * W + r.right, std::uint8_t(r.luma));
        }
    }
    return f;
}
int luma(const YuvFrame& f, int x, int y) { return f.planes[std::size_t(y) * W + std::size_t(x)]; }

// The bright pixels of a frame: how many lie in `r`, and their bounding box and centre.
struct Bright {
    int count = 0, left = W, top = H, right = 0, bottom = 0;
    double cx = 0, cy = 0;
};
Bright bright(const YuvFrame& f, Rect r = {0, 0, W, H, 0}) {
    Bright b;
    for (int y = r.top; y < r.bottom; ++y) {
        for (int x = r.left; x < r.right; ++x) {
            if (luma(f, x, y) < 128) continue;
            ++b.count, b.cx += x, b.cy += y;
            b.left = std::min(b.left, x), b.right = std::max(b.right, x + 1);
            b.top = std::min(b.top, y), b.bottom = std::max(b.bottom, y + 1);
        }
    }
    if (b.count) b.cx /= b.count, b.cy /= b.count;
    return b;
}

DrawnEffect effect(Role role, std::vector<EffectBehaviour> behaviours, std::int64_t ms = 1000) {
    DrawnEffect e;
    e.role = role;
    e.durationMs = ms;
    e.behaviours = std::move(behaviours);
    return e;
}
EffectBehaviour reveal(const std::string& filter, bool in = true) {
    EffectBehaviour b;
    b.filter = filter;
    b.in = in;
    b.durationMs = 1000;
    return b;
}
EffectBehaviour value(const std::string& property, const std::string& from, const std::string& to) {
    EffectBehaviour b;
    b.kind = BKind::value;
    b.property = property;
    b.keys = {{0, from, ""}, {100000, to, ""}};
    b.durationMs = 1000;
    return b;
}
EffectBehaviour motion(const std::string& path) {
    EffectBehaviour b;
    b.kind = BKind::motion;
    b.path = path;
    b.durationMs = 1000;
    return b;
}

YuvFrame painted(const DrawnEffect& e, const YuvFrame& before, const YuvFrame& after, std::int64_t ms,
                 const YuvFrame* without = nullptr, bool whole = false) {
    YuvFrame out;
    EffectPainter(e, whole).paint(before, after, without, ms, out);
    return out;
}

}  // namespace

TEST(EffectPainterTest, RevealsUncoverTheShareTheirPatternSays) {
    // A 60x60 square, so that sweeps cover their angle's share.
    const Rect square{50, 16, 110, 76, 235};
    const YuvFrame dark = frame(), shown = frame({square});
    // filter, covered share at 25, 50 and 75 % (within 0.03; random orders and slats, a row of each off, 0.06).
    for (const auto& [filter, q1, q2, q3] :
         std::vector<std::tuple<std::string, double, double, double>>{{"wipe(left)", .25, .5, .75},
                                                                      {"wipe(up)", .25, .5, .75},
                                                                      {"box(out)", .0625, .25, .5625},
                                                                      {"box(in)", .4375, .75, .9375},
                                                                      {"circle(out)", .098, .393, .8},
                                                                      {"diamond(out)", .125, .5, .875},
                                                                      {"plus(out)", .4375, .75, .9375},
                                                                      {"wedge", .25, .5, .75},
                                                                      {"wheel(4)", .207, .5, .793},
                                                                      {"wheel(1)", .25, .5, .75},
                                                                      {"barn(outVertical)", .25, .5, .75},
                                                                      {"barn(inHorizontal)", .25, .5, .75},
                                                                      {"blinds(horizontal)", .25, .5, .75},
                                                                      {"checkerboard(across)", .25, .5, .75},
                                                                      {"strips(downLeft)", .125, .5, .875},
                                                                      {"randombar(vertical)", .25, .5, .75},
                                                                      {"dissolve", .25, .5, .75},
                                                                      {"comb(horizontal)", .25, .5, .75}}) {
        const auto e = effect(Role::entrance, {reveal(filter)});
        const double tolerance = filter == "dissolve" || filter.starts_with("random") || filter.starts_with("blinds")
                                     ? 0.06
                                     : 0.03;
        const double expected[] = {q1, q2, q3};
        for (int quarter = 1; quarter <= 3; ++quarter) {
            if (filter == "circle(out)" && quarter == 3) continue;  // clipped by the corners
            const double share = bright(painted(e, dark, shown, 250 * quarter), square).count / 3600.0;
            EXPECT_NEAR(share, expected[quarter - 1], tolerance) << filter << " at " << 25 * quarter << "%";
        }
    }
    // Run out, a pattern hides: an exit wipe a quarter through leaves three quarters.
    EXPECT_NEAR(bright(painted(effect(Role::exit, {reveal("wipe(left)", false)}), shown, dark, 250)).count / 3600.0,
                .75, .03);
    // A fade is the layer's opacity; a slide brings the layer's far edge in first.
    EXPECT_NEAR(luma(painted(effect(Role::entrance, {reveal("fade")}), dark, shown, 300), 80, 46), 16 + 219 * .3, 2);
    const auto halfSlid = painted(effect(Role::entrance, {reveal("slide(fromLeft)")}), dark,
                                  frame({{50, 16, 80, 76, 235}, {80, 16, 110, 76, 128}}), 500);
    EXPECT_EQ(luma(halfSlid, 60, 45), 128);  // the right half, slid into the left half
    EXPECT_EQ(luma(halfSlid, 100, 45), 16);
    EXPECT_FALSE(RevealMask::parse("wheel(0)"));
    EXPECT_FALSE(RevealMask::parse("box(sideways)"));
}

TEST(EffectPainterTest, MoversScalersAndColoursFollowTheirBehaviours) {
    const Rect bar{40, 30, 120, 60, 235};  // 80x30, centre (80, 45)
    const YuvFrame dark = frame(), shown = frame({bar});
    // Flown in from the left edge: half way, the centre is half way from just off the frame to its place
    // (measured by the bar's right edge, 40 px right of its centre, as the frame clips the rest).
    const auto fly = effect(Role::entrance, {value("ppt_x", "0-#ppt_w/2", "#ppt_x")});
    EXPECT_NEAR(bright(painted(fly, dark, shown, 500)).right, (-40 + 80) / 2.0 + 40, 1);
    EXPECT_EQ(painted(fly, dark, shown, 1000).planes, shown.planes);
    // Easing moves the quarter frames as SMIL says: 1/12 of the way with accel, 1/3 with decel.
    auto eased = fly;
    eased.behaviours[0].timing.accel = 50000;
    EXPECT_NEAR(bright(painted(eased, dark, shown, 250)).right, -40 + 120 / 12.0 + 40, 1);
    eased.behaviours[0].timing = {0, 50000};
    EXPECT_NEAR(bright(painted(eased, dark, shown, 250)).right, -40 + 120 / 3.0 + 40, 1);
    // A motion path (emphasis over the still without the target) ends where the path ends.
    for (const auto& [path, dx, dy] : std::vector<std::tuple<std::string, double, double>>{
             {"M 0 0 L 0.25 0 E", 40, 0}, {"M 0 0 C 0 0.1 0 0.1 0 0.2 E", 0, 18}, {"M 0 0 L 0.1 0 L 0 0 Z", 0, 0}}) {
        const auto end = bright(painted(effect(Role::path, {motion(path)}), shown, shown, 1000, &dark));
        EXPECT_NEAR(end.cx, 80 + dx, 1) << path;
        EXPECT_NEAR(end.cy, 45 + dy, 1) << path;
    }
    EXPECT_NEAR(bright(painted(effect(Role::path, {motion("M 0 0 L 0.25 0 E")}), shown, shown, 500, &dark)).cx, 100, 1);
    // Exits end hidden.
    EXPECT_EQ(painted(effect(Role::exit, {value("ppt_y", "#ppt_y", "1+#ppt_h/2")}), shown, dark, 1000).planes,
              dark.planes);

    // Grown from nothing: half way, half its width and height.
    EffectBehaviour grow;
    grow.kind = BKind::scale;
    grow.fromX = grow.fromY = 0;
    grow.durationMs = 1000;
    for (const auto& e : {effect(Role::entrance, {grow}),
                          effect(Role::entrance, {value("ppt_w", "0", "#ppt_w"), value("ppt_h", "0", "#ppt_h")})}) {
        const auto half = bright(painted(e, dark, shown, 500));
        EXPECT_NEAR(half.right - half.left, 40, 2);
        EXPECT_NEAR(half.bottom - half.top, 15, 2);
        EXPECT_NEAR(half.cx, 80, 1);
    }
    // A quarter turn stands the bar upright.
    EffectBehaviour spin;
    spin.kind = BKind::rotate;
    spin.by = 90 * 60000;
    spin.durationMs = 1000;
    const auto turned = bright(painted(effect(Role::emphasis, {spin}), shown, shown, 1000, &dark));
    EXPECT_NEAR(turned.right - turned.left, 30, 2);
    EXPECT_NEAR(turned.bottom - turned.top, 80, 2);
    // A colour change crossfades to the still after; without a still to lift from, it fades.
    EffectBehaviour colour;
    colour.kind = BKind::colour;
    colour.durationMs = 1000;
    const YuvFrame grey = frame({{40, 30, 120, 60, 125}});
    EXPECT_NEAR(luma(painted(effect(Role::emphasis, {colour}), shown, grey, 500, &dark), 80, 45), (235 + 125) / 2, 2);
    EXPECT_NEAR(luma(painted(effect(Role::emphasis, {colour}), dark, shown, 500), 80, 45), (16 + 235) / 2, 2);
    // A behaviour that cannot be read is left out.
    EffectPainter odd(effect(Role::entrance, {value("ppt_x", "#ppt_x+", "#ppt_x"), reveal("fade")}), false);
    YuvFrame out;
    odd.paint(dark, shown, nullptr, 500, out);
    EXPECT_EQ(odd.leftOut(), 1u);
}

TEST(EffectPainterTest, StylesBlinksShearsAndCutsThroughBlack) {
    const Rect bar{40, 30, 120, 60, 235};
    const YuvFrame dark = frame(), shown = frame({bar});
    // A bolder text reaches further: the crossfade covers the still after's pixels too.
    EffectBehaviour bold = value("style.fontWeight", "bold", "bold");
    bold.kind = BKind::restyle;
    const YuvFrame wider = frame({{36, 30, 124, 60, 235}});
    EXPECT_NEAR(luma(painted(effect(Role::emphasis, {bold}), shown, wider, 500, &dark), 38, 45), (16 + 235) / 2, 2);
    EXPECT_EQ(painted(effect(Role::emphasis, {bold}), shown, wider, 1000, &dark).planes, wider.planes);
    // Turning while the shape's fill changes: the text turns, the fill around it crossfades in place.
    EffectBehaviour colour = bold, quarter;
    colour.kind = BKind::colour;
    quarter.kind = BKind::rotate;
    quarter.by = 90 * 60000;
    quarter.durationMs = 1000;
    const YuvFrame filled = frame({{0, 70, W, 90, 125}, bar});
    const auto turning = painted(effect(Role::emphasis, {colour, quarter}), shown, filled, 500, &dark);
    EXPECT_NEAR(luma(turning, 10, 80), (16 + 125) / 2, 2);
    EXPECT_NEAR(luma(turning, 42, 32), 16, 2);  // the bar's corner has turned away
    // Blink: hidden over the first half, then shown, never in between.
    auto blink = value("style.visibility", "hidden", "visible");
    blink.keys[1].time = 50000;
    blink.discrete = true;
    for (const auto& [ms, expected] : std::vector<std::pair<std::int64_t, int>>{{100, 16}, {450, 16}, {600, 235}})
        EXPECT_EQ(luma(painted(effect(Role::emphasis, {blink}), shown, shown, ms, &dark), 80, 45), expected) << ms;
    // A shear of -1 leans the top row right and the bottom row left by half the height each.
    const auto leaned = painted(effect(Role::emphasis, {value("xshear", "0", "-1")}), shown, shown, 1000, &dark);
    EXPECT_NEAR(bright(leaned, {0, 30, W, 31, 0}).left, 40 + 15, 2);
    EXPECT_NEAR(bright(leaned, {0, 59, W, 60, 0}).left, 40 - 15, 2);
    // A cut through black: black throughout its frames, whatever the progress.
    auto black = reveal("fade(throughBlack)");
    black.timing.filter = {{0, 50000}, {100000, 50000}};
    for (const std::int64_t ms : {0, 500, 990})
        EXPECT_EQ(bright(painted(effect(Role::transition, {black}), shown, shown, ms, nullptr, true)).count, 0) << ms;
}

TEST(EffectPainterTest, TextPlaysWordByWordAndTransitionsMoveTheWholeSlide) {
    // Three words of one line, 10 px high, 12 px apart; each fades in over 300 ms, 300 ms after the one before.
    const YuvFrame dark = frame(),
                   words = frame({{20, 40, 50, 50, 235}, {62, 40, 90, 50, 235}, {102, 40, 140, 50, 235}});
    auto e = effect(Role::entrance, {reveal("fade")}, 900);
    e.behaviours[0].durationMs = 300;
    e.iterate = {EffectIteration::Unit::word, 3, 0, 300};
    // units counted, backwards, then the luma of each word at 450 ms.
    for (const auto& [units, backwards, a, b, c] : std::vector<std::tuple<int, bool, int, int, int>>{
             {3, false, 235, 126, 16}, {3, true, 16, 126, 235}, {5, false, 235, 126, 16}}) {
        e.iterate.units = units;
        e.iterate.backwards = backwards;
        e.iterate.stepMs = units == 3 ? std::optional<std::int64_t>(300) : std::nullopt;
        const auto out = painted(e, dark, words, 450);
        EXPECT_NEAR(luma(out, 30, 45), a, 2) << units << backwards;
        EXPECT_NEAR(luma(out, 75, 45), b, 2) << units << backwards;
        EXPECT_NEAR(luma(out, 120, 45), c, 2) << units << backwards;
    }
    // Letter by letter, a word's gaps split it too.
    e.iterate = {EffectIteration::Unit::letter, 3, 0, 300};
    EXPECT_NEAR(luma(painted(e, dark, words, 150), 75, 45), 16, 2);

    // Through black: a quarter in the old slide is half dark, three quarters in the new one half shown.
    const YuvFrame oldSlide = frame({{0, 0, W, H, 235}}), newSlide = frame({{0, 0, W, H, 125}});
    const auto through = effect(Role::transition, {reveal("fade(throughBlack)")});
    EXPECT_NEAR(luma(painted(through, oldSlide, newSlide, 250, nullptr, true), 10, 10), (235 + 16) / 2, 2);
    EXPECT_NEAR(luma(painted(through, oldSlide, newSlide, 750, nullptr, true), 10, 10), (125 + 16) / 2, 2);
    // A push from the bottom: the old slide leaves upwards as the new one comes.
    auto push = effect(Role::transition, {value("ppt_y", "1+#ppt_h/2", "#ppt_y")});
    push.layer = DrawnEffect::Layer::both;
    const auto pushed = painted(push, oldSlide, newSlide, 500, nullptr, true);
    EXPECT_EQ(luma(pushed, 80, 20), 235);
    EXPECT_EQ(luma(pushed, 80, 70), 125);
    // Uncovered: the old slide goes, the new one stays still beneath.
    auto uncover = effect(Role::transition, {value("ppt_x", "#ppt_x", "0-#ppt_w/2")});
    uncover.layer = DrawnEffect::Layer::outgoing;
    const auto uncovered = painted(uncover, oldSlide, newSlide, 500, nullptr, true);
    EXPECT_EQ(luma(uncovered, 20, 45), 235);
    EXPECT_EQ(luma(uncovered, 120, 45), 125);
}
