#include <gtest/gtest.h>

#include <algorithm>

#include "AnimatedSlides.hpp"
#include "FontFixtures.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;

namespace {

const std::filesystem::path kMonoFont = "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf";

// Two lines in the embedded family, i's and M's: a monospaced font draws them
// equally wide, the proportional fallback does not.
std::string slide() {
    const auto line = [](const std::string& text) {
        return "<a:p><a:r><a:rPr lang=\"en-US\" sz=\"2800\"><a:latin typeface=\"OrvandelTestFace\"/></a:rPr><a:t>" +
               text + "</a:t></a:r></a:p>";
    };
    return test::slideXml(test::textBox("2", 1825625, line("iiiiiiiiiiiiiiii")) +
                          test::textBox("3", 3600000, line("MMMMMMMMMMMMMMMM")));
}

// The width of the ink in rows [top, bottom) of a gray frame.
int inkWidth(const std::string& frame, int top, int bottom) {
    int left = test::kWidth, right = -1;
    for (int y = top; y < bottom; ++y) {
        for (int x = 0; x < test::kWidth; ++x) {
            if (static_cast<unsigned char>(frame[std::size_t(y) * test::kWidth + std::size_t(x)]) < 128) {
                left = std::min(left, x);
                right = std::max(right, x);
            }
        }
    }
    return right - left;
}

}  // namespace

TEST(EmbeddedFontMovieTest, TextIsDrawnInTheFontTheDeckEmbedsAndOnlyThen) {
    if (!test::canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    if (!std::filesystem::exists(kMonoFont)) GTEST_SKIP() << "needs " << kMonoFont;
    Bytes font = readFile(kMonoFont);
    test::renameFont(font, "DejaVu Sans Mono", "OrvandelTestFace");  // a family no system has
    test::renameFont(font, "DejaVuSansMono", "OrvandelTestFc");
    test::TempDir dir;
    for (const bool embedded : {true, false}) {
        SCOPED_TRACE(embedded ? "embedded" : "not embedded");
        test::DeckBuilder deck;
        deck.addSlide(slide());
        if (embedded)
            deck.addEmbeddedFont("OrvandelTestFace", "regular", "ppt/fonts/font1.fntdata",
                                 test::eotContainer(font, 0x10000000, 0x00020002, "OrvandelTestFace"));
        const auto name = std::string(embedded ? "with" : "without");
        deck.write(dir / (name + ".pptx"));
        DeckTransformer::prepare(dir / (name + ".pptx"), dir / (name + "-prepared.pptx"), {}, {}, 1000, 1500);
        std::filesystem::create_directories(dir / name);
        HeadlessRenderer::Options options;
        options.keepStillsIn = dir / (name + "-stills");
        HeadlessRenderer(options).export_(dir / (name + "-prepared.pptx"), dir / name / "master.mp4", {});
        const auto still = test::grayFrames(dir / (name + "-stills") / "still-1.tif");
        const int narrow = inkWidth(still, 72, 127), wide = inkWidth(still, 142, 197);
        ASSERT_GT(wide, 50);
        if (embedded) EXPECT_NEAR(narrow, wide, wide / 10);
        else EXPECT_LT(narrow, wide * 6 / 10);
        EXPECT_TRUE(test::entriesNamed(dir / name, ".render-").empty());
    }
}
