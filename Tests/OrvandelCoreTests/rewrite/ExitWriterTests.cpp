#include <gtest/gtest.h>

#include "TimingFixtures.hpp"
#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"
#include "deck/TimingTree.hpp"
#include "rewrite/ExitWriter.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

// nodeType@delay of every effect of the main sequence.
std::vector<std::string> effects(const std::string& slideXml) {
    const auto t = SlideXML::parseFragment(SlideXML::extractElement(slideXml, "p:timing"), "p:timing");
    std::vector<std::string> out;
    for (const auto& g : TimingTree::groupContainers(*TimingTree::firstMainSeq(t))) {
        for (const auto& e : TimingTree::effectChildren(g)) {
            out.push_back(e.attribute("nodeType").value_or("") + "@" + formatInt(TimingTree::effectStartDelayMs(e)));
        }
    }
    return out;
}

std::string exit(const std::string& nodeType, const std::string& delay) {
    return effect("presetClass=\"exit\" nodeType=\"" + nodeType + "\"", delay, "500");
}

}  // namespace

TEST(ExitWriterTest, ClickStartedExitsFollowEachOtherAtFixedSteps) {
    const std::string entrance = effect("presetClass=\"entr\" nodeType=\"clickEffect\"", "0", "500");
    const std::string out = ExitWriter::convertExitToAfterEffect(slide(timing(
        step(exit("clickEffect", "0")) + step(entrance) + step(exit("clickEffect", "0")) + step(exit("clickEffect", "9")))));
    EXPECT_EQ(effects(out), (std::vector<std::string>{"afterEffect@500", "clickEffect@0", "afterEffect@2000",
                                                      "afterEffect@3500"}));
    EXPECT_NE(out.find("<p:cond evt=\"onBegin\" delay=\"0\"><p:tn val=\"2\"/></p:cond>"), std::string::npos);

    const std::string noExits = slide(timing(step(entrance)));
    EXPECT_EQ(ExitWriter::convertExitToAfterEffect(noExits), noExits);
    EXPECT_EQ(ExitWriter::retimeExitHeads(noExits, 500), noExits);
    EXPECT_EQ(ExitWriter::convertExitToAfterEffect(slide("")), slide(""));
}

TEST(ExitWriterTest, RetimingTouchesOnlyTheFirstExitOfEachGroup) {
    const std::string source = slide(timing(
        step(effect("nodeType=\"afterEffect\"", "1000", "500") + exit("withEffect", "0") + exit("withEffect", "700")) +
        step(exit("afterEffect", "1000"))));
    EXPECT_EQ(effects(ExitWriter::retimeExitHeads(source, 500)),
              (std::vector<std::string>{"afterEffect@1000", "withEffect@500", "withEffect@700", "afterEffect@500"}));
}
