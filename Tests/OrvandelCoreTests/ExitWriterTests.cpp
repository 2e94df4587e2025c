#include <gtest/gtest.h>

#include "ExitWriter.hpp"
#include "Numbers.hpp"
#include "SlideXML.hpp"
#include "TimingFixtures.hpp"
#include "TimingTree.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

// nodeType@delay of every effect, group by group.
std::vector<std::string> effects(const std::string& slideXml) {
    const auto t = SlideXML::parseFragment(SlideXML::extractElement(slideXml, "p:timing"), "p:timing");
    std::vector<std::string> out;
    for (const auto& g : TimingTree::groupContainers(*TimingTree::firstMainSeq(t))) {
        for (const auto& e : TimingTree::effectChildren(g)) {
            out.push_back(e.attribute("nodeType").value_or("") + "@" +
                          formatInt(TimingTree::effectStartDelayMs(e)));
        }
    }
    return out;
}

std::string exitClick(const std::string& delay) {
    return effect("presetClass=\"exit\" nodeType=\"clickEffect\"", delay, "500");
}

}  // namespace

TEST(ExitWriterTest, ClickStartedExitsFollowEachOtherAtFixedSteps) {
    const std::string source =
        slide(timing(step(exitClick("0")) + step(effect("presetClass=\"entr\" nodeType=\"clickEffect\"", "0", "500")) +
                     step(exitClick("0")) + step(exitClick("250"))));
    const std::string out = ExitWriter::convertExitToAfterEffect(source);
    EXPECT_EQ(effects(out), (std::vector<std::string>{"afterEffect@500", "clickEffect@0", "afterEffect@2000",
                                                      "afterEffect@3500"}));
    EXPECT_NE(out.find("<p:cond evt=\"onBegin\" delay=\"0\"><p:tn val=\"2\"/></p:cond>"), std::string::npos);

    const std::string noExits = slide(timing(step(effect("nodeType=\"clickEffect\"", "0", "500"))));
    EXPECT_EQ(ExitWriter::convertExitToAfterEffect(noExits), noExits);
    EXPECT_EQ(ExitWriter::retimeExitHeads(noExits, 500), noExits);
    EXPECT_EQ(ExitWriter::convertExitToAfterEffect(slide("")), slide(""));
}

TEST(ExitWriterTest, RetimingTouchesOnlyTheFirstExitOfEachGroup) {
    const std::string source = slide(timing(
        step(effect("nodeType=\"afterEffect\"", "1000", "500") +
             effect("presetClass=\"exit\" nodeType=\"withEffect\"", "0", "500") +
             effect("presetClass=\"exit\" nodeType=\"withEffect\"", "700", "500")) +
        step(effect("presetClass=\"exit\" nodeType=\"afterEffect\"", "1000", "500"))));
    EXPECT_EQ(effects(ExitWriter::retimeExitHeads(source, 500)),
              (std::vector<std::string>{"afterEffect@1000", "withEffect@500", "withEffect@700", "afterEffect@500"}));
}
