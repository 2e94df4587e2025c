#include <gtest/gtest.h>

#include "AnimatedSlides.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "ThemedDeck.hpp"

using namespace orvandel;

namespace {

// A deck whose title (drawn with the theme's major font) is one long line;
// its body names `bodyFont` on slides 2 and 3.
std::filesystem::path writeDeck(const std::filesystem::path& path, const std::string& majorFont,
                                const std::string& bodyFont) {
    const std::string title = test::textBox(
        "2", 365125,
        "<a:p><a:r><a:rPr lang=\"pt-BR\" sz=\"3600\"><a:latin typeface=\"+mj-lt\"/></a:rPr><a:t>Ensino por projetos "
        "com avaliacao continua</a:t></a:r></a:p>");
    const std::string body = test::textBox("3", 3000000,
                                           "<a:p><a:r><a:rPr lang=\"pt-BR\" sz=\"2800\"><a:latin typeface=\"" +
                                               bodyFont + "\"/></a:rPr><a:t>corpo</a:t></a:r></a:p>");
    test::DeckBuilder deck;
    deck.addSlide(test::slideXml(title, "<p:transition advTm=\"1000\"/>"), {test::kLayoutRel});
    for (int i = 0; i < 2; ++i)
        deck.addSlide(test::slideXml(body, "<p:transition advTm=\"1000\"/>"), {test::kLayoutRel});
    test::addTheme(deck, 3,
                   test::fontThemeXml("<a:latin typeface=\"" + majorFont + "\"/>", "<a:latin typeface=\"Carlito\"/>"),
                   test::masterXml("<a:latin typeface=\"+mj-lt\"/>", "<a:latin typeface=\"+mn-lt\"/>"),
                   test::layoutXml());
    return deck.write(path);
}

// The columns between the first and the last with ink in the title's rows.
int titleInkWidth(const std::string& frame) {
    int left = test::kWidth, right = -1;
    for (int y = 0; y < test::kHeight / 4; ++y) {
        for (int x = 0; x < test::kWidth; ++x) {
            if (static_cast<unsigned char>(frame[std::size_t(y) * test::kWidth + x]) < 128) {
                left = std::min(left, x);
                right = std::max(right, x);
            }
        }
    }
    return right - left + 1;
}

}  // namespace

// Calibri Light is drawn with Carlito's advance widths, and a font nowhere
// to be found is said once, though two slides use it.
TEST(DeckFontsRenderTest, ThemeFontsDrawnWithTheirTwinAndAMissingFontWarnsOnce) {
    if (!test::canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    test::TempDir dir;
    std::map<std::string, int> widths;
    std::vector<Warning> warned;
    for (const std::string major : {"Calibri Light", "Carlito"}) {
        HeadlessRenderer::Options options;
        options.keepStillsIn = dir / major;
        std::vector<Warning> warnings;
        RenderHooks hooks;
        hooks.warn = [&](const Warning& w) { warnings.push_back(w); };
        HeadlessRenderer(options).export_(writeDeck(dir / "deck.pptx", major, "Orvandel Missing Sans"),
                                          dir / "master.mp4", {}, hooks);
        widths[major] = titleInkWidth(test::grayFrames(dir / major / "still-1.tif"));
        if (major == "Calibri Light") warned = warnings;
    }
    EXPECT_GT(widths["Carlito"], test::kWidth / 2);
    EXPECT_NEAR(widths["Calibri Light"], widths["Carlito"], widths["Carlito"] * 0.02);
    ASSERT_EQ(warned.size(), 1u);
    EXPECT_EQ(warned[0], Warning::fontSubstituted(2, "Orvandel Missing Sans", "Liberation Sans"));
}
