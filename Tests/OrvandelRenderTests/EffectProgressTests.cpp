#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "plan/AnimFormula.hpp"
#include "plan/EffectProgress.hpp"

using namespace orvandel;

TEST(EffectProgressTest, PlaysEaseReverseRepeatAndHold) {
    const EffectTiming linear{}, accel{50000, 0}, decel{0, 50000}, both{50000, 50000};
    const EffectTiming reverse{0, 0, true}, twoAndHalf{0, 0, false, 2500}, untilEnd{0, 0, false, 0};
    // A time filter: there by the first fifth, back by the end.
    const EffectTiming filter{0, 0, false, 1000, {{0, 0}, {20000, 100000}, {100000, 0}}};
    // timing, elapsed ms of a 1000 ms play, progress (1/100000, within 1).
    for (const auto& [timing, elapsed, expected] : std::vector<std::tuple<EffectTiming, std::int64_t, std::int64_t>>{
             {linear, -5, 0},
             {linear, 250, 25000},
             {linear, 4000, 100000},
             // speeding up over the first half: a quarter in has gone 1/12 of the way, three quarters 2/3
             {accel, 250, 8333},
             {accel, 500, 33333},
             {accel, 750, 66666},
             {decel, 250, 33333},
             {decel, 750, 91666},
             {both, 250, 12500},
             {both, 500, 50000},
             {both, 750, 87500},
             {both, 1000, 100000},
             {reverse, 500, 50000},
             {reverse, 1500, 50000},
             {reverse, 2000, 0},
             {reverse, 9000, 0},
             {twoAndHalf, 1250, 25000},
             {twoAndHalf, 2000, 100000},
             {twoAndHalf, 2500, 50000},
             {twoAndHalf, 9000, 50000},
             {untilEnd, 2500, 50000},
             {untilEnd, 3500, 100000},
             {filter, 100, 50000},
             {filter, 200, 100000},
             {filter, 600, 50000},
             {filter, 9000, 0}}) {
        EXPECT_NEAR(EffectProgress::at(elapsed, 1000, timing, 3000), expected, 1)
            << timing.accel << "/" << timing.decel << " at " << elapsed;
    }
    EXPECT_EQ(EffectProgress::activeMs(1000, reverse, 0), 2000);
    EXPECT_EQ(EffectProgress::activeMs(1000, twoAndHalf, 0), 2500);
    EXPECT_EQ(EffectProgress::activeMs(1000, untilEnd, 3000), 3000);
    // Shares adding up to more than the play meet; a nonsense deck stays within bounds.
    EXPECT_EQ(EffectProgress::at(500, 1000, {80000, 80000}, 0), 50000);
    const auto big = std::numeric_limits<std::int64_t>::max();
    const auto p = EffectProgress::at(big / 2, big, {big, big, true, big}, big);
    EXPECT_TRUE(p >= 0 && p <= EffectProgress::kWhole);
}

TEST(AnimFormulaTest, ReadsTheFormulasDecksStore) {
    const AnimFormula::Variables v{0.5, 0.3, 0.5, 0.4, 0.2};  // $, ppt_x, ppt_y, ppt_w, ppt_h
    for (const auto& [text, expected] : std::vector<std::pair<const char*, double>>{
             {"#ppt_x", 0.3},
             {"ppt_x", 0.3},
             {"1+#ppt_h/2", 1.1},
             {"0-#ppt_w/2", -0.2},
             {"#ppt_y-sin(pi*$)/9", 0.5 - 1.0 / 9},
             {"#ppt_w*sin(2.5*pi*$)", 0.4 * std::sin(1.25 * 3.141592653589793)},
             {"#ppt_y+.1", 0.6},
             {"3.61111E-6", 3.61111e-6},
             {"2^3^2", 512},
             {"-2^2", -4},
             {"2*-3", -6},
             {"(1+2)*3-4/2", 7},
             {"max(1, min(2,3))", 2},
             {"abs(-3)+sqrt(16)+floor(2.7)+ceil(2.1)", 12},
             {"deg(pi)+rad(180)-pi", 180},
             {"ln(e)+exp(0)+cos(0)+tan(0)+atan(0)+asin(0)+acos(1)+sinh(0)+cosh(0)+tanh(0)", 4},
             // never NaN nor infinite
             {"1/0", 0},
             {"sqrt(-1)", 0},
             {"ln(0)", 0},
             {"acos(2)", 0},
             {"exp(1000)", 1e6},
             {"(-8)^0.5", 0}}) {
        EXPECT_NEAR(AnimFormula::compile(text).evaluate(v), expected, 1e-9) << text;
    }
    const auto r = AnimFormula::compile("rand(1)");
    EXPECT_EQ(r.evaluate(v), r.evaluate(v));
    EXPECT_TRUE(r.evaluate(v) >= 0 && r.evaluate(v) < 1);
    EXPECT_TRUE(AnimFormula::compile("2*pi").constant());
    EXPECT_FALSE(AnimFormula::compile("2*$").constant());

    for (const std::string& bad :
         std::vector<std::string>{"", "1+", "(1", "foo(1)", "#ppt_z", "max(1)", "1 2", "$$", "visible", "sin 1",
                                  std::string(2000, '1'), std::string(100, '(') + "1" + std::string(100, ')')}) {
        EXPECT_THROW(AnimFormula::compile(bad), AnimFormula::Error) << bad.substr(0, 20);
    }
}
