#include <gtest/gtest.h>

#include <map>
#include <set>

#include "AnimatedSlides.hpp"
#include "TestSupport.hpp"
#include "pixels/PageRasterizer.hpp"
#include "rewrite/DeckTransformer.hpp"
#include "storyboard/PageKeys.hpp"
#include "storyboard/Storyboard.hpp"
#include "storyboard/StoryboardPdf.hpp"
#include "tools/RenderError.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

// The deck the keys are taken of, and what an edit changes in it.
struct Deck {
    std::string accent = "FF0000";  // in the theme
    std::string clrMap;             // the master's, "" for the usual one
    std::string layoutText = "Capa";
    std::string slideText = "Dois";
    Bytes image = {1, 2, 3};
    bool slideBefore = false;  // a slide of its own before the others
    std::string environment = "lo 7.6, 1280x720";
    std::string day = "2026-01-01";
};

std::string textSlide(const std::string& text) { return slideXml(textBox("2", 0, para(text))); }

// Slide 1 brings its bullets in (four pages) and shows a picture, slide 2 has
// a layout of its own, slide 3 shows a date field. The keys of the
// storyboard's pages by slide, counted without the slide put before.
std::map<std::int64_t, std::vector<std::string>> keysBySlide(const Deck& d) {
    TempDir dir;
    const std::string layout = "ppt/slideLayouts/slideLayout2.xml";
    std::string layoutXml = textSlide(d.layoutText);
    layoutXml.replace(layoutXml.find("<p:sld "), 7, "<p:sldLayout ");
    layoutXml.replace(layoutXml.rfind("</p:sld>"), 8, "</p:sldLayout>");
    const int first = d.slideBefore ? 2 : 1;
    DeckBuilder builder;
    builder.setMaster(themeXml("<a:accent1><a:srgbClr val=\"" + d.accent + "\"/></a:accent1>"), d.clrMap);
    if (d.slideBefore) builder.addSlide(textSlide("Antes"));
    builder.addSlide(bulletSlide(), {{"rId2", "image", "../media/image1.png"}})
        .addSlide(textSlide(d.slideText))
        .addSlide(slideXml(textBox("2", 0, "<a:p><a:fld id=\"{1}\" type=\"datetime1\"><a:t>1/1</a:t></a:fld></a:p>")))
        .addEntry("ppt/media/image1.png", d.image)
        .addEntry(layout, layoutXml)
        .addEntry(Relationships::relsPath(layout),
                  relationshipsXml({{"rId1", "slideMaster", "../slideMasters/slideMaster1.xml"}}))
        .addEntry("ppt/slides/_rels/slide" + std::to_string(first + 1) + ".xml.rels",
                  relationshipsXml({{"rIdLayout", "slideLayout", "../slideLayouts/slideLayout2.xml"}}))
        .write(dir / "deck.pptx");
    DeckTransformer::prepare(dir / "deck.pptx", dir / "prepared.pptx", {}, {}, 1000, 1500);
    DeckModel prepared(dir / "prepared.pptx");
    const auto plan = RenderPlanReader::read(prepared);
    const auto layoutOfPages = Storyboard::layout(plan);
    Storyboard::write(prepared, plan, layoutOfPages, dir / "storyboard.pptx");
    const auto keys = PageKeys::of(dir / "storyboard.pptx", d.environment, d.day);
    EXPECT_EQ(keys.size(), layoutOfPages.pages.size());
    std::map<std::int64_t, std::vector<std::string>> out;
    for (std::size_t p = 0; p < keys.size(); ++p) {
        const std::int64_t slide = layoutOfPages.pages[p].displayIndex - (first - 1);
        if (slide > 0) out[slide].push_back(keys[p]);
    }
    return out;
}

}  // namespace

TEST(PageKeysTest, AnEditChangesTheKeysOfThePagesItShowsOnAndNoOthers) {
    const auto before = keysBySlide({});
    ASSERT_EQ(before.size(), 3u);
    ASSERT_EQ(std::set<std::string>(before.at(1).begin(), before.at(1).end()).size(), 4u);
    struct Case {
        const char* edit;
        Deck deck;
        std::set<std::int64_t> changed;
    };
    const std::vector<Case> cases{
        {"slide text", {.slideText = "Zwei"}, {2}},
        {"layout", {.layoutText = "Outra capa"}, {2}},
        {"master", {.clrMap = "bg1=\"dk1\" tx1=\"lt1\" bg2=\"dk2\" tx2=\"lt2\""}, {1, 2, 3}},
        {"theme", {.accent = "00FF00"}, {1, 2, 3}},
        {"picture", {.image = {1, 2, 4}}, {1}},
        {"slide inserted before, copies renamed", {.slideBefore = true}, {}},
        {"environment", {.environment = "lo 24.2, 1280x720"}, {1, 2, 3}},
        {"day", {.day = "2026-01-02"}, {3}},
    };
    for (const auto& c : cases) {
        const auto after = keysBySlide(c.deck);
        std::set<std::int64_t> changed;
        for (const auto& [slide, keys] : before) {
            if (after.at(slide) != keys) changed.insert(slide);
        }
        EXPECT_EQ(changed, c.changed) << c.edit;
    }
}

TEST(PageKeysTest, AStoryboardKeepsOnlyTheWantedPagesInItsSlideListWithTheirKeys) {
    TempDir dir;
    DeckBuilder()
        .setMaster(themeXml(""))
        .addSlide(textSlide("Um"))
        .addSlide(textSlide("Dois"))
        .addSlide(textSlide("Tres"))
        .write(dir / "deck.pptx");
    const auto files = DeckModel(dir / "deck.pptx").slideFiles();
    const auto keys = PageKeys::of(dir / "deck.pptx", "env");
    ASSERT_EQ(keys.size(), 3u);
    PageKeys::keepOnly(dir / "deck.pptx", {1, 3}, dir / "kept.pptx");
    EXPECT_EQ(DeckModel(dir / "kept.pptx").slideFiles(), (std::vector<std::string>{files[0], files[2]}));
    EXPECT_EQ(PageKeys::of(dir / "kept.pptx", "env"), (std::vector<std::string>{keys[0], keys[2]}));
    if (!slowTestsSkipped() && haveProgram("soffice") && haveProgram("pdfinfo")) {
        LibreOffice::ConvertOptions options;
        options.workDir = dir / "work";
        const auto pdf = LibreOffice::convert(dir / "kept.pptx", StoryboardPdf::kPdfFilter, "pdf", dir.path(), options);
        EXPECT_EQ(PageRasterizer::pageCount(pdf, std::nullopt), 2);
    }
    for (const auto& pages : std::vector<std::vector<int>>{{0}, {4}, {2, 2}, {3, 1}}) {
        EXPECT_THROW(PageKeys::keepOnly(dir / "deck.pptx", pages, dir / "bad.pptx"), RenderError) << pages.front();
    }
}
