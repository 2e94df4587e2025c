#include <gtest/gtest.h>

#include <tuple>

#include "AnimatedSlides.hpp"
#include "pixels/DrawnChanges.hpp"
#include "pixels/EffectPainter.hpp"
#include "plan/PlayoutTimeline.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Role = DrawnEffect::Role;

namespace {

constexpr int W = 64, H = 36;

// A dark frame; with `band`, rows 10..19 of columns 8..55 are white.
YuvFrame frame(bool band) {
    YuvFrame f{{W, H}, Bytes(std::size_t(W) * H * 3 / 2, 128)};
    std::fill(f.planes.begin(), f.planes.begin() + W * H, 16);
    for (int y = 10; y < 20 && band; ++y) std::fill(f.planes.begin() + y * W + 8, f.planes.begin() + y * W + 56, 235);
    return f;
}
int luma(const YuvFrame& f, int x, int y) { return f.planes[std::size_t(y) * W + std::size_t(x)]; }

// A fade of a shape in or out, or of a whole slide.
DrawnEffect fade(Role role, std::int64_t ms) {
    DrawnEffect e;
    e.role = role;
    e.durationMs = ms;
    e.behaviours = {
        {.kind = EffectBehaviour::Kind::reveal, .durationMs = ms, .filter = "fade", .in = role != Role::exit}};
    return e;
}

// An effect of `cls` ("entr" or "exit") on shape 3 with the given behaviours.
std::string effect(const std::string& cls, const std::string& behaviours) {
    return "<p:par><p:cTn presetClass=\"" + cls +
           "\" nodeType=\"clickEffect\"><p:stCondLst><p:cond delay=\"0\"/>"
           "</p:stCondLst><p:childTnLst><p:set><p:cBhvr><p:cTn dur=\"1\"/><p:tgtEl>" +
           shape("3") +
           "</p:tgtEl><p:attrNameLst><p:attrName>style.visibility</p:attrName></p:attrNameLst></p:cBhvr><p:to>"
           "<p:strVal val=\"visible\"/></p:to></p:set>" +
           behaviours + "</p:childTnLst></p:cTn></p:par>";
}
std::string moving(const std::string& attr, const std::string& from, const std::string& to) {
    return "<p:anim calcmode=\"lin\" valueType=\"num\"><p:cBhvr><p:cTn dur=\"500\"/><p:tgtEl>" + shape("3") +
           "</p:tgtEl><p:attrNameLst><p:attrName>" + attr +
           "</p:attrName></p:attrNameLst></p:cBhvr><p:tavLst>"
           "<p:tav tm=\"0\"><p:val><p:strVal val=\"" +
           from +
           "\"/></p:val></p:tav><p:tav tm=\"100000\"><p:val>"
           "<p:strVal val=\"" +
           to + "\"/></p:val></p:tav></p:tavLst></p:anim>";
}

}  // namespace

TEST(DrawnEffectsTest, EntrancesAndExitsAreDrawnAsTheirBehavioursSay) {
    const auto wipe = [](const std::string& filter) {
        return "<p:animEffect transition=\"in\" filter=\"" + filter + "\"><p:cBhvr><p:cTn dur=\"700\"/><p:tgtEl>" +
               shape("3") + "</p:tgtEl></p:cBhvr></p:animEffect>";
    };
    // The effect's class, its behaviours: what is drawn.
    for (const auto& [cls, behaviours, strategy, ms] :
         std::vector<std::tuple<std::string, std::string, std::string, std::int64_t>>{
             {"entr", wipe("fade"), "fade", 700},
             {"entr", wipe("wipe(down)"), "wipe(down)", 700},
             {"entr", wipe("checkerboard(across)"), "checkerboard(across)", 700},
             {"entr", moving("ppt_x", "#ppt_x", "#ppt_x") + moving("ppt_y", "1+#ppt_h/2", "#ppt_y"),
              "fly in from bottom", 500},
             {"entr", moving("ppt_x", "0-#ppt_w/2", "#ppt_x"), "fly in from left", 500},
             {"exit", moving("ppt_x", "ppt_x", "1+ppt_w/2"), "fly out to right", 500},
             {"entr", moving("ppt_w", "0", "#ppt_w") + wipe("fade"), "zoom + fade", 700},
             {"entr", moving("ppt_y", "#ppt_y+.1", "#ppt_y"), "rise", 500},
             {"entr", "", "", 0}}) {  // appear
        // The effect plays by itself one second into the slide.
        const auto prepared = PlayoutTimeline::evaluate(slideXml(
            textBox("3", 0, para("x")),
            timing("<p:par><p:cTn><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:par><p:cTn>"
                   "<p:stCondLst><p:cond delay=\"1000\"/></p:stCondLst><p:childTnLst>" +
                   effect(cls, behaviours) + "</p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:par>")));
        ASSERT_EQ(prepared.states.size(), 2u) << behaviours;
        ASSERT_EQ(prepared.effects.size(), 2u);
        const auto& drawn = prepared.effects[1];
        EXPECT_EQ(std::tie(drawn.strategy, drawn.durationMs), std::tie(strategy, ms)) << behaviours;
        EXPECT_EQ(drawn.role, cls == "exit" ? Role::exit : Role::entrance) << behaviours;
    }
}

