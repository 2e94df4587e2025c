#include <gtest/gtest.h>

#include "MechanicalTransformer.hpp"
#include "SlideXML.hpp"
#include "TimingFixtures.hpp"
#include "TimingTransformer.hpp"
#include "TimingTree.hpp"
#include "TransitionWriter.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

const TimingTransformer::Params params{.advanceTimeMs = 9000, .respiroMs = 1000, .espacamentoMs = 1500};

std::string click(const std::string& dur) { return effect("nodeType=\"clickEffect\"", "0", dur); }

std::string delayOf(const XmlElement& cTn) {
    return cTn.firstChildElement("p:stCondLst").firstChildElement("p:cond").attribute("delay").value_or("-");
}

std::string mismatch(const TimingPlan& plan, const std::string& steps) {
    try {
        MechanicalTransformer::apply(plan, SlideXML::parseFragment(timing(steps), "p:timing"));
    } catch (const MechanicalTransformer::Error& e) {
        return e.what();
    }
    return "no error";
}

}  // namespace

TEST(TimingTransformerTest, ThreeClickStepsBecomeOneTimedStepThatStartsOnSlideBegin) {
    const std::string head = "<p:sld><p:cSld><p:spTree/></p:cSld><p:clrMapOvr/>";
    const std::string source =
        head + timing(step(click("1000") + effect("nodeType=\"withEffect\"", "0", "400")) + step(click("0")) +
                      step(click("2000"))) +
        "</p:sld>";
    const std::string out = TimingTransformer::transformBulletSlide(source, params);

    // Only the timing changed, and the transition went in before it.
    ASSERT_EQ(out.rfind(head + TransitionWriter::block(9000) + "<p:timing>", 0), 0u) << out;
    ASSERT_TRUE(out.ends_with("</p:timing></p:sld>"));

    const auto t = SlideXML::parseFragment(SlideXML::extractElement(out, "p:timing"), "p:timing");
    const auto mainSeq = *TimingTree::firstMainSeq(t);
    ASSERT_EQ(mainSeq.firstChildElement("p:childTnLst").childElements().size(), 1u);
    const auto groups = TimingTree::groupContainers(mainSeq);
    ASSERT_EQ(groups.size(), 3u);
    std::vector<std::string> starts, heads;
    for (const auto& g : groups) {
        starts.push_back(delayOf(g));
        const auto e = TimingTree::effectChildren(g).front();
        heads.push_back(e.attribute("nodeType").value_or("") + "@" + delayOf(e));
    }
    EXPECT_EQ(starts, (std::vector<std::string>{"0", "1500", "3000"}));
    EXPECT_EQ(heads, (std::vector<std::string>(3, "afterEffect@1000")));

    // Ids run from 1 in document order; the on-begin condition names the renumbered main sequence.
    std::vector<std::string> ids, durs;
    for (const auto& n : TimingTree::allCTnInDocumentOrder(t)) {
        ids.push_back(n.attribute("id").value_or(""));
        if (const auto d = n.attribute("dur")) durs.push_back(*d);
    }
    for (std::size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(ids[i], std::to_string(i + 1));
    EXPECT_EQ(durs, (std::vector<std::string>{"500", "400", "0", "2000"}));
    const auto step = mainSeq.firstChildElement("p:childTnLst").firstChildElement("p:par").firstChildElement("p:cTn");
    const auto conds = step.firstChildElement("p:stCondLst").childElements("p:cond");
    ASSERT_EQ(conds.size(), 2u);
    EXPECT_EQ(conds[1].attribute("evt"), "onBegin");
    EXPECT_EQ(conds[1].firstChildElement("p:tn").attribute("val"), mainSeq.attribute("id"));

    EXPECT_EQ(TimingTransformer::transformSlide4(source, params), out);
    EXPECT_EQ(TimingTransformer::transformSlide11Timing(SlideXML::extractElement(source, "p:timing"), params),
              SlideXML::extractElement(out, "p:timing"));
}

TEST(TimingTransformerTest, StructureMismatchesAreTyped) {
    const TimingPlan two{9000, {{0, 1000}, {1500, 1000}}, {}};
    EXPECT_EQ(mismatch(two, step(click("500")) + step(click("500")) + step(click("500"))),
              "unexpected timing structure: plan has 2 groups but tree has 3");
    EXPECT_EQ(mismatch(two, step(click("500")) + "<p:par><p:cTn id=\"9\"/></p:par>"),
              "unexpected timing structure: wrapper malformed");
    EXPECT_EQ(mismatch(two, "<p:par><p:cTn id=\"9\"><p:childTnLst/></p:cTn></p:par>"),
              "unexpected timing structure: missing or malformed first wrapper");
    EXPECT_EQ(mismatch({9000, {{0, 1000}}, {}}, step(effect("nodeType=\"withEffect\"", "0", "1"))),
              "unexpected timing structure: group marked for conversion has no clickEffect head");
    EXPECT_EQ(mismatch({9000, {{0, 1000}}, {}}, node("7", "<p:par><p:cTn id=\"8\"/></p:par>")),
              "unexpected timing structure: cTn missing stCondLst/cond");

    try {
        TimingTransformer::transformBulletSlide("<p:sld><p:cSld/></p:sld>", params);
        FAIL() << "no error";
    } catch (const SlideXMLError& e) {
        EXPECT_STREQ(e.what(), "fragment not found: p:timing");
    }
}
