#include <gtest/gtest.h>

#include "TimingFixtures.hpp"
#include "container/SlideXML.hpp"
#include "deck/AdvanceTimeScanner.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

const std::string click = "nodeType=\"clickEffect\"";
const std::string with = "nodeType=\"withEffect\"";
const std::string after = "nodeType=\"afterEffect\"";
const std::string exitClick = click + " presetClass=\"exit\"";

}  // namespace

TEST(AdvanceTimeScannerTest, CountsStepsExitsAndTheOpeningAnimations) {
    const ScanResult r = AdvanceTimeScanner::scan(slide(timing(
        step(effect(with, "500", "1000") + effect(with, "0", "9000", "3")) + step(effect(after, "0", "400")) +
        step(effect(click, "0", "1000") + effect(after, "0", "600")) + step(effect(exitClick, "0", "500")) +
        step(effect(click + " presetClass=\"mediacall\"", "0", "0", "3")) + step(effect(with, "0", "7000")) +
        step(effect(click, "0", "indefinite")))));
    // The video's own 9000 ms and the group after the first click do not count.
    EXPECT_EQ(r.autoDurationMs, 1900);
    EXPECT_EQ(r.bulletDursMs, (std::vector<std::int64_t>{1100, 0}));
    EXPECT_EQ(r.bulletCount, 2);
    EXPECT_EQ(r.exitGroupCount, 1);
    EXPECT_TRUE(r.hasExitEffect);
    EXPECT_EQ(r.orderedGroupKinds,
              (std::vector<ClickGroupKind>{ClickGroupKind::entry, ClickGroupKind::exit, ClickGroupKind::entry}));
}

TEST(AdvanceTimeScannerTest, TimingsOutsideTheMainSequence) {
    EXPECT_EQ(AdvanceTimeScanner::scan(slide("")), ScanResult{});
    EXPECT_EQ(AdvanceTimeScanner::scan(slide(timing(step(effect(exitClick, "0", "1")), "interactiveSeq"))),
              ScanResult{});

    const auto beside = "<p:seq><p:cTn nodeType=\"interactiveSeq\"><p:childTnLst>" + step(effect(exitClick, "0", "1")) +
                        "</p:childTnLst></p:cTn></p:seq>";
    const ScanResult r = AdvanceTimeScanner::scan(slide(timing(step(effect(click, "0", "500")), "mainSeq", beside)));
    EXPECT_EQ(r.exitGroupCount, 0);
    EXPECT_TRUE(r.hasExitEffect);

    std::string broken = slide(timing(step(effect(click, "0", "500"))));
    broken.replace(broken.find("<p:spTree>"), 10, "<p:spTree><q:x/>");
    EXPECT_THROW(AdvanceTimeScanner::scan(broken), SlideXMLError);
}
