#include "deck/DeckFonts.hpp"

#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "ThemedDeck.hpp"

using namespace orvandel;

namespace {

std::string run(const std::string& rPr) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"5\" name=\"x\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr/><p:txBody>"
           "<a:bodyPr/><a:p><a:r><a:rPr>" +
           rPr + "</a:rPr><a:t>x</a:t></a:r></a:p></p:txBody></p:sp>";
}

}  // namespace

// Where each typeface is first used: through the master's theme references,
// the layout, the slide itself; hidden slides and unreferenced theme fonts
// (script variants, a complex-script font nothing names) use none.
TEST(DeckFontsTest, FirstUseThroughThemeMasterLayoutAndSlide) {
    test::TempDir dir;
    test::DeckBuilder deck;
    deck.addSlide(test::slideXml(run("<a:latin typeface=\"Hidden Only\"/>"), "", "show=\"0\""), {test::kLayoutRel})
        .addSlide(test::slideXml(run("<a:latin typeface=\"\"/><a:sym typeface=\"Wingdings\"/>")), {test::kLayoutRel})
        .addSlide(test::slideXml(run("<a:cs typeface=\"Hidden Only\"/><a:latin typeface=\"Rockwell\"/>")),
                  {test::kLayoutRel});
    test::addTheme(deck, 3,
                   test::fontThemeXml("<a:latin typeface=\"Calibri Light\"/><a:ea typeface=\"\"/><a:cs "
                                      "typeface=\"Mangal\"/><a:font script=\"Jpan\" typeface=\"Yu Gothic Light\"/>",
                                      "<a:latin typeface=\"Calibri\"/><a:ea typeface=\"Meiryo\"/><a:cs typeface=\"\"/>"
                                      "<a:font script=\"Hang\" typeface=\"Malgun Gothic\"/>"),
                   test::masterXml("<a:latin typeface=\"+mj-lt\"/><a:ea typeface=\"+mj-ea\"/>",
                                   "<a:latin typeface=\"+mn-lt\"/><a:ea typeface=\"+mn-ea\"/>"),
                   test::layoutXml(run("<a:latin typeface=\"Georgia\"/>")));
    DeckModel model(deck.write(dir / "fonts.pptx"));
    const auto fonts = DeckFonts::read(model);

    // Meiryo (East Asian) and Hidden Only (complex script where it shows) draw no Latin text.
    const std::vector<DeckFonts::Typeface> expected{{"Calibri", 2, true},   {"Calibri Light", 2, true},
                                                    {"Georgia", 2, true},   {"Meiryo", 2, false},
                                                    {"Wingdings", 2, true}, {"Hidden Only", 3, false},
                                                    {"Rockwell", 3, true},  {"Malgun Gothic", 0, false},
                                                    {"Mangal", 0, false},   {"Yu Gothic Light", 0, false}};
    EXPECT_EQ(fonts.typefaces, expected);
}

// A shape style's font reference picks the theme's font; a slide without a
// layout, or a deck without a theme, names only what it writes itself.
TEST(DeckFontsTest, FontReferencesAndDecksWithoutTheme) {
    test::TempDir dir;
    const std::string styled =
        "<p:sp><p:nvSpPr><p:cNvPr id=\"6\" name=\"s\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr/><p:style>"
        "<a:fontRef idx=\"major\"/></p:style></p:sp>";
    test::DeckBuilder themed;
    themed.addSlide(test::slideXml(styled), {test::kLayoutRel})
        .addSlide(test::slideXml(run("<a:latin typeface=\"+mn-lt\"/>")));
    test::addTheme(themed, 2, test::fontThemeXml("<a:latin typeface=\"Major\"/>", "<a:latin typeface=\"Minor\"/>"),
                   test::masterXml("", ""), test::layoutXml());
    DeckModel withTheme(themed.write(dir / "themed.pptx"));
    EXPECT_EQ(DeckFonts::read(withTheme).typefaces,
              (std::vector<DeckFonts::Typeface>{{"Major", 1, true}, {"Minor", 0, false}}));

    DeckModel plain(test::DeckBuilder()
                        .addSlide(test::slideXml(run("<a:latin typeface=\"+mj-lt\"/><a:ea typeface=\"Arial\"/>")))
                        .write(dir / "plain.pptx"));
    const auto fonts = DeckFonts::read(plain);
    EXPECT_EQ(fonts.typefaces, (std::vector<DeckFonts::Typeface>{{"Arial", 1, false}}));
}
