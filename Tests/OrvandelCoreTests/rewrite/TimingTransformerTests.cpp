#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "container/SlideXML.hpp"
#include "deck/TimingTree.hpp"
#include "rewrite/MechanicalTransformer.hpp"
#include "rewrite/TimingTransformer.hpp"
#include "rewrite/TransitionWriter.hpp"
#include "rewrite/UnifiedBulletPlanBuilder.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

std::string click(const std::string& dur) { return anim("clickEffect", dur); }

std::string delayOf(const XmlElement& cTn) {
    return cTn.firstChildElement("p:stCondLst").firstChildElement("p:cond").attribute("delay").value_or("-");
}

std::string transformError(const TimingPlan& plan, const std::string& steps, const std::string& seq = "mainSeq") {
    const auto t = SlideXML::parseFragment(timing(steps, seq), "p:timing");
    return thrown<MechanicalTransformer::Error>([&] { MechanicalTransformer::apply(plan, t); }).what();
}

}  // namespace

TEST(UnifiedBulletPlanBuilderTest, ClickGroupsFollowEachOtherAfterTheOpeningChain) {
    const TimingTransformer::Params params{.advanceTimeMs = 9000, .respiroMs = 1000, .espacamentoMs = 1500};
    const auto plan = [&](const std::string& steps) {
        return UnifiedBulletPlanBuilder::buildPlan(SlideXML::parseFragment(timing(steps), "p:timing"), params);
    };
    // Entrances of 500, 0 and 2000 ms; a group that starts by itself sits between the first two.
    const std::string withPrevious = node("9", anim("withEffect", "900"));
    EXPECT_EQ(plan(node("7", node("8", click("500")) + withPrevious) + step(click("0")) + step(click("2000"))),
              (TimingPlan{9000, {{0, 1000}, {}, {1500, 1000}, {3000, 1000}}, {{"1000", "500"}}}));

    // A title of 300 + 1000 ms opens the slide (its one-second fade counted in full), then an afterEffect.
    const std::string title = step(anim("withEffect", "1000", "", "300") + anim("afterEffect", "0"));
    EXPECT_EQ(plan(title + step(click("500")) + step(click("3000"))).groups,
              (std::vector<GroupPlan>{{}, {1300, 1000}, {2800, 1000}}));
}

TEST(TimingTransformerTest, ThreeClickStepsBecomeOneTimedStepThatStartsOnSlideBegin) {
    const std::string head = "<p:sld><p:cSld><p:spTree/></p:cSld><p:clrMapOvr/>";
    const std::string source =
        head + timing(step(click("1000") + anim("withEffect", "400")) + step(click("0")) + step(click("2000"))) +
        "</p:sld>";
    const std::string out = TimingTransformer::transformBulletSlide(source, {9000, 1000, 1500});
    EXPECT_TRUE(out.starts_with(head + TransitionWriter::block(9000) + "<p:timing>")) << out;

    const auto t = SlideXML::parseFragment(SlideXML::extractElement(out, "p:timing"), "p:timing");
    const auto mainSeq = *TimingTree::firstMainSeq(t);
    const auto steps = mainSeq.firstChildElement("p:childTnLst").childElements();
    ASSERT_EQ(steps.size(), 1u);
    std::vector<std::string> groups;
    for (const auto& g : TimingTree::groupContainers(mainSeq)) {
        const auto head = TimingTree::effectChildren(g).front();
        groups.push_back(delayOf(g) + ":" + head.attribute("nodeType").value_or("") + "@" + delayOf(head));
    }
    EXPECT_EQ(groups,
              (std::vector<std::string>{"0:afterEffect@1000", "1500:afterEffect@1000", "3000:afterEffect@1000"}));

    // Ids run from 1 in document order.
    std::vector<std::string> ids, durs;
    for (const auto& n : TimingTree::allCTnInDocumentOrder(t)) {
        ids.push_back(n.attribute("id").value_or(""));
        if (const auto d = n.attribute("dur")) durs.push_back(*d);
    }
    EXPECT_EQ(ids,
              (std::vector<std::string>{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12", "13", "14"}));
    EXPECT_EQ(durs, (std::vector<std::string>{"500", "400", "0", "2000"}));
}

TEST(TimingTransformerTest, StructureErrorsAreTyped) {
    const TimingPlan two{9000, {{0, 1000}, {1500, 1000}}, {}};
    EXPECT_EQ(transformError(two, step(click("5")) + step(click("5")) + step(click("5"))),
              "unexpected timing structure: plan has 2 groups but tree has 3");
    EXPECT_EQ(transformError(two, step(click("5")) + "<p:par><p:cTn id=\"9\"/></p:par>"),
              "unexpected timing structure: wrapper malformed");
    EXPECT_EQ(transformError(two, "<p:par><p:cTn id=\"9\"><p:childTnLst/></p:cTn></p:par>"),
              "unexpected timing structure: missing or malformed first wrapper");
    EXPECT_EQ(transformError({9000, {{0, 1000}}, {}}, step(anim("withEffect", "1"))),
              "unexpected timing structure: group marked for conversion has no clickEffect head");
    EXPECT_EQ(transformError({9000, {{0, 1000}}, {}}, node("7", "<p:par><p:cTn id=\"8\"/></p:par>")),
              "unexpected timing structure: cTn missing stCondLst/cond");
    EXPECT_EQ(transformError(two, step(click("5")), "interactiveSeq"),
              "mainSeq <p:cTn nodeType=\"mainSeq\"> not found");
    EXPECT_THROW(TimingTransformer::transformBulletSlide("<p:sld><p:cSld/></p:sld>", {}), SlideXMLError);
}
