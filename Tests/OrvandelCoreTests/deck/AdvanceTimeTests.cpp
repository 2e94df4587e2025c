#include <gtest/gtest.h>

#include "TimingFixtures.hpp"
#include "container/SlideXML.hpp"
#include "deck/AdvanceTimeCalculator.hpp"
#include "deck/AdvanceTimeScanner.hpp"

using namespace orvandel;
using namespace orvandel::test;

TEST(AdvanceTimeCalculatorTest, AddsEachBlockWithItsPauses) {
    using Ms = std::optional<std::int64_t>;
    // Steps, whether an automatic animation was found and its length, video, GIF, exit groups: advance time.
    for (const auto& [what, steps, autoFound, autoMs, videoMs, gifMs, exits, expected] :
         std::vector<std::tuple<const char*, std::vector<std::int64_t>, bool, std::int64_t, Ms, Ms, int, int>>{
             {"nothing", {}, false, 0, {}, {}, 0, 1500},
             {"auto animation", {}, true, 800, {}, {}, 0, 2300},
             {"auto not found", {}, false, 700, {}, {}, 0, 1500},
             {"two steps", {500, 2000}, false, 0, {}, {}, 0, 6000},
             {"two exit groups", {}, false, 0, {}, {}, 2, 4500},
             {"a step and an exit group", {500}, false, 0, {}, {}, 1, 4500},
             {"video", {}, false, 0, 10000, {}, 0, 11500},
             {"GIF", {}, false, 0, {}, 3000, 0, 4500},
             {"video and GIF", {}, false, 0, 10000, 3000, 0, 16000},
             {"instant step after 1 ms", {0}, true, 1, {}, {}, 0, 4501}}) {
        SCOPED_TRACE(what);
        EXPECT_EQ(AdvanceTimeCalculator::advanceTimeMs(steps, autoFound, autoMs, videoMs.has_value(),
                                                       videoMs.value_or(0), gifMs.has_value(), gifMs.value_or(0),
                                                       exits),
                  expected);
    }
    // A short step still takes the least step; a longer one its animation and the pause.
    EXPECT_EQ(AdvanceTimeCalculator::bulletStepMs(400), 1500);
    EXPECT_EQ(AdvanceTimeCalculator::bulletStepMs(900), 1900);
    // Knowing only the number of steps.
    EXPECT_EQ(AdvanceTimeCalculator::advanceTimeMs(3, false, 0, false, 0, false, 0), 6000);
    EXPECT_EQ(AdvanceTimeCalculator::advanceTimeMs(0, false, 0, false, 0, false, 0), 1500);
    EXPECT_EQ(AdvanceTimeCalculator::advanceTimeMs(1, true, 800, true, 10000, false, 0), 16800);
}

TEST(AdvanceTimeScannerTest, CountsStepsExitsAndTheOpeningAnimations) {
    const std::string opening = step(anim("withEffect", "1000", "", "500") +
                                     effect("nodeType=\"withEffect\"", "0", "9000", "3")) +
                                step(anim("afterEffect", "400"));
    // Alone, the opening chain counts without the video's own 9000 ms, which
    // the advance time adds on its own.
    EXPECT_EQ(AdvanceTimeScanner::scan(slide(timing(opening))), ScanResult{.autoDurationMs = 1900});
    // Before click steps the whole chain counts, video included: the steps
    // start when it has played. The group after the first click never counts.
    const ScanResult r = AdvanceTimeScanner::scan(
        slide(timing(opening + step(anim("clickEffect", "1000") + anim("afterEffect", "600")) +
                     step(anim("clickEffect", "500", "exit")) + step(mediaCall("clickEffect", "0")) +
                     step(anim("withEffect", "7000")) + step(anim("clickEffect", "indefinite")))));
    using enum ClickGroupKind;
    EXPECT_EQ(r, (ScanResult{.bulletCount = 2,
                             .autoDurationMs = 9900,
                             .bulletDursMs = {1100, 0},
                             .hasExitEffect = true,
                             .exitGroupCount = 1,
                             .orderedGroupKinds = {entry, exit, entry},
                             .opensWithMedia = true}));
}

TEST(AdvanceTimeScannerTest, TimingsOutsideTheMainSequence) {
    const std::string exitStep = step(anim("clickEffect", "1", "exit"));
    EXPECT_EQ(AdvanceTimeScanner::scan(slide("")), ScanResult{});
    EXPECT_EQ(AdvanceTimeScanner::scan(slide(timing(exitStep, "interactiveSeq"))), ScanResult{});

    const auto beside = "<p:seq><p:cTn nodeType=\"interactiveSeq\"><p:childTnLst>" + exitStep +
                        "</p:childTnLst></p:cTn></p:seq>";
    EXPECT_EQ(AdvanceTimeScanner::scan(slide(timing(step(anim("clickEffect", "500")), "mainSeq", beside))),
              (ScanResult{.bulletCount = 1,
                          .bulletDursMs = {500},
                          .hasExitEffect = true,
                          .orderedGroupKinds = {ClickGroupKind::entry}}));

    std::string broken = slide(timing(step(anim("clickEffect", "500"))));
    broken.replace(broken.find("<p:spTree>"), 10, "<p:spTree><q:x/>");
    EXPECT_THROW(AdvanceTimeScanner::scan(broken), SlideXMLError);
}
