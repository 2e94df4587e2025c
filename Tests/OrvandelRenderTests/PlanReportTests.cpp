#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "plan/PlanReport.hpp"

using namespace orvandel;

// The effects of a slide as the reader will hand them over: the table lines
// them up and says what departs from a slideshow; the JSON keeps it for the
// census (an effect that changes no state has a null state).
TEST(PlanReportTest, ListsEveryPlannedEffect) {
    DrawnEffect fly;
    fly.presetClass = "entr";
    fly.presetId = 2;
    fly.presetSubtype = 8;
    fly.strategy = "fly from left";
    fly.durationMs = 500;
    fly.behaviours = {EffectBehaviour{.kind = EffectBehaviour::Kind::value,
                                      .durationMs = 500,
                                      .timing = {.decel = 50000},
                                      .property = "ppt_x",
                                      .keys = {{0, "0-#ppt_w/2", ""}, {100000, "#ppt_x", ""}}}};
    fly.iterate = {EffectIteration::Unit::word, 3, 10000, std::nullopt, false};
    DrawnEffect pulse = fly;
    pulse.role = DrawnEffect::Role::emphasis;
    pulse.presetClass = "emph";
    pulse.presetId = 26;
    pulse.strategy = "fade";
    pulse.fallback = true;
    pulse.iterate = {};
    pulse.sound = EffectSound{"rId3", "bell.wav", false, false};

    PlanReport::DeckPlan plan;
    RenderSlide slide{1, "ppt/slides/slide1.xml", false, 3000, {}, {}};
    slide.playout.states = {{0, {{"4", 0}}, {}}, {1000, {}, {}}};
    slide.playout.planned = {{1000, {{"4", 0}}, fly, 1, true}, {2000, {{"5", std::nullopt}}, pulse, std::nullopt}};
    plan.plan.slides = {slide};

    EXPECT_EQ(
        PlanReport::text(plan),
        "slide 1, 3 s\n"
        "  transition: none\n"
        "  states: 0 ms (1 hidden), 1000 ms\n"
        "  effects:\n"
        "    ms    targets  preset     drawn as       differs   dur  easing     iteration             sound       "
        "state\n"
        "    1000  4/p0     entr 2/8   fly from left  -         500  decel 50%  by word x3 every 10%  -           1\n"
        "    2000  5        emph 26/8  fade           fallback  500  decel 50%  -                     \"bell.wav\"  "
        "-\n"
        "movie: 3 s\n");

    const auto effects = nlohmann::json::parse(PlanReport::json(plan))["slides"][0]["effects"];
    ASSERT_EQ(effects.size(), 2u);
    EXPECT_EQ(effects[0]["iteration"]["unit"], "word");
    EXPECT_EQ(effects[0]["easing"]["decel"], 50000);
    EXPECT_EQ(effects[0]["state"], 1);
    EXPECT_EQ(effects[1]["role"], "emphasis");
    EXPECT_EQ(effects[1]["fallback"], true);
    EXPECT_TRUE(effects[1]["state"].is_null());
    EXPECT_EQ(effects[1]["sound"]["name"], "bell.wav");
}
