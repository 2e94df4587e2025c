#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "deck/DeckError.hpp"
#include "package/CueCalculator.hpp"
#include "package/CueInputAssembler.hpp"

using namespace orvandel;
using Strings = std::vector<std::string>;

namespace {

constexpr auto entry = ClickGroupKind::entry;
constexpr auto exit_ = ClickGroupKind::exit;

// A slide of 1500 ms, or of 10 s with click steps of the given entrance durations.
CueInput slide(std::int64_t n) { return {.slideIndex = n, .advanceTimeMs = 1500}; }
CueInput steps(std::int64_t n, std::int64_t count, std::vector<std::int64_t> dursMs) {
    return {.slideIndex = n, .advanceTimeMs = 10000, .bulletCount = count, .bulletDursMs = std::move(dursMs)};
}

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

TEST(CueCalculatorTest, SlidesFollowEachOtherAndHiddenOnesTakeNoTime) {
    EXPECT_EQ(cues({slide(1), slide(2), slide(3)}), (Strings{"Slide 1@1000", "Slide 2@2500", "Slide 3@4000"}));
    CueInput hidden = slide(2);
    hidden.isHidden = true;
    hidden.advanceTimeMs = 9000;
    EXPECT_EQ(cues({slide(1), hidden, slide(3)}), (Strings{"Slide 1@1000", "Slide 3@2500"}));
}

TEST(CueCalculatorTest, StepsCountTheirAnimationAndAutoAnimationsShiftThem) {
    EXPECT_EQ(cues({steps(1, 2, {500, 500})}),
              (Strings{"Slide 1 - bullet@500", "Slide 1 - bullet@2500", "Slide 1@4000"}));
    // From the slide's start at 1500, after 800 ms of automatic animation: 2000 ms counts 3000;
    // a missing duration counts as 500, that is 1500.
    CueInput shifted = steps(2, 2, {2000});
    shifted.autoDurationMs = 800;
    EXPECT_EQ(cues({slide(1), shifted}),
              (Strings{"Slide 1@1000", "Slide 2 - bullet@2800", "Slide 2 - bullet@6300", "Slide 2@7800"}));
}

TEST(CueCalculatorTest, MediaEndsTheSlideWithItsOwnCue) {
    CueInput video = slide(1);
    video.videoDurationMs = 10000;
    EXPECT_EQ(cues({video}), Strings{"Slide 1 - fim do video@11000"});
    // No lead-in, the last step stays a bullet, and the video is timed from the slide's start.
    video = steps(1, 1, {500});
    video.videoDurationMs = 10000;
    EXPECT_EQ(cues({video}), (Strings{"Slide 1 - bullet@2500", "Slide 1 - fim do video@11000"}));
    video.gifDurationMs = 3000;
    video.videoDurationMs = 2000;
    EXPECT_EQ(cues({video}),
              (Strings{"Slide 1 - bullet@2500", "Slide 1 - fim do video@3000", "Slide 1 - fim do GIF@4000"}));
}

TEST(CueCalculatorTest, ExitGroupsKeepTheirOwnSlots) {
    CueInput groups = steps(1, 1, {500});
    groups.exitGroupCount = 1;
    groups.orderedGroupKinds = {exit_, entry};
    EXPECT_EQ(cues({groups}), (Strings{"Slide 1 - bullet@500", "Slide 1@4000"}));
    // Times within a slide need not increase.
    groups.orderedGroupKinds = {entry, exit_};
    EXPECT_EQ(cues({groups}), (Strings{"Slide 1 - bullet@500", "Slide 1 - bullet@2500", "Slide 1 - bullet@2000"}));
    CueInput exitsOnly = slide(1);
    exitsOnly.exitGroupCount = 2;
    EXPECT_EQ(cues({exitsOnly}), (Strings{"Slide 1 - bullet@500", "Slide 1 - bullet@2000", "Slide 1@4000"}));
}

TEST(CueCalculatorDeathTest, NoVisibleSlideIsAFault) {
    EXPECT_DEATH(CueCalculator::calculateCues({{.slideIndex = 1, .isHidden = true}}), "no visible slide");
}

TEST(CueInputAssemblerTest, VisibleSlidesNeedAnAdvanceTimeAndUserDurationsWin) {
    const SlideReport visible{.displayIndex = 1, .autoDurationMs = 0, .advTmMs = 1500, .videoDurationMs = 4000};
    const auto inputs = CueInputAssembler::cueInputs({visible, {.displayIndex = 2, .isHidden = true}}, {{1, 7000}},
                                                     {{2, 3000}});
    ASSERT_EQ(inputs.size(), 2u);
    EXPECT_EQ(inputs[0].videoDurationMs, 7000);
    EXPECT_EQ(inputs[0].autoDurationMs, std::nullopt);
    EXPECT_EQ(inputs[0].gifDurationMs, std::nullopt);
    EXPECT_EQ(inputs[1].advanceTimeMs, 0);
    EXPECT_EQ(inputs[1].gifDurationMs, 3000);

    const auto e =
        test::thrown<DeckError>([&] { CueInputAssembler::cueInputs({visible, {.displayIndex = 3}}, {}, {}); });
    EXPECT_EQ(e.errorCase(), DeckError::Case::missingVideoDuration);
    EXPECT_EQ(e.slide(), 3);
}