TEST(DrawnEffectsTest, PainterBlendsOnlyWhatChangesAndEndsOnTheStills) {
    const YuvFrame before = frame(false), after = frame(true);
    const auto area = EffectPainter::changedArea(before, after);
    EXPECT_EQ(area, (EffectPainter::Area{8, 10, 56, 20}));
    YuvFrame out;
    // A fade is the linear blend of the stills in the band, and nothing outside it changes.
    for (int percent : {20, 50, 80}) {
        EffectPainter(fade(Role::entrance, 500), false).paint(before, after, nullptr, 5 * percent, out);
        EXPECT_NEAR(luma(out, 30, 15), 16 + 219 * percent / 100, 2) << percent;
        EXPECT_EQ(luma(out, 30, 25), 16);
        EffectPainter(fade(Role::exit, 500), false).paint(after, before, nullptr, 5 * percent, out);
        EXPECT_NEAR(luma(out, 30, 15), 16 + 219 * (100 - percent) / 100, 2) << "exit " << percent;
    }
    EffectPainter(fade(Role::entrance, 400), false).paint(before, after, nullptr, 0, out);
    EXPECT_EQ(out.planes, before.planes);
    EffectPainter(fade(Role::transition, 400), true).paint(before, after, nullptr, 400, out);
    EXPECT_EQ(out.planes, after.planes);
}

TEST(DrawnEffectsTest, ChangesAreDrawnWithinTheirShotsWithoutOverlapping) {
    const DrawnEffect in = fade(Role::entrance, 500), out = fade(Role::exit, 800);
    const DrawnEffect slow = fade(Role::transition, 3000);
    // An emphasis read from the deck says by its role that it is drawn before its change, over its page without.
    DrawnEffect spin;
    spin.role = DrawnEffect::Role::emphasis;
    spin.durationMs = 600;
    spin.behaviours = {{EffectBehaviour::Kind::rotate}};
    // Letters that would take 3 s where their step has 1 s are played three times as fast.
    DrawnEffect letters = fade(Role::entrance, 3000);
    letters.iterate = {EffectIteration::Unit::letter, 30, 10000};
    const std::vector<Storyboard::Shot> shots{{1, 1000, {}, true},   {2, 2000, in}, {3, 500, out},
                                              {4, 2000, slow, true}, {5, 2000, in}, {6, 1000, spin, false, 7},
                                              {8, 1000, letters},    {9, 1000}};
    EXPECT_EQ(DrawnChanges::plan(shots),
              (std::vector<DrawnChange>{{{1000, 1500}, 0, 1, in, false, 1000},
                                        // the exit starts 800 ms before its change
                                        {{2200, 3000}, 1, 2, out, false, 2200},
                                        // a slide's transition runs over its next step
                                        {{3500, 6500}, 2, 3, slow, true, 3500},
                                        {{6900, 7500}, 4, 5, spin, false, 6900, 7},
                                        {{8500, 9500}, 5, 6, letters, false, 8500, 0, 1000}}));
    EXPECT_EQ(DrawnChanges::plan(shots).back().elapsedAt(9000), 1500);
}
