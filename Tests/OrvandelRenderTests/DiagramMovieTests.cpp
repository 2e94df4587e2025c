#include <gtest/gtest.h>

#include <functional>

#include "AnimatedSlides.hpp"
#include "GraphicParts.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

// The boxes of a still: regions of the diagrams' dark blue (gray about 69)
// larger than any glyph, counted below the slide's top quarter.
int boxesIn(const std::string& frame) {
    std::vector<bool> seen(frame.size());
    const auto blue = [&](int x, int y) {
        const auto v = static_cast<unsigned char>(frame[std::size_t(y) * kWidth + x]);
        return v > 45 && v < 95;
    };
    int boxes = 0;
    for (int y0 = kHeight / 4; y0 < kHeight; ++y0) {
        for (int x0 = 0; x0 < kWidth; ++x0) {
            if (seen[std::size_t(y0) * kWidth + x0] || !blue(x0, y0)) continue;
            std::vector<std::pair<int, int>> stack{{x0, y0}};
            seen[std::size_t(y0) * kWidth + x0] = true;
            int area = 0;
            while (!stack.empty()) {
                const auto [x, y] = stack.back();
                stack.pop_back();
                ++area;
                for (const auto& [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
                    const int nx = x + dx, ny = y + dy;
                    if (nx < 0 || ny < kHeight / 4 || nx >= kWidth || ny >= kHeight) continue;
                    if (seen[std::size_t(ny) * kWidth + nx] || !blue(nx, ny)) continue;
                    seen[std::size_t(ny) * kWidth + nx] = true;
                    stack.push_back({nx, ny});
                }
            }
            boxes += area > 400;
        }
    }
    return boxes;
}

}  // namespace

// A diagram whose data lists six items in no layout LibreOffice knows, and
// whose saved drawing has them in two rows of three: every box PowerPoint
// drew is in the still. Built one element per click, the same drawing shows
// one more box at each step.
TEST(DiagramMovieTest, DiagramsShowTheBoxesOfTheirSavedDrawingStepByStep) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    DeckBuilder deck;
    for (const auto& [name, xml] : diagramDefinitionParts()) deck.addEntry(name, xml);
    deck.addSlide(slideXml(diagramFrame("4")), diagramRelationships())
        .addSlide(slideXml(diagramFrame("4"), timing(click(fade("clickEffect", diagramPart("4", 0))) +
                                                     click(fade("clickEffect", diagramPart("4", 1))) +
                                                     click(fade("clickEffect", diagramPart("4", 2))))),
                  diagramRelationships())
        .addEntry("ppt/diagrams/data1.xml", diagramDataXml(6))
        .addEntry("ppt/diagrams/drawing1.xml", diagramDrawingXml(6, 3))
        .write(dir.path() / "deck.pptx");
    DeckTransformer::prepare(dir.path() / "deck.pptx", dir.path() / "prepared.pptx", {}, {}, 1000, 1500);
    HeadlessRenderer::Options options;
    options.keepStillsIn = dir.path() / "stills";
    options.drawEffects = false;
    HeadlessRenderer(options).export_(dir.path() / "prepared.pptx", dir.path() / "master.mp4", {}, {});
    const auto boxes = [&](int page) {
        return boxesIn(grayFrames(dir.path() / "stills" / ("still-" + std::to_string(page) + ".tif")));
    };
    // Page 1: the whole diagram; pages 2 to 5: none of the first three items, then one more each.
    EXPECT_EQ(boxes(1), 6);
    for (int page = 2; page <= 5; ++page) EXPECT_EQ(boxes(page), 3 + (page - 2)) << "page " << page;
}
