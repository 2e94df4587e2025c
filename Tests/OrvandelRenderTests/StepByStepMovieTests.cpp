#include <gtest/gtest.h>

#include <memory>

#include "AnimatedSlides.hpp"
#include "GraphicParts.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "render/Mp4Duration.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
using namespace orvandel::test;

// One deck built in code, prepared and rendered once for the suite:
// 1. three bulleted paragraphs, one per click (a build by paragraph): states
//    at 0, 1, 2.5 and 4 s of its 6 s; storyboard pages 1 to 4;
// 2. a text box that comes in whole on a click, then one that leaves on the
//    next: states at 0, 1 and 2.5 s of its 4.5 s; pages 5 to 7;
// 3. hidden: no time in the movie; page 8;
// 4. a numbered list whose first paragraph comes in on a click while the
//    second is there from the start: states at 0 and 1 s of its 3 s; pages 9, 10;
// 5. a column chart built by series, 3 clicks: states at 0, 1, 2.5 and 4 s of
//    its 6 s; pages 11 to 14;
// 6. a column chart built by category, likewise: pages 15 to 18;
// 7. a diagram of three boxes built one by one, likewise: pages 19 to 22.
class StepByStepMovieTest : public RenderedOnce<StepByStepMovieTest> {
public:
    static void render() {
        DeckBuilder deck;
        for (const auto& [name, xml] : diagramDefinitionParts()) deck.addEntry(name, xml);
        deck.addSlide(bulletSlide())
            .addSlide(slideXml(textBox("4", 1825625, para("Entra inteira")) + textBox("5", 3825625, para("Sai")),
                               timing(click(fade("clickEffect", shape("4"))) +
                                      click(fade("clickEffect", shape("5"), false)))))
            .addSlide(slideXml(textBox("2", 365125, para("Escondido")), "", "show=\"0\""))
            .addSlide(slideXml(textBox("3", 1825625, para("Um", kNumbered) + para("Dois", kNumbered)),
                               timing(click(fade("clickEffect", paragraph(0))))))
            .addSlide(slideXml(chartFrame("4", "rIdG"),
                               timing(byParts("series", 0, -3) + byParts("series", 1, -3) + byParts("series", 2, -3))),
                      {{"rIdG", "chart", "../charts/chart1.xml"}})
            .addSlide(slideXml(chartFrame("4", "rIdG"), timing(byParts("category", -3, 0) + byParts("category", -3, 1) +
                                                               byParts("category", -3, 2))),
                      {{"rIdG", "chart", "../charts/chart2.xml"}})
            .addSlide(slideXml(diagramFrame("4"), timing(click(fade("clickEffect", diagramPart("4", 0))) +
                                                         click(fade("clickEffect", diagramPart("4", 1))) +
                                                         click(fade("clickEffect", diagramPart("4", 2))))),
                      diagramRelationships())
            .addEntry("ppt/charts/chart1.xml", columnChartXml(3, 2))
            .addEntry("ppt/charts/chart2.xml", columnChartXml(2, 3))
            .addEntry("ppt/diagrams/data1.xml", diagramDataXml(3))
            .addEntry("ppt/diagrams/drawing1.xml", diagramDrawingXml(3))
            .write(*dir_ / "deck.pptx");
        DeckTransformer::prepare(*dir_ / "deck.pptx", *dir_ / "prepared.pptx", {}, {}, 1000, 1500);
        HeadlessRenderer::Options options;
        options.keepStillsIn = *dir_ / "stills";
        options.drawEffects = false;  // each state from its first millisecond (drawn effects: DrawnEffectsMovieTest)
        HeadlessRenderer(options).export_(*dir_ / "prepared.pptx", *dir_ / "master.mp4", {},
                                          {.progress = [](ExportStage stage, double) {
                                              if (stages_.empty() || stages_.back() != stage) stages_.push_back(stage);
                                          }});
        movie_ = std::make_unique<MovieFrames>(*dir_ / "master.mp4");
    }
    static std::string byParts(const std::string& step, int series, int category) {
        return click(fade("clickEffect", chartPart("4", step, series, category)));
    }
    static std::string page(int n) { return grayFrames(*dir_ / "stills" / ("still-" + std::to_string(n) + ".tif")); }

    static inline std::unique_ptr<MovieFrames> movie_;
    static inline std::vector<ExportStage> stages_;
};

TEST_F(StepByStepMovieTest, EachStepStartsOnItsPlannedMillisecond) {
    EXPECT_EQ(Mp4Duration::measureMs(*dir_ / "master.mp4"), 31500);
    const auto& times = movie_->timesMs;
    for (std::int64_t change : {1000, 2500, 4000, 6000, 6000 + 1000, 6000 + 2500, 10500, 10500 + 1000}) {
        EXPECT_NE(std::find(times.begin(), times.end(), change), times.end()) << change;
        EXPECT_NE(movie_->shownAt(change), movie_->shownAt(change - 1)) << change;
    }
    // A frame at least every second, so that seeking lands on the right step.
    for (std::size_t i = 1; i < times.size(); ++i) EXPECT_LE(times[i] - times[i - 1], 1000) << times[i];
    // Before its first step a slide shows its title only: no paragraph, no bullet.
    EXPECT_TRUE(inkRows(movie_->shownAt(999)).empty());
    EXPECT_EQ(stages_, (std::vector<ExportStage>{ExportStage::readPlan, ExportStage::pdf, ExportStage::draw,
                                                 ExportStage::encode}));
    EXPECT_TRUE(entriesNamed(dir_->path(), ".render-").empty());
}

TEST_F(StepByStepMovieTest, TextAlreadyShownStaysInPlaceAsTheNextStepAppears) {
    for (int n : {1, 2, 3, 5, 9}) {
        const auto before = page(n), after = page(n + 1);
        EXPECT_LT(inkRows(before).size(), inkRows(after).size()) << "page " << n;
        EXPECT_TRUE(keepsText(before, after)) << "page " << n;
    }
    // The box with the exit is gone in the last state, the other one stays.
    EXPECT_GT(inkRows(page(6)).size(), inkRows(page(7)).size());
    EXPECT_TRUE(keepsText(page(7), page(6)));
}

// Each state of a chart or diagram build shows one more part (in the chart:
// a series, or one bar of each series) and keeps the ink the state before it
// drew where it was, axes and legend included.
TEST_F(StepByStepMovieTest, ChartsAndDiagramsGrowPartByPartWithoutMoving) {
    for (int first : {11, 15, 19}) {
        for (int n = first; n < first + 3; ++n) {
            const auto before = page(n), after = page(n + 1);
            const auto ink = [](const std::string& frame, std::size_t i) {
                return static_cast<unsigned char>(frame[i]) < 160;
            };
            std::size_t inkBefore = 0, inkAfter = 0, moved = 0;
            for (std::size_t i = std::size_t(kWidth) * kHeight / 4; i + 1 < before.size(); ++i) {
                inkBefore += ink(before, i);
                inkAfter += ink(after, i);
                // Where a bar comes in right beside another their shared edge blends.
                const bool besideNew = (!ink(before, i - 1) && ink(after, i - 1)) ||
                                       (!ink(before, i + 1) && ink(after, i + 1));
                moved += ink(before, i) && std::abs(int(before[i]) - int(after[i])) > 48 && !besideNew;
            }
            EXPECT_GT(inkAfter, inkBefore + 100) << "page " << n;
            EXPECT_EQ(moved, 0u) << "page " << n;
        }
    }
}
