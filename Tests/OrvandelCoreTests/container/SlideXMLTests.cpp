#include <gtest/gtest.h>

#include <functional>

#include "TestSupport.hpp"
#include "container/SlideXML.hpp"

using namespace orvandel;

namespace {

std::string cut(std::string_view xml, std::optional<SlideXML::Range> r) {
    return r ? std::string(xml.substr(r->first, r->second - r->first)) : "<absent>";
}

// "P|" for a parse failure, "F|" for a missing fragment, then the description.
std::string errorOf(const std::function<void()>& f) {
    const auto e = test::thrown<SlideXMLError>(f);
    return std::string(e.errorCase() == SlideXMLError::Case::parseFailed ? "P|" : "F|") + e.what();
}

}  // namespace

TEST(SlideXMLTest, ElementRangeIsALiteralSearchWithoutNesting) {
    const std::string selfClosed = "<p:sld><p:timing/></p:sld>";
    EXPECT_FALSE(SlideXML::elementRange(selfClosed, "p:timing"));
    EXPECT_EQ(errorOf([&] { SlideXML::extractElement(selfClosed, "p:timing"); }), "F|fragment not found: p:timing");

    const std::string twice = "a<p:timing>1</p:timing>b<p:timing>2</p:timing>";
    EXPECT_EQ(SlideXML::extractElement(twice, "p:timing"), "<p:timing>1</p:timing>");
    EXPECT_EQ(SlideXML::replaceElement(twice, "p:timing", "X"), "aXb<p:timing>2</p:timing>");
    // No word boundary: a longer name that begins the same way is matched.
    EXPECT_EQ(cut("<p:timingX/><y/></p:timing>", SlideXML::elementRange("<p:timingX/><y/></p:timing>", "p:timing")),
              "<p:timingX/><y/></p:timing>");
}

TEST(SlideXMLTest, TransitionBlockRangeTakesTheWrapperAndIgnoresMisplacedTransitions) {
    const std::string bare = "<p:cSld></p:cSld><p:transition spd=\"slow\"/><p:timing/>";
    EXPECT_EQ(cut(bare, SlideXML::transitionBlockRange(bare)), "<p:transition spd=\"slow\"/>");
    const std::string full = "</p:cSld><p:transition><p:fade/></p:transition>";
    EXPECT_EQ(cut(full, SlideXML::transitionBlockRange(full)), "<p:transition><p:fade/></p:transition>");
    const std::string wrapped = "</p:cSld><p:clrMapOvr/><mc:AlternateContent><mc:Choice><p:transition p14:dur=\"0\"/>"
                                "</mc:Choice></mc:AlternateContent><p:timing/>";
    EXPECT_EQ(cut(wrapped, SlideXML::transitionBlockRange(wrapped)),
              "<mc:AlternateContent><mc:Choice><p:transition p14:dur=\"0\"/></mc:Choice></mc:AlternateContent>");
    EXPECT_FALSE(SlideXML::transitionBlockRange("<p:transition/></p:cSld><p:timing/>"));
    EXPECT_FALSE(SlideXML::transitionBlockRange("</p:cSld><mc:AlternateContent><p:transition/>"));
}

TEST(SlideXMLTest, ParseFragmentDeclaresTheSlidePrefixesAndKeepsWhitespace) {
    const auto timing = SlideXML::parseFragment("<p:timing>\n  <p:tnLst/> </p:timing>", "p:timing");
    int texts = 0;
    timing.visitChildren([&](XmlElement::NodeKind kind, const XmlElement&, std::string_view) {
        texts += kind == XmlElement::NodeKind::text;
    });
    EXPECT_EQ(texts, 2);
    EXPECT_NO_THROW(SlideXML::parseFragment("<p:x a:b=\"1\" r:id=\"2\" p14:c=\"3\" mc:Ignorable=\"\"/>", "p:x"));

    const std::string undeclared = errorOf([] { SlideXML::parseFragment("<p:timing><q:x/></p:timing>", "p:timing"); });
    EXPECT_EQ(undeclared.rfind("P|parse failed: ", 0), 0u) << undeclared;
    EXPECT_NE(undeclared.find("q"), std::string::npos) << undeclared;
    EXPECT_EQ(errorOf([] { SlideXML::parseFragment("<p:bldLst/>", "p:timing"); }),
              "P|parse failed: could not locate <p:timing> in wrapped fragment");
}

TEST(SlideXMLTest, ShapeIsMediaLooksInsideTheShapeThatOwnsTheId) {
    const std::string slide =
        "<p:sld><p:cSld><p:spTree><p:grpSpPr/>"
        "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"t\"/></p:nvSpPr></p:sp>"
        "<p:pic><p:nvPicPr><p:cNvPr id=\"4\" name=\"v\"/><p:nvPr><a:videoFile r:link=\"rId1\"/></p:nvPr></p:nvPicPr></p:pic>"
        "<p:grpSp><p:nvGrpSpPr><p:cNvPr id=\"5\"/></p:nvGrpSpPr>"
        "<p:sp><p:nvSpPr><p:cNvPr id=\"6\"/><p:nvPr><a:audioFile r:link=\"rId2\"/></p:nvPr></p:nvSpPr></p:sp></p:grpSp>"
        "</p:spTree></p:cSld></p:sld>";
    // Group 5 holds the audio shape.
    for (const auto& [id, media] : {std::pair{"4", true}, {"2", false}, {"99", false}, {"5", true}, {"6", true}}) {
        EXPECT_EQ(SlideXML::shapeIsMedia(slide, id), media) << id;
    }
    EXPECT_EQ(errorOf([] { SlideXML::shapeIsMedia("<p:sld/>", "4"); }), "F|fragment not found: p:spTree");
}

// Reading (attribute order, entities, CDATA, undeclared prefixes) is checked
// through the fragment parser and the emitter; here, only ownership.
TEST(XmlElementTest, EditsSurviveTheirHandlesAndDetachedNodesAreFreed) {
    XmlElement moved;
    {
        auto root = XmlElement::parseDocument("<w xmlns:p=\"urn:p\"><p:s id=\"1\"/><p:s id=\"2\"><p:k/></p:s></w>");
        auto steps = root.childElements("p:s");
        ASSERT_EQ(steps.size(), 2u);
        auto kid = steps[1].firstChildElement("p:k");
        kid.detach();
        steps[0].appendChild(kid);
        steps[1].detach();  // never reattached: freed with the document
        auto created = root.createElement("p:cond");
        created.addAttribute("evt", "onBegin");
        created.addAttribute("p:delay", "0");
        steps[0].appendChild(created);
        auto orphan = root.createElement("p:never");  // never attached
        steps[0].replaceAttribute("id", "9");
        steps[0].addAttribute("q", "1");
        steps[0].removeAttribute("q");
        moved = created;
    }
    // The document lives on through the last handle.
    EXPECT_EQ(moved.name(), "p:cond");
    EXPECT_EQ(moved.attribute("p:delay"), "0");
    auto parent = moved.parent();
    EXPECT_EQ(parent.attribute("id"), "9");
    std::vector<std::string> names;
    parent.parent().walk([&](const XmlElement& e) { names.push_back(e.name()); });
    EXPECT_EQ(names, (std::vector<std::string>{"w", "p:s", "p:k", "p:cond"}));
}
