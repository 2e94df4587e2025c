#include <gtest/gtest.h>

#include <set>

#include "DeckBuilder.hpp"
#include "GraphicParts.hpp"
#include "plan/XmlSpans.hpp"
#include "storyboard/DiagramShapes.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

const std::string kSlideRels = relationshipsXml({{"rId1", "slideLayout", "../slideLayouts/slideLayout1.xml"}});

std::string drawingWith(const std::string& shapes) {
    return "<dsp:drawing xmlns:dsp=\"http://schemas.microsoft.com/office/drawing/2008/diagram\" xmlns:a=\"" +
           std::string(kNsA) + "\" xmlns:r=\"" + kNsR +
           "\"><dsp:spTree><dsp:nvGrpSpPr><dsp:cNvPr id=\"0\" name=\"\"/>"
           "<dsp:cNvGrpSpPr/></dsp:nvGrpSpPr><dsp:grpSpPr/>" +
           shapes + "</dsp:spTree></dsp:drawing>";
}

std::string box(const std::string& xfrm, const std::string& fill = "<a:noFill/>", const std::string& text = "",
                const std::string& textXfrm = "") {
    return "<dsp:sp modelId=\"{M}\"><dsp:nvSpPr><dsp:cNvPr id=\"0\" name=\"\"/><dsp:cNvSpPr/></dsp:nvSpPr><dsp:spPr>" +
           xfrm + "<a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom>" + fill + "</dsp:spPr>" +
           (text.empty() ? ""
                         : "<dsp:txBody><a:bodyPr/><a:lstStyle/><a:p><a:r><a:t>" + text +
                               "</a:t></a:r></a:p>"
                               "</dsp:txBody>") +
           textXfrm + "</dsp:sp>";
}

std::string xfrm(const std::string& attrs, int x) {
    return "<a:xfrm" + attrs + "><a:off x=\"" + std::to_string(x) +
           "\" y=\"0\"/><a:ext cx=\"100\" cy=\"50\"/></a:xfrm>";
}
std::string txXfrm(const std::string& attrs, int x) {
    return "<dsp:txXfrm" + attrs + "><a:off x=\"" + std::to_string(x) +
           "\" y=\"0\"/><a:ext cx=\"100\" cy=\"50\"/>"
           "</dsp:txXfrm>";
}

std::multiset<std::string> ids(const std::string& xml) {
    std::multiset<std::string> out;
    for (const auto& s : XmlSpans::elementSpans(xml)) {
        if (s.name == "p:cNvPr") out.insert(XmlSpans::attributeOf(xml, s, "id").value_or(""));
    }
    return out;
}

int count(const std::string& text, const std::string& what) {
    int n = 0;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

}  // namespace

