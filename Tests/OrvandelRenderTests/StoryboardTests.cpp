#include <gtest/gtest.h>

#include <set>

#include "AnimatedSlides.hpp"
#include "GraphicParts.hpp"
#include "TestSupport.hpp"
#include "container/PptxArchive.hpp"
#include "container/XmlElement.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckScanner.hpp"
#include "deck/NotesScanner.hpp"
#include "rewrite/DeckTransformer.hpp"
#include "storyboard/Storyboard.hpp"

using namespace orvandel;
using namespace orvandel::test;

TEST(StoryboardTest, AStateIsAStillWithoutHiddenShapesAndWithHiddenParagraphsInPlace) {
    const std::string numbered = "<a:pPr lvl=\"1\"><a:buAutoNum type=\"arabicPeriod\"/>";
    const auto body = [&](const std::string& first, const std::string& second, const std::string& third) {
        return "<p:sp><p:nvSpPr><p:cNvPr id=\"3\" name=\"B\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr/><p:txBody>"
               "<a:bodyPr/>" +
               first + second + third + "</p:txBody></p:sp>";
    };
    const std::string group =
        "<p:grpSp><p:nvGrpSpPr><p:cNvPr id=\"4\" name=\"G\"/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr>"
        "<p:grpSpPr/>" +
        picture("5", "rId2") + "</p:grpSp>";
    const std::string slide = slideXml(
        body("<a:p>" + numbered +
                 "<a:defRPr/></a:pPr><a:r><a:rPr lang=\"pt-BR\"><a:solidFill><a:srgbClr "
                 "val=\"FF0000\"/></a:solidFill><a:latin typeface=\"Arial\"/></a:rPr><a:t>Um</a:t></a:r></a:p>",
             "<a:p>" + numbered + "</a:pPr><a:r><a:t>Dois</a:t></a:r></a:p>", "<a:p><a:r><a:t>Tres</a:t></a:r></a:p>") +
            group + picture("6", "rId3"),
        "<p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr><p:transition advTm=\"1500\"/>" + timing(""));
    const std::string clear = "<a:solidFill><a:srgbClr val=\"FFFFFF\"><a:alpha val=\"0\"/></a:srgbClr></a:solidFill>";
    // Shape 5 goes with its group; paragraphs 0 and 2 keep their place, and
    // paragraph 1 keeps its number 2.
    const std::string expected =
        slideXml(body("<a:p><a:pPr lvl=\"1\"><a:buNone/><a:defRPr/></a:pPr><a:r><a:rPr lang=\"pt-BR\">" + clear +
                          "<a:latin typeface=\"Arial\"/></a:rPr><a:t>Um</a:t></a:r></a:p>",
                      "<a:p><a:pPr lvl=\"1\"><a:buAutoNum type=\"arabicPeriod\" startAt=\"2\"/></a:pPr><a:r><a:t>Dois"
                      "</a:t></a:r></a:p>",
                      "<a:p><a:pPr><a:buNone/></a:pPr><a:r><a:rPr>" + clear + "</a:rPr><a:t>Tres</a:t></a:r></a:p>") +
                     picture("6", "rId3"),
                 "<p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr>");
    EXPECT_EQ(Storyboard::slideInState(slide, {{"3", 0}, {"3", 2}, {"4", std::nullopt}, {"5", std::nullopt}}),
              expected);
}

TEST(StoryboardTest, ShotsFollowTheStatesUntilTheAdvanceTimeAndAlikeStatesSharePages) {
    const std::vector<PlayoutTarget> a{{"3", std::nullopt}};
    DrawnEffect fade, push;
    fade.durationMs = 500;
    fade.behaviours = {{.filter = "fade"}};
    push.role = DrawnEffect::Role::transition;
    push.durationMs = 700;
    push.behaviours = {{.filter = "wipe(left)"}};
    RenderPlan plan;
    plan.slides = {{1, "s1", false, 5000, {{{0, a}, {1000, {}}, {3000, a}, {9000, {}}}, {}, {{}, fade, {}, {}}}},
                   {2, "s2", true, 1500, {}},
                   {3, "s3", false, 1500, {{{0, {}}}, {}, {}}}};
    // The first slide's transition has nothing to come from.
    const auto steps = Storyboard::layout(plan, true, {{"s1", push}, {"s3", push}});
    EXPECT_EQ(steps.pages, (std::vector<Storyboard::Page>{{1, a}, {1, {}}, {2, {}}, {3, {}}}));
    EXPECT_EQ(steps.shots,
              (std::vector<Storyboard::Shot>{{1, 1000, {}, true}, {2, 2000, fade}, {1, 2000}, {4, 1500, push, true}}));

    const auto finalStates = Storyboard::layout(plan, false);
    EXPECT_EQ(finalStates.pages, (std::vector<Storyboard::Page>{{1, {}}, {2, {}}, {3, {}}}));
    EXPECT_EQ(finalStates.shots, (std::vector<Storyboard::Shot>{{1, 5000, {}, true}, {3, 1500, {}, true}}));
}

