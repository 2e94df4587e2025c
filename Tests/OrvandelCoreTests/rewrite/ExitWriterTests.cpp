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

}  // namespace

TEST(ExitWriterTest, ClickStartedExitsFollowEachOtherAtFixedSteps) {
    const std::string exit = step(anim("clickEffect", "500", "exit")), entrance = step(anim("clickEffect", "500", "entr"));
    const std::string out = ExitWriter::convertExitToAfterEffect(
        slide(timing(exit + entrance + exit + step(anim("clickEffect", "500", "exit", "9")))));
    EXPECT_EQ(effects(out), (std::vector<std::string>{"afterEffect@500", "clickEffect@0", "afterEffect@2000",
                                                      "afterEffect@3500"}));
    EXPECT_NE(out.find("<p:cond evt=\"onBegin\" delay=\"0\"><p:tn val=\"2\"/></p:cond>"), std::string::npos);

    const std::string noExits = slide(timing(entrance));
    EXPECT_EQ(ExitWriter::convertExitToAfterEffect(noExits), noExits);
    EXPECT_EQ(ExitWriter::retimeExitHeads(noExits, 500), noExits);
    EXPECT_EQ(ExitWriter::convertExitToAfterEffect(slide("")), slide(""));
}

TEST(ExitWriterTest, RetimingTouchesOnlyTheFirstExitOfEachGroup) {
    const std::string source = slide(timing(
        step(anim("afterEffect", "500", "", "1000") + anim("withEffect", "500", "exit") +
             anim("withEffect", "500", "exit", "700")) +
        step(anim("afterEffect", "500", "exit", "1000"))));
    EXPECT_EQ(effects(ExitWriter::retimeExitHeads(source, 500)),
              (std::vector<std::string>{"afterEffect@1000", "withEffect@500", "withEffect@700", "afterEffect@500"}));
}
