#include <gtest/gtest.h>

#include <algorithm>

#include "TestSupport.hpp"
#include "deck/DeckError.hpp"
#include "package/CueCalculator.hpp"
#include "package/CueInputAssembler.hpp"

using namespace orvandel;
using Strings = std::vector<std::string>;

namespace {

// "label@ms" per cue. Indexes must run from 0, and only "Slide N" labels are slide cues.
Strings cues(const std::vector<CueInput>& inputs) {
    Strings out;
    for (const auto& c : CueCalculator::calculateCues(inputs)) {
        EXPECT_EQ(c.cueIndex, std::int64_t(out.size()));
        EXPECT_EQ(c.kind == CueKind::slide, c.label == "Slide " + std::to_string(c.slideIndex)) << c.label;
        EXPECT_TRUE(c.label.starts_with("Slide " + std::to_string(c.slideIndex))) << c.label;
        out.push_back(c.label + "@" + std::to_string(c.timeMs));
    }
    return out;
}

}  // namespace

TEST(CueCalculatorTest, EachKindOfSlideGetsItsCues) {
    using enum ClickGroupKind;
    const auto plain = [](std::int64_t n) { return CueInput{.slideIndex = n, .advanceTimeMs = 1500}; };
    // Slide 1 of 10 s with one click step of 500 ms, and what else the row gives it.
    const auto step = [](std::optional<std::int64_t> videoMs, std::optional<std::int64_t> gifMs,
                         std::vector<ClickGroupKind> kinds = {}) {
        return CueInput{.slideIndex = 1,
                        .advanceTimeMs = 10000,
                        .bulletCount = 1,
                        .bulletDursMs = {500},
                        .videoDurationMs = videoMs,
                        .gifDurationMs = gifMs,
                        .exitGroupCount = std::int64_t(std::count(kinds.begin(), kinds.end(), exit)),
                        .orderedGroupKinds = kinds};
    };
    for (const auto& [what, slides, expected] : std::vector<std::tuple<const char*, std::vector<CueInput>, Strings>>{
             {"plain slides", {plain(1), plain(2), plain(3)}, {"Slide 1@1000", "Slide 2@2500", "Slide 3@4000"}},
             {"a hidden slide takes no time",
              {plain(1), {.slideIndex = 2, .isHidden = true, .advanceTimeMs = 9000}, plain(3)},
              {"Slide 1@1000", "Slide 3@2500"}},
             {"two steps",
              {{.slideIndex = 1, .advanceTimeMs = 10000, .bulletCount = 2, .bulletDursMs = {500, 500}}},
              {"Slide 1 - bullet@500", "Slide 1 - bullet@2500", "Slide 1@4000"}},
             // From the slide's start at 1500, after 800 ms of automatic animation: 2000 ms counts 3000,
             // a missing duration 1500.
             {"automatic animation first",
              {plain(1),
               {.slideIndex = 2,
               .advanceTimeMs = 10000,
               .bulletCount = 2,
               .bulletDursMs = {2000},
               .autoDurationMs = 800}},
              {"Slide 1@1000", "Slide 2 - bullet@2800", "Slide 2 - bullet@6300", "Slide 2@7800"}},
             {"a video alone",
              {{.slideIndex = 1, .advanceTimeMs = 1500, .videoDurationMs = 10000}},
              {"Slide 1 - fim do video@11000"}},
             // No lead-in, the last step stays a bullet, and the video is timed from the slide's start.
             {"a step and a video", {step(10000, {})}, {"Slide 1 - bullet@2500", "Slide 1 - fim do video@11000"}},
             {"a step, a video and a GIF",
              {step(2000, 3000)},
              {"Slide 1 - bullet@2500", "Slide 1 - fim do video@3000", "Slide 1 - fim do GIF@4000"}},
             {"an exit group, then a step", {step({}, {}, {exit, entry})}, {"Slide 1 - bullet@500", "Slide 1@4000"}},
             // Times within a slide need not increase.
             {"a step, then an exit group",
              {step({}, {}, {entry, exit})},
              {"Slide 1 - bullet@500", "Slide 1 - bullet@2500", "Slide 1 - bullet@2000"}},
             {"exit groups only",
              {{.slideIndex = 1, .advanceTimeMs = 1500, .exitGroupCount = 2}},
              {"Slide 1 - bullet@500", "Slide 1 - bullet@2000", "Slide 1@4000"}},
             // Steps after a 9 s opening video start at 9 s: the video's cue first, then each step's
             // cue after it appears and before the next starts, as on a slide without media.
             {"steps after an opening video",
              {{.slideIndex = 1,
              .advanceTimeMs = 16500,
              .bulletCount = 2,
              .bulletDursMs = {500, 500},
              .videoDurationMs = 9000,
              .autoDurationMs = 9000,
              .opensWithMedia = true}},
              {"Slide 1 - fim do video@9000", "Slide 1 - bullet@9500", "Slide 1 - bullet@11500", "Slide 1@13000"}}}) {
        SCOPED_TRACE(what);
        EXPECT_EQ(cues(slides), expected);
    }
}

TEST(CueCalculatorDeathTest, NoVisibleSlideIsAFault) {
    EXPECT_DEATH(CueCalculator::calculateCues({{.slideIndex = 1, .isHidden = true}}), "no visible slide");
}

TEST(CueInputAssemblerTest, VisibleSlidesNeedAnAdvanceTimeAndUserDurationsWin) {
    const SlideReport visible{.displayIndex = 1, .autoDurationMs = 0, .advTmMs = 1500, .videoDurationMs = 4000};
    const auto inputs = CueInputAssembler::cueInputs({visible, {.displayIndex = 2, .isHidden = true}}, {{1, 7000}},
                                                     {{2, 3000}});
    // No automatic animation where the report says 0 ms of it.
    EXPECT_EQ(inputs, (std::vector<CueInput>{{.slideIndex = 1, .advanceTimeMs = 1500, .videoDurationMs = 7000},
                                             {.slideIndex = 2, .isHidden = true, .gifDurationMs = 3000}}));

    const auto e = test::thrown<DeckError>([&] {
        CueInputAssembler::cueInputs({visible, {.displayIndex = 3}}, {}, {});
    });
    EXPECT_EQ(e.errorCase(), DeckError::Case::missingVideoDuration);
    EXPECT_EQ(e.slide(), 3);
}