TEST(DiagramShapesTest, FramesBecomeGroupsOfTheDrawingsShapes) {
    const std::string picture =
        "<a:blipFill><a:blip r:embed=\"rId1\"/><a:stretch><a:fillRect/></a:stretch></a:blipFill>";
    const std::string linked = "<a:blipFill><a:blip r:embed=\"rId2\"/></a:blipFill>";
    const std::string nested = "<dsp:grpSp><dsp:nvGrpSpPr><dsp:cNvPr id=\"0\" name=\"\"/><dsp:cNvGrpSpPr/>"
                               "</dsp:nvGrpSpPr><dsp:grpSpPr><a:xfrm><a:off x=\"0\" y=\"0\"/><a:ext cx=\"9\" cy=\"9\"/>"
                               "<a:chOff x=\"0\" y=\"0\"/><a:chExt cx=\"9\" cy=\"9\"/></a:xfrm></dsp:grpSpPr>" +
                               box(xfrm("", 0)) + box(xfrm("", 10)) + "</dsp:grpSp>";
    struct Case {
        const char* what;
        std::string shapes;
        int slideShapes;                   // p:sp written
        std::vector<std::string> present;  // in the slide
        std::string newRels;               // in the slide's relationships
    };
    const std::vector<Case> cases{
        {"text over its shape stays in it",
         box(xfrm("", 0), "<a:noFill/>", "A", txXfrm("", 0)),
         1,
         {"<a:t>A</a:t>"},
         ""},
        {"text elsewhere gets a shape of its own",
         box(xfrm("", 0), "<a:noFill/>", "A", txXfrm("", 40)),
         2,
         {"<p:cNvSpPr txBox=\"1\"/>", "<a:off x=\"40\" y=\"0\"/>"},
         ""},
        // The text's turn counts from the shape's: turned back, it is upright.
        {"a turned shape's text turned back",
         box(xfrm(" rot=\"10800000\"", 0), "", "A", txXfrm(" rot=\"10800000\"", 0)),
         2,
         {"<a:xfrm><a:off x=\"0\""},
         ""},
        {"a shape without text keeps none", box(xfrm("", 0), "", "", txXfrm("", 40)), 1, {}, ""},
        {"nested groups",
         nested,
         2,
         {"<p:grpSp><p:nvGrpSpPr>", "<p:grpSpPr><a:xfrm><a:off x=\"0\" y=\"0\"/><a:ext cx=\"9\""},
         ""},
        {"pictures carried under a fresh id",
         box(xfrm("", 0), picture),
         1,
         {"r:embed=\"rId2\""},
         "Id=\"rId2\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/image\" "
         "Target=\"../media/image1.png\""},
        {"a link outside the package leads nowhere", box(xfrm("", 0), linked), 1, {"r:embed=\"rId2\""}, ""},
    };
    const std::vector<Relationship> drawingRels{
        {"rId1", "http://schemas.openxmlformats.org/officeDocument/2006/relationships/image", "../media/image1.png",
         ""},
        {"rId2", "http://schemas.openxmlformats.org/officeDocument/2006/relationships/image", "http://x/y.png",
         "External"}};
    const std::string slide = slideXml("<p:sp><p:nvSpPr><p:cNvPr id=\"7\" name=\"t\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr>"
                                       "<p:spPr/></p:sp>" +
                                       diagramFrame("4"));
    for (const auto& c : cases) {
        const auto out = DiagramShapes::drawn(slide, kSlideRels, "ppt/slides/slide1.xml",
                                              {{"4", "ppt/diagrams/drawing1.xml", drawingWith(c.shapes), drawingRels}});
        EXPECT_EQ(out.xml.find("graphicFrame"), std::string::npos) << c.what;
        EXPECT_NE(out.xml.find("<p:grpSp><p:nvGrpSpPr><p:cNvPr id=\"4\" name=\"Grafico 4\"/><p:cNvGrpSpPr/><p:nvPr/>"
                               "</p:nvGrpSpPr><p:grpSpPr><a:xfrm><a:off x=\"838200\" y=\"1600200\"/><a:ext "
                               "cx=\"10515600\" cy=\"4800000\"/><a:chOff x=\"0\" y=\"0\"/><a:chExt cx=\"10515600\" "
                               "cy=\"4800000\"/></a:xfrm></p:grpSpPr>"),
                  std::string::npos)
            << c.what;
        // Every id once, the new ones above the slide's.
        const auto all = ids(out.xml);
        EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size()) << c.what;
        EXPECT_FALSE(all.contains("0")) << c.what;
        EXPECT_EQ(count(out.xml, "<p:sp>") - 1, c.slideShapes) << c.what;
        for (const auto& text : c.present) EXPECT_NE(out.xml.find(text), std::string::npos) << c.what << ": " << text;
        if (c.newRels.empty()) {
            EXPECT_EQ(out.rels, kSlideRels) << c.what;
        } else {
            EXPECT_NE(out.rels.find(c.newRels), std::string::npos) << c.what << "\n" << out.rels;
        }
    }
}

TEST(DiagramShapesTest, DiagramsThatCannotBeDrawnKeepTheirFrame) {
    const std::string slide = slideXml(diagramFrame("4"));
    const std::vector<std::pair<const char*, DiagramShapes::Diagram>> cases{
        {"another frame", {"5", "ppt/diagrams/drawing1.xml", diagramDrawingXml(2), {}}},
        {"not a drawing", {"4", "ppt/diagrams/drawing1.xml", "<x/>", {}}},
    };
    for (const auto& [what, diagram] : cases) {
        const auto out = DiagramShapes::drawn(slide, kSlideRels, "ppt/slides/slide1.xml", {diagram});
        EXPECT_EQ(out.xml, slide) << what;
        EXPECT_EQ(out.rels, kSlideRels) << what;
    }
}