TEST(StoryboardTest, StatesAreListedRightAfterTheirSlideWithItsRelationshipsButNotItsNotes) {
    TempDir dir;
    DeckBuilder()
        .addSlide(bulletSlide(), {{"rId2", "image", "../media/image1.png"}})
        .addNotes(1, notesSlideXml({"Fala"}))
        .addSlide(slideXml())
        .write(dir / "deck.pptx");
    DeckTransformer::prepare(dir / "deck.pptx", dir / "prepared.pptx", {}, {}, 1000, 1500);
    const auto plan = RenderPlanReader::read(dir / "prepared.pptx");
    const auto layout = Storyboard::layout(plan);
    DeckModel preparedDeck(dir / "prepared.pptx");
    Storyboard::write(preparedDeck, plan, layout, dir / "storyboard.pptx");

    const auto files = DeckModel(dir / "storyboard.pptx").slideFiles();
    ASSERT_EQ(files,
              (std::vector<std::string>{"ppt/slides/slide1.xml", "ppt/slides/slide3.xml", "ppt/slides/slide4.xml",
                                        "ppt/slides/slide5.xml", "ppt/slides/slide2.xml"}));
    PptxArchive::Deck storyboard(dir / "storyboard.pptx");
    const std::string prepared = PptxArchive::readEntry(dir / "prepared.pptx", "ppt/slides/slide1.xml");
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(storyboard.readEntry(files[k]), Storyboard::slideInState(prepared, layout.pages[k].hidden)) << k;
    }
    const std::string rels = storyboard.readEntry("ppt/slides/_rels/slide3.xml.rels");
    EXPECT_NE(rels.find("../media/image1.png"), std::string::npos);
    EXPECT_EQ(rels.find("notesSlide"), std::string::npos);
    EXPECT_NE(storyboard.readEntry("[Content_Types].xml").find("PartName=\"/ppt/slides/slide5.xml\""),
              std::string::npos);
}

// Slide 1 builds its chart by series, and its states point at copies of the
// chart; slides 2 and 3 name a series the chart lacks and a diagram without
// a drawing: they are shown whole, with a warning each.
TEST(StoryboardTest, GraphicBuildsGetCopiesOfTheirPartsOrAreShownWholeWithAWarning) {
    TempDir dir;
    const auto chartSlide = [](int first, int second) {
        return slideXml(chartFrame("4", "rIdG"),
                        timing(click(fade("clickEffect", chartPart("4", "series", first, -3))) +
                               click(fade("clickEffect", chartPart("4", "series", second, -3)))));
    };
    auto relationships = diagramRelationships();
    relationships.pop_back();  // the drawing
    DeckBuilder()
        .addSlide(chartSlide(0, 1), {{"rIdG", "chart", "../charts/chart1.xml"}})
        .addSlide(chartSlide(0, 5), {{"rIdG", "chart", "../charts/chart1.xml"}})
        .addSlide(slideXml(diagramFrame("4"), timing(click(fade("clickEffect", diagramPart("4", 0))))), relationships)
        .addEntry("ppt/charts/chart1.xml", columnChartXml(2, 2))
        .addEntry("ppt/diagrams/data1.xml", diagramDataXml(1))
        .write(dir / "deck.pptx");
    DeckTransformer::prepare(dir / "deck.pptx", dir / "prepared.pptx", {}, {}, 1000, 1500);
    const auto plan = RenderPlanReader::read(dir / "prepared.pptx");
    ASSERT_EQ(plan.warnings.size(), 2u);
    EXPECT_EQ(plan.warnings[0].slide, 2);
    EXPECT_EQ(plan.warnings[1].slide, 3);
    for (std::size_t s : {1, 2}) {
        EXPECT_EQ(plan.slides[s].playout.states.front().hidden, (std::vector<PlayoutTarget>{{"4", std::nullopt}})) << s;
    }

    const auto layout = Storyboard::layout(plan);
    DeckModel prepared(dir / "prepared.pptx");
    Storyboard::write(prepared, plan, layout, dir / "storyboard.pptx");
    PptxArchive::Deck storyboard(dir / "storyboard.pptx");
    const auto files = DeckModel(dir / "storyboard.pptx").slideFiles();
    std::set<std::string> charts;
    for (std::size_t k = 0; k < 3; ++k) {  // slide 1: no series, one, both
        const std::string rels = storyboard.readEntry(Relationships::relsPath(files[k]));
        const auto at = rels.find("../charts/");
        ASSERT_NE(at, std::string::npos) << k;
        const std::string chart = "ppt/charts/" + rels.substr(at + 10, rels.find('"', at) - at - 10);
        charts.insert(chart);
        const std::string xml = storyboard.readEntry(chart);
        EXPECT_NO_THROW(XmlElement::parseDocument(xml)) << k;
        EXPECT_EQ(xml == columnChartXml(2, 2), k == 2) << k;
    }
    EXPECT_EQ(charts.size(), 3u);
}

