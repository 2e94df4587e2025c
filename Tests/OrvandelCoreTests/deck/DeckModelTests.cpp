#include <gtest/gtest.h>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "deck/DeckModel.hpp"

using namespace orvandel;
using namespace orvandel::test;

TEST(DeckModelTest, RelationshipsAndTheirTargets) {
    EXPECT_EQ(Relationships::relsPath("/ppt//slide3.xml"), "ppt/_rels/slide3.xml.rels");
    for (const auto& [target, resolved] :
         std::vector<std::pair<std::string, std::string>>{{"/ppt/media/a.png", "ppt/media/a.png"},
                                                          {"../media/a.png", "ppt/media/a.png"},
                                                          {"./a/../../../../b.xml", "b.xml"},
                                                          {"notesSlides//n1.xml", "ppt/slides/notesSlides/n1.xml"}}) {
        EXPECT_EQ(Relationships::resolveEntry(target, "ppt/slides/slide3.xml"), resolved) << target;
    }
    // Any attribute order, either quote, a prefix, line breaks inside a tag.
    const auto read = Relationships::parse(
        "<r:Relationships xmlns:r=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
        "<r:Relationship\n Target='../n.xml'\n Type=\"http://x/notesSlide\" Id=\"rId2\"/>"
        "<r:Relationship Id=\"rId3\" Type=\"http://x/hyperlink\" Target=\"http://e.org/\" TargetMode=\"External\"/>"
        "</r:Relationships>");
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0], (Relationship{"rId2", "http://x/notesSlide", "../n.xml", ""}));
    EXPECT_TRUE(!read[0].external() && read[1].external());
    EXPECT_THROW(Relationships::parse("<Relationships><Relationship Id=\"a\">"), XmlParseError);
}

TEST(DeckModelTest, AnswersFromOneReadingOfTheDeck) {
    TempDir dir;
    const std::string notes = "ppt/notesSlides/notesSlide1.xml";
    DeckModel deck(DeckBuilder()
                       .addSlide(slideXml("", "<p:transition spd=\"slow\"><p:fade/></p:transition>"),
                                 {{"rId1", "notesMaster", "../notesMasters/m.xml"},
                                  {"rId2", "notesSlide", "/" + notes},
                                  {"rId3", "notesSlide", "../notesSlides/other.xml"}})
                       .addSlide(slideXml("", "", "show=\"0\""))
                       .write(dir / "deck.pptx"));
    const auto& slides = deck.slideFiles();
    ASSERT_EQ(slides.size(), 2u);
    EXPECT_EQ(deck.slides(), (std::vector<Slide>{{slides[0], 1, false}, {slides[1], 2, true}}));
    // The first notes relationship counts; a slide without relationships has none.
    EXPECT_EQ(deck.notesPart(slides[0]), notes);
    EXPECT_EQ(deck.notesPart(slides[1]), std::nullopt);
    EXPECT_EQ(deck.transitions(),
              (std::map<std::string, std::string>{{slides[0], "<p:transition spd=\"slow\"><p:fade/></p:transition>"}}));
    // Every part asked again is answered from what was inflated the first time.
    const std::size_t inflated = deck.partsInflated();
    deck.part(slides[0]);
    deck.transitions();
    EXPECT_EQ(deck.partsInflated(), inflated);
    EXPECT_EQ(thrown<PptxArchive::ArchiveError>([&] { deck.part("ppt/none.xml"); }).entry(), "ppt/none.xml");
}
