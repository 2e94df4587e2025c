#include <gtest/gtest.h>

#include "TimingFixtures.hpp"
#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"
#include "deck/TimingTree.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

std::string emit(const XmlElement& e) { return XMLEmitter::emit(e, XMLEmitter::Options::identity); }

}  // namespace

TEST(TimingTreeTest, GroupsAcrossStepsAndTheirDurations) {
    const auto t = SlideXML::parseFragment(
        timing(node("7", node("8", effect("nodeType=\"clickEffect\"", "+500", "1000") +
                                       effect("nodeType=\"afterEffect\"", "0", "500")) +
                             node("9", effect("nodeType=\"withEffect\"", "250", "indefinite"))) +
               step(effect("nodeType=\"clickEffect\" presetClass=\"mediacall\"", "x", "2000") +
                    effect("nodeType=\"withEffect\"", "-100", "3000"))),
        "p:timing");
    const auto groups = TimingTree::groupContainers(*TimingTree::firstMainSeq(t));
    ASSERT_EQ(groups.size(), 3u);
    EXPECT_EQ(TimingTree::effectStartDelayMs(*TimingTree::clickHead(groups[0])), 500);
    EXPECT_FALSE(TimingTree::clickHead(groups[1]));
    EXPECT_EQ(TimingTree::effectDurationMs(TimingTree::effectChildren(groups[0])[0]), 1000);
    // 500 delay + 1000 counted as 500, then an afterEffect of 500.
    EXPECT_EQ(TimingTree::entranceDurationMs(groups[0]), 1500);
    // An unparsable dur counts as absent; only the delay remains.
    EXPECT_EQ(TimingTree::entranceDurationMs(groups[1]), 250);
    // An unparsable delay is 0, a negative one applies.
    EXPECT_EQ(TimingTree::entranceDurationMs(groups[2]), 2900);
    EXPECT_EQ(TimingTree::mainSeqMediaCall(t), TimingTree::clickHead(groups[2]));
}

TEST(TimingTreeTest, OnBeginIsAddedOnceAndOnlyWithAMainSequence) {
    const auto interactive = SlideXML::parseFragment(timing(step(""), "interactiveSeq"), "p:timing");
    const std::string before = emit(interactive);
    EXPECT_FALSE(TimingTree::firstMainSeq(interactive));
    EXPECT_FALSE(TimingTree::mainSeqMediaCall(interactive));
    EXPECT_FALSE(TimingTree::ensureMainSeqOnBegin(interactive));
    EXPECT_EQ(emit(interactive), before);

    const auto t = SlideXML::parseFragment(timing(step("")), "p:timing");
    EXPECT_TRUE(TimingTree::ensureMainSeqOnBegin(t));
    EXPECT_TRUE(TimingTree::ensureMainSeqOnBegin(t));
    EXPECT_EQ(emit(TimingTree::allCTnInDocumentOrder(t)[2].firstChildElement("p:stCondLst")),
              "<p:stCondLst><p:cond delay=\"indefinite\"/>"
              "<p:cond evt=\"onBegin\" delay=\"0\"><p:tn val=\"2\"/></p:cond></p:stCondLst>");
}

TEST(TimingTreeTest, RenumberFollowsDocumentOrderAndMovesReferences) {
    const auto t = SlideXML::parseFragment(
        "<p:timing><p:cTn id=\"10\" x=\"a\"><p:cTn id=\"30\"/><p:cTn/><p:cTn id=\"30\"/></p:cTn>"
        "<p:cond><p:tn val=\"30\"/><p:tn val=\"10\"/><p:tn val=\"77\"/></p:cond></p:timing>",
        "p:timing");
    EXPECT_EQ(TimingTree::renumber(t), (std::map<std::string, std::string>{{"10", "1"}, {"30", "2"}}));
    EXPECT_EQ(emit(t), "<p:timing><p:cTn x=\"a\" id=\"1\"><p:cTn id=\"2\"/><p:cTn id=\"3\"/><p:cTn id=\"4\"/></p:cTn>"
                       "<p:cond><p:tn val=\"2\"/><p:tn val=\"1\"/><p:tn val=\"77\"/></p:cond></p:timing>");
}