// What an emphasis or a motion path leaves on a shape, drawn into its markup
// on a slide of 1,000,000 by 500,000 EMU.
TEST(StoryboardTest, HeldChangesMoveScaleTurnAndRecolourTheirShapes) {
    const auto sp = [](const std::string& id, const std::string& nvPr, const std::string& spPr,
                       const std::string& runs = "") {
        return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + id + "\" name=\"S\"/><p:cNvSpPr/><p:nvPr>" + nvPr +
               "</p:nvPr></p:nvSpPr>" + spPr + "<p:txBody><a:bodyPr/><a:p>" + runs + "</a:p></p:txBody></p:sp>";
    };
    const std::string xfrm =
        "<a:xfrm rot=\"600000\"><a:off x=\"1000\" y=\"2000\"/><a:ext cx=\"4000\" cy=\"2000\"/></a:xfrm>";
    const std::string group =
        "<p:grpSp><p:nvGrpSpPr><p:cNvPr id=\"4\" name=\"G\"/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr><p:grpSpPr>"
        "<a:xfrm><a:off x=\"0\" y=\"0\"/><a:ext cx=\"10\" cy=\"10\"/><a:chOff x=\"0\" y=\"0\"/><a:chExt cx=\"20\" "
        "cy=\"20\"/></a:xfrm></p:grpSpPr>" +
        picture("6", "rId2") + "</p:grpSp>";
    const std::string title = sp("2", "<p:ph type=\"title\"/>", "<p:spPr/>");
    const std::string layout = slideXml(sp("9", "<p:ph type=\"title\"/>",
                                           "<p:spPr><a:xfrm><a:off x=\"500\" y=\"600\"/><a:ext cx=\"1000\" "
                                           "cy=\"800\"/></a:xfrm></p:spPr>") +
                                        sp("10", "<p:ph idx=\"1\"/>", "<p:spPr/>"));
    const std::string master = slideXml(sp("11", "<p:ph type=\"body\"/>",
                                           "<p:spPr><a:xfrm><a:off x=\"7\" y=\"8\"/><a:ext cx=\"9\" "
                                           "cy=\"10\"/></a:xfrm></p:spPr>"));
    const std::string body = sp("5", "<p:ph idx=\"1\"/>", "<p:spPr/>");
    const auto context = HeldShapes::contextOf(slideXml(title + body), layout, master, 1000000, 500000);
    // The title takes the layout's box, the body (no box in the layout) the master's.
    EXPECT_EQ(context.inherited,
              (std::map<std::string, HeldShapes::Box>{{"2", {500, 600, 1000, 800}}, {"5", {7, 8, 9, 10}}}));
    const auto alpha = [](const std::string& colour) {
        return "<a:solidFill><a:srgbClr val=\"" + colour + "\"><a:alpha val=\"50000\"/></a:srgbClr></a:solidFill>";
    };
    // Sizes a placeholder's runs inherit: the master's text style when neither layout nor master says.
    const std::string styles = "<p:sldMaster><p:cSld><p:spTree>" + sp("11", "<p:ph type=\"body\"/>", "<p:spPr/>") +
                               "</p:spTree></p:cSld><p:txStyles><p:titleStyle><a:lvl1pPr><a:defRPr sz=\"4400\"/>"
                               "</a:lvl1pPr></p:titleStyle><p:bodyStyle><a:lvl1pPr><a:defRPr sz=\"3200\"/>"
                               "</a:lvl1pPr></p:bodyStyle></p:txStyles></p:sldMaster>";
    EXPECT_EQ(HeldShapes::contextOf(slideXml(title + body), layout, styles, 0, 0).sizes,
              (std::map<std::string, std::int64_t>{{"2", 4400}, {"5", 3200}}));
    HeldChange restyled{{"3", 1}};
    restyled.bold = true;
    restyled.italic = false;
    restyled.underline = true;
    restyled.typeface = "Times New Roman";
    restyled.fontScale = 150000;
    HeldChange doubled{{"3", std::nullopt}};
    doubled.fontScale = 200000;
    HeldChange themed{{"3", 0}};
    themed.textColour = "scheme:accent2";
    struct Case {
        std::string shapes;
        HeldChange held;
        std::vector<std::string> expected;  // in the state's slide
    };
    const std::vector<Case> cases{
        // Moved by a tenth of the width and up a fifth of the height, 1.5 wide
        // and half as high about its centre, turned a further 90 degrees.
        {sp("3", "", "<p:spPr>" + xfrm + "</p:spPr>"),
         {{"3", std::nullopt}, 10000, -20000, 150000, 50000, 5400000},
         {"<a:xfrm rot=\"6000000\"><a:off x=\"100000\" y=\"-97500\"/><a:ext cx=\"6000\" cy=\"1000\"/></a:xfrm>"}},
        // A paragraph grows as its text: the shape keeps its box.
        {sp("3", "", "<p:spPr>" + xfrm + "</p:spPr>", "<a:r><a:rPr sz=\"1200\"/><a:t>a</a:t></a:r>"),
         {{"3", 0}, 0, 0, 150000, 150000},
         {xfrm, "<a:rPr sz=\"1800\"/>"}},
        // A placeholder without a box of its own gets its layout's, moved.
        {title,
         {{"2", std::nullopt}, 0, 10000},
         {"<p:spPr><a:xfrm><a:off x=\"500\" y=\"50600\"/><a:ext cx=\"1000\" "
          "cy=\"800\"/></a:xfrm></p:spPr>"}},
        // Fill, line and text recoloured, all at half opacity.
        {sp("3", "", "<p:spPr><a:prstGeom prst=\"rect\"/><a:noFill/></p:spPr>",
            "<a:r><a:rPr lang=\"pt-BR\"/><a:t>a</a:t></a:r><a:r><a:t>b</a:t></a:r>"),
         {{"3", std::nullopt}, 0, 0, 100000, 100000, 0, 50000, "00FF00", "0000FF", "FF0000"},
         {"<p:spPr><a:prstGeom prst=\"rect\"/>" + alpha("00FF00") + "<a:ln>" + alpha("0000FF") + "</a:ln></p:spPr>",
          "<a:r><a:rPr lang=\"pt-BR\">" + alpha("FF0000") + "</a:rPr><a:t>a</a:t>",
          "<a:r><a:rPr>" + alpha("FF0000") + "</a:rPr><a:t>b</a:t>"}},
        // A group moves through its own box, its children's frame kept; its pictures fade.
        {group,
         {{"4", std::nullopt}, 50000, 0, 100000, 100000, 0, 25000},
         {"<a:off x=\"500000\" y=\"0\"/><a:ext cx=\"10\" cy=\"10\"/><a:chOff x=\"0\" y=\"0\"/>",
          "<a:blip r:embed=\"rId2\"><a:alphaModFix amt=\"25000\"/></a:blip>"}},
        // The second paragraph restyled, the first given a theme colour; a run without a size scales 18 pt.
        {sp("3", "", "<p:spPr/>",
            "<a:r><a:rPr lang=\"en\"/><a:t>a</a:t></a:r></a:p><a:p><a:r><a:rPr lang=\"en\" sz=\"2000\"><a:latin "
            "typeface=\"Arial\"/></a:rPr><a:t>b</a:t></a:r><a:r><a:t>c</a:t></a:r>"),
         restyled,
         {"<a:r><a:rPr lang=\"en\"><a:solidFill><a:schemeClr val=\"accent2\"/></a:solidFill></a:rPr><a:t>a</a:t>",
          "<a:rPr lang=\"en\" sz=\"3000\" b=\"1\" i=\"0\" u=\"sng\"><a:latin typeface=\"Times New "
          "Roman\"/></a:rPr><a:t>b</a:t>",
          "<a:r><a:rPr b=\"1\" i=\"0\" u=\"sng\" sz=\"2700\"><a:latin typeface=\"Times New Roman\"/></a:rPr><a:t>c</a:t>"}},
        // A size alone keeps the run's typeface.
        {sp("3", "", "<p:spPr/>", "<a:r><a:rPr sz=\"1200\"><a:latin typeface=\"Arial\"/></a:rPr><a:t>a</a:t></a:r>"),
         doubled,
         {"<a:rPr sz=\"2400\"><a:latin typeface=\"Arial\"/></a:rPr>"}},
    };
    for (const auto& c : cases) {
        std::vector<HeldChange> held{c.held};
        if (c.held.target.paragraph == 1) held.push_back(themed);
        const std::string state = Storyboard::slideInState(slideXml(c.shapes), {}, held, context);
        for (const auto& part : c.expected) EXPECT_NE(state.find(part), std::string::npos) << part << "\n" << state;
    }
}

