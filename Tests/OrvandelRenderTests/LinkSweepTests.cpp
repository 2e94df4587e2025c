#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "ZipFixtures.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "plan/RenderPlan.hpp"
#include "rewrite/DeckTransformer.hpp"
#include "storyboard/LinkSweep.hpp"
#include "storyboard/Storyboard.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using testing::HasSubstr;

TEST(LinkSweepTest, HrefsAndSrcsThatCouldLeadOutsideTheirPartPointToNothing) {
    // <svg><image href="file:///etc/x.png"/></svg>
    const std::string svgWithAFileLink = "PHN2Zz48aW1hZ2UgaHJlZj0iZmlsZTovLy9ldGMveC5wbmciLz48L3N2Zz4=";
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases{
        {"<svg><image href=\"http://h/a.png\"/><a xlink:href='smb://h/s'/></svg>",
         "<svg><image href=\"#\"/><a xlink:href='#'/></svg>"},
        {"<svg><use href=\" #part\"/><image href=\"data:image/png;base64,iVBORw0KGgo=\"/></svg>", std::nullopt},
        // An SVG in a data: URL is read with its own links, however it is written.
        {"<svg><image href=\"data:image/svg+xml;base64," + svgWithAFileLink + "\"/></svg>",
         "<svg><image href=\"#\"/></svg>"},
        {"<svg><image href=\"data:image/svg+xml,%3Csvg%3E\"/><image href=\"data:,&#60;svg\"/></svg>",
         "<svg><image href=\"#\"/><image href=\"#\"/></svg>"},
        // Legacy drawings: an unquoted value counts too.
        {"<xml><v:imagedata src=file:///etc/x.png o:title=\"\"/><v:shape o:href=\"http://h\"/></xml>",
         "<xml><v:imagedata src=# o:title=\"\"/><v:shape o:href=\"#\"/></xml>"},
        // A document type could give an element an href, or bring one in.
        {"<?xml version=\"1.0\"?><!DOCTYPE svg [<!ATTLIST image href CDATA \"file:///etc/x\"> ]><svg><image/></svg>",
         "<?xml version=\"1.0\"?><svg><image/></svg>"},
        {"<p:sld><a:hlinkClick r:id=\"rId2\"/></p:sld>", std::nullopt},
    };
    for (const auto& [markup, expected] : cases)
        EXPECT_EQ(LinkSweep::withoutOutsideReferences(markup), expected) << markup;
}

