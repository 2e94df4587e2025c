#include <gtest/gtest.h>

#include "CueCalculator.hpp"
#include "CueInputAssembler.hpp"
#include "DeckError.hpp"

using namespace orvandel;

namespace {

using Kinds = std::vector<ClickGroupKind>;
constexpr auto entry = ClickGroupKind::entry;
constexpr auto exit_ = ClickGroupKind::exit;

CueInput slide(std::int64_t n, std::int64_t advanceTimeMs = 1500) {
    CueInput input;
    input.slideIndex = n;
    input.advanceTimeMs = advanceTimeMs;
    return input;
}

CueInput steps(std::int64_t n, std::int64_t count, std::vector<std::int64_t> dursMs) {
    CueInput input = slide(n, 10000);
    input.bulletCount = count;
    input.bulletDursMs = std::move(dursMs);
    return input;
}

Cue slideCue(std::int64_t index, std::int64_t n, std::int64_t timeMs) {
    return {index, n, CueKind::slide, "Slide " + std::to_string(n), timeMs};
}

Cue bulletCue(std::int64_t index, std::int64_t n, std::int64_t timeMs, const std::string& suffix = " - bullet") {
    return {index, n, CueKind::bullet, "Slide " + std::to_string(n) + suffix, timeMs};
}

}  // namespace

TEST(CueCalculatorTest, SlidesFollowEachOtherAndHiddenOnesTakeNoTime) {
    EXPECT_EQ(CueCalculator::calculateCues({slide(1), slide(2), slide(3)}),
              (std::vector<Cue>{slideCue(0, 1, 1000), slideCue(1, 2, 2500), slideCue(2, 3, 4000)}));

    CueInput hidden = slide(2, 9000);
    hidden.isHidden = true;
    EXPECT_EQ(CueCalculator::calculateCues({slide(1), hidden, slide(3)}),
              (std::vector<Cue>{slideCue(0, 1, 1000), slideCue(1, 3, 2500)}));
}

TEST(CueCalculatorTest, StepsCountTheirAnimationAndAutoAnimationsShiftThem) {
    EXPECT_EQ(CueCalculator::calculateCues({steps(1, 2, {500, 500})}),
              (std::vector<Cue>{bulletCue(0, 1, 500), bulletCue(1, 1, 2500), slideCue(2, 1, 4000)}));

    // 2000 ms counts 3000; a missing duration counts as 500, that is 1500.
    CueInput shifted = steps(2, 2, {2000});
    shifted.autoDurationMs = 800;
    EXPECT_EQ(CueCalculator::calculateCues({slide(1), shifted}),
              (std::vector<Cue>{slideCue(0, 1, 1000), bulletCue(1, 2, 1500 + 800 + 500),
                                bulletCue(2, 2, 1500 + 800 + 4000), slideCue(3, 2, 1500 + 800 + 5500)}));
}

TEST(CueCalculatorTest, MediaEndsTheSlideWithItsOwnCue) {
    CueInput video = slide(1);
    video.videoDurationMs = 10000;
    EXPECT_EQ(CueCalculator::calculateCues({video}), (std::vector<Cue>{bulletCue(0, 1, 11000, " - fim do video")}));

    // No lead-in, the last step stays a bullet, and the video is timed from the slide's start.
    CueInput stepAndVideo = steps(1, 1, {500});
    stepAndVideo.videoDurationMs = 10000;
    EXPECT_EQ(CueCalculator::calculateCues({stepAndVideo}),
              (std::vector<Cue>{bulletCue(0, 1, 2500), bulletCue(1, 1, 11000, " - fim do video")}));

    CueInput gif = steps(1, 1, {500});
    gif.gifDurationMs = 3000;
    gif.videoDurationMs = 2000;
    EXPECT_EQ(CueCalculator::calculateCues({gif}),
              (std::vector<Cue>{bulletCue(0, 1, 2500), bulletCue(1, 1, 3000, " - fim do video"),
                                bulletCue(2, 1, 4000, " - fim do GIF")}));
}

TEST(CueCalculatorTest, ExitGroupsKeepTheirOwnSlots) {
    CueInput exitThenEntry = steps(1, 1, {500});
    exitThenEntry.exitGroupCount = 1;
    exitThenEntry.orderedGroupKinds = Kinds{exit_, entry};
    EXPECT_EQ(CueCalculator::calculateCues({exitThenEntry}),
              (std::vector<Cue>{bulletCue(0, 1, 500), slideCue(1, 1, 4000)}));

    // Times within a slide need not increase.
    CueInput entryThenExit = exitThenEntry;
    entryThenExit.orderedGroupKinds = Kinds{entry, exit_};
    EXPECT_EQ(CueCalculator::calculateCues({entryThenExit}),
              (std::vector<Cue>{bulletCue(0, 1, 500), bulletCue(1, 1, 2500), bulletCue(2, 1, 2000)}));

    CueInput exitsOnly = slide(1);
    exitsOnly.exitGroupCount = 2;
    EXPECT_EQ(CueCalculator::calculateCues({exitsOnly}),
              (std::vector<Cue>{bulletCue(0, 1, 500), bulletCue(1, 1, 2000), slideCue(2, 1, 4000)}));
}

TEST(CueCalculatorDeathTest, NoVisibleSlideIsAFault) {
    CueInput hidden = slide(1);
    hidden.isHidden = true;
    EXPECT_DEATH(CueCalculator::calculateCues({hidden}), "no visible slide");
}

TEST(CueInputAssemblerTest, VisibleSlidesNeedAnAdvanceTimeAndUserDurationsWin) {
    SlideReport visible{.displayIndex = 1, .autoDurationMs = 0, .advTmMs = 1500, .videoDurationMs = 4000};
    SlideReport hidden{.displayIndex = 2, .isHidden = true};
    const auto inputs = CueInputAssembler::cueInputs({visible, hidden}, {{1, 7000}}, {{2, 3000}});
    ASSERT_EQ(inputs.size(), 2u);
    EXPECT_EQ(inputs[0].videoDurationMs, 7000);
    EXPECT_EQ(inputs[0].autoDurationMs, std::nullopt);
    EXPECT_EQ(inputs[0].gifDurationMs, std::nullopt);
    EXPECT_EQ(inputs[1].advanceTimeMs, 0);
    EXPECT_EQ(inputs[1].gifDurationMs, 3000);

    SlideReport unknownVideo{.displayIndex = 3};
    try {
        CueInputAssembler::cueInputs({visible, unknownVideo}, {}, {});
        FAIL() << "expected missingVideoDuration";
    } catch (const DeckError& e) {
        EXPECT_EQ(e.errorCase(), DeckError::Case::missingVideoDuration);
        EXPECT_EQ(e.slide(), 3);
    }
}