TEST(StoryboardTest, EmphasisShotsGetAPageOfTheStateBeforeWithoutTheirTargets) {
    const HeldChange grown{{"3", std::nullopt}, 0, 0, 150000, 150000};
    DrawnEffect pulse;
    pulse.role = DrawnEffect::Role::emphasis;
    pulse.durationMs = 500;
    DrawnEffect path = pulse;
    path.role = DrawnEffect::Role::path;
    const std::vector<PlayoutTarget> three{{"3", std::nullopt}};
    RenderPlan plan;
    SlidePlayout playout;
    // Grown, back, grown again: the alike states share pages, and so do the pages without shape 3.
    playout.states = {{0, {}, {}}, {1000, {}, {grown}}, {2000, {}, {}}, {3000, {}, {grown}}};
    playout.effects = {{}, pulse, {}, path};
    playout.effectTargets = {{}, three, {}, three};
    plan.slides = {{1, "s1", false, 4000, playout}};
    const auto layout = Storyboard::layout(plan);
    EXPECT_EQ(layout.pages, (std::vector<Storyboard::Page>{{1, {}, {}}, {1, {}, {grown}}, {1, three, {}}}));
    EXPECT_EQ(layout.shots,
              (std::vector<Storyboard::Shot>{
                  {1, 1000, {}, true}, {2, 1000, pulse, false, 3}, {1, 1000}, {2, 1000, path, false, 3}}));
}