// One deck with a link of every kind out of it, swept and written as a
// storyboard: nothing in it leads out, the allowed picture is inside it.
TEST(LinkSweepTest, TheStoryboardHoldsNoLinkOutAndTakesInTheLinkedPicturesTheRuleAllows) {
    TempDir dir;
    const fs::path folder = fs::canonical(dir.path());
    fs::create_directories(folder / "aula");
    writeFile(folder / "aula" / "verde.png", std::string("inside picture"));
    writeFile(folder / "fora.png", std::string("outside picture"));
    ASSERT_EQ(::mkfifo((folder / "aula" / "pipe.png").c_str(), 0600), 0);
    const std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\"><image href=\"file:///etc/x.png\"/></svg>";
    auto entries =
        DeckBuilder()
            .addSlide(slideXml("", "", "show=\"0\""), {{"rIdL", "slideLayout", "../slideLayouts/slideLayout1.xml"}})
            .addSlide(slideXml(pictureWith("2", "", "<a:blip r:link=\"rId2\"/>") +
                               pictureWith("3", "", "<a:blip r:embed=\"rId5\" r:link=\"rId3\"/>") +
                               pictureWith("4", "", "<a:blip r:link=\"rId4\"/>") +
                               pictureWith("6", "", "<a:blip r:link=\"rId6\"/>")),
                      {{"rIdL", "slideLayout", "../slideLayouts/slideLayout1.xml"},
                       {"rId2", "image", "verde.png", true},
                       {"rId3", "image", "http://h/a.png", true},
                       {"rId4", "image", "../fora.png", true},
                       {"rId5", "image", "../media/svg.png"},
                       {"rId6", "image", "pipe.png", true},
                       {"rId7", "hyperlink", "http://h/", true},
                       {"rId8", "chart", "../charts/chart1.xml"}})
            .addEntry("ppt/slideLayouts/slideLayout1.xml", slideXml(pictureWith("2", "", "<a:blip r:link=\"rId1\"/>")))
            .addEntry("ppt/slideLayouts/_rels/slideLayout1.xml.rels",
                      relationshipsXml({{"rId1", "image", "file://" + (folder / "fora.png").string(), true}}))
            .addEntry("ppt/charts/chart1.xml", std::string("<c:chartSpace/>"))
            .addEntry("ppt/charts/_rels/chart1.xml.rels",
                      relationshipsXml({{"rId1", "package", "http://h/d.xlsx", true}}))
            .addEntry("ppt/media/svg.png", svg)
            .addEntry("ppt/media/image.svgz", rawDeflate(toBytes(svg), Z_FINISH, 16 + MAX_WBITS))
            .addEntry("ppt/drawings/vmlDrawing1.vml", std::string("<xml><v:imagedata src=\"/etc/x.png\"/></xml>"))
            .addEntry("ppt/drawings/_rels/vmlDrawing1.vml.rels", std::string("<Relationships><Relationship"))
            .addEntry("ppt/media/twice.png", std::string("\x89PNG"))
            .entries();
    entries.emplace_back("ppt/media/twice.png", toBytes(svg));  // which of the two a reader takes is its own choice
    ZipArchive::create(entries, folder / "aula" / "deck.pptx");
    DeckTransformer::prepare(folder / "aula/deck.pptx", folder / "prepared.pptx", {}, {}, 1000, 1500);
    DeckModel prepared(folder / "prepared.pptx");
    const auto plan = RenderPlanReader::read(prepared);

    const auto confined = LinkSweep::sweep(prepared, plan, {folder / "aula", false});
    // The layout's picture is reported for the first visible slide that shows it.
    const auto outside = DeckLinks::Refusal::outsideFolder;
    EXPECT_EQ(confined.notFollowed,
              (std::vector<DeckLinks::NotFollowed>{{2, "picture", "file://" + (folder / "fora.png").string(), outside},
                                                   {2, "picture", "../fora.png", outside},
                                                   {2, "picture", "pipe.png", DeckLinks::Refusal::notRegularFile}}));
    EXPECT_EQ(toString(confined.replaced.at("ppt/media/twice.png")), "\x89PNG");
    EXPECT_EQ(confined.added.size(), 1u) << "the inside picture, read back from the storyboard below";
    const auto allowed = LinkSweep::sweep(prepared, plan, {folder / "aula", true});
    EXPECT_EQ(allowed.added.size(), 2u);

    Storyboard::write(prepared, plan, Storyboard::layout(plan), folder / "storyboard.pptx", confined);
    PptxArchive::Deck storyboard(folder / "storyboard.pptx");
    for (const auto& name : ZipArchive::entryNames(folder / "storyboard.pptx")) {
        const std::string text = toString(storyboard.readEntryBytes(name));
        EXPECT_EQ(text.find("External"), std::string::npos) << name;
        EXPECT_EQ(text.find("/etc/"), std::string::npos) << name;
    }
    const std::string slide = storyboard.readEntry("ppt/slides/slide2.xml");
    EXPECT_THAT(slide, HasSubstr("<a:blip r:embed=\"rId2\"/>"));
    EXPECT_THAT(slide, HasSubstr("<a:blip r:embed=\"rId5\" r:link=\"rId3\"/>"));
    EXPECT_THAT(storyboard.readEntry("ppt/slides/_rels/slide2.xml.rels"),
                HasSubstr("Id=\"rId2\" Type=\"" + std::string(kNsR) +
                          "/image\" Target=\"../media/linked-picture1.png\""));
    EXPECT_EQ(storyboard.readEntry("ppt/media/linked-picture1.png"), "inside picture");
    EXPECT_THAT(storyboard.readEntry("[Content_Types].xml"),
                HasSubstr("/ppt/media/linked-picture1.png\" ContentType=\"image/png"));
}