// The deck's slides are numbered from 10: slide 2's number shows 11 on each of
// its pages, though LibreOffice would number them by their place.
TEST(StoryboardTest, ASlideNumberFieldShowsTheSlidesOwnNumberOnEveryPage) {
    TempDir dir;
    const std::string field =
        "<a:p><a:fld id=\"{5}\" type=\"slidenum\"><a:rPr lang=\"pt-BR\" b=\"1\"/><a:pPr/><a:t>2</a:t></a:fld></a:p>";
    std::string slide = bulletSlide();
    slide.insert(slide.find("<a:p>"), field);
    auto entries = DeckBuilder().addSlide(slideXml()).addSlide(slide).entries();
    for (auto& [name, bytes] : entries) {
        if (name != "ppt/presentation.xml") continue;
        std::string text = toString(bytes);
        text.replace(text.find("<p:presentation "), 16, "<p:presentation firstSlideNum=\"10\" ");
        bytes = toBytes(text);
    }
    ZipArchive::create(entries, dir / "deck.pptx");
    DeckTransformer::prepare(dir / "deck.pptx", dir / "prepared.pptx", {}, {}, 1000, 1500);
    const auto plan = RenderPlanReader::read(dir / "prepared.pptx");
    const auto layout = Storyboard::layout(plan);
    DeckModel prepared(dir / "prepared.pptx");
    Storyboard::write(prepared, plan, layout, dir / "storyboard.pptx");
    DeckModel storyboard(dir / "storyboard.pptx");
    const auto& files = storyboard.slideFiles();
    ASSERT_EQ(files.size(), 5u);
    for (std::size_t k = 1; k < files.size(); ++k) {
        const std::string& xml = storyboard.part(files[k]);
        EXPECT_NE(xml.find("<a:r><a:rPr lang=\"pt-BR\" b=\"1\"/><a:t>11</a:t></a:r>"), std::string::npos) << k;
        EXPECT_EQ(xml.find("slidenum"), std::string::npos) << k;
    }
}
