#include <gtest/gtest.h>

#include <memory>

#include "AnimatedSlides.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "plan/RenderPlan.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

// A black square, 1828800 EMU (72 movie pixels) a side, its top left corner at (x, y) EMU.
std::string square(const std::string& id, long x, long y) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + id + "\" name=\"Quadrado " + id +
           "\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr><a:xfrm><a:off x=\"" + std::to_string(x) + "\" y=\"" +
           std::to_string(y) +
           "\"/><a:ext cx=\"1828800\" cy=\"1828800\"/></a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/>"
           "</a:prstGeom><a:solidFill><a:srgbClr val=\"000000\"/></a:solidFill></p:spPr></p:sp>";
}

std::string effect(const std::string& attributes, const std::string& behaviour, const std::string& iterate = "") {
    return "<p:par><p:cTn " + attributes +
           " fill=\"hold\" nodeType=\"clickEffect\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst>" + iterate +
           "<p:childTnLst>" + behaviour + "</p:childTnLst></p:cTn></p:par>";
}

// The columns of the frame's pixels darker than `below` in rows [top, bottom): first and last, or (-1, -1).
std::pair<int, int> darkColumns(const std::string& frame, int top, int bottom, int below = 96) {
    int first = -1, last = -1;
    for (int y = top; y < bottom; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            if (static_cast<unsigned char>(frame[std::size_t(y) * kWidth + std::size_t(x)]) >= below) continue;
            first = first < 0 ? x : std::min(first, x);
            last = std::max(last, x);
        }
    }
    return {first, last};
}

}  // namespace

// A deck built in code, prepared and rendered with its effects drawn:
// 1. a square that moves half the slide to the right along a motion path
//    (2 s), then a square that grows to 150 % (1 s), then a text box that
//    fades in: both squares keep what their effects left them;
// 2. a line of four words that fade in one after another.
class MovedShapesMovieTest : public RenderedOnce<MovedShapesMovieTest> {
public:
    static void render() {
        const std::string path =
            effect("presetID=\"42\" presetClass=\"path\"",
                   "<p:animMotion origin=\"layout\" path=\"M 0 0 L 0.5 0 E\" pathEditMode=\"relative\"><p:cBhvr>"
                   "<p:cTn dur=\"2000\" fill=\"hold\"/><p:tgtEl>" +
                       shape("4") + "</p:tgtEl></p:cBhvr></p:animMotion>");
        const std::string grow = effect("presetID=\"6\" presetClass=\"emph\"",
                                        "<p:animScale><p:cBhvr><p:cTn dur=\"1000\" fill=\"hold\"/><p:tgtEl>" +
                                            shape("7") +
                                            "</p:tgtEl></p:cBhvr><p:by x=\"150000\" y=\"150000\"/>"
                                            "</p:animScale>");
        std::string words = fade("clickEffect", shape("6"));
        words.insert(words.find("<p:childTnLst>"), "<p:iterate type=\"wd\"><p:tmPct val=\"50000\"/></p:iterate>");
        DeckBuilder()
            .addSlide(slideXml(square("4", 838200, 914400) + square("7", 8534400, 3200400) +
                                   textBox("5", 5486400, para("Depois")),
                               timing(click(path) + click(grow) + click(fade("clickEffect", shape("5"))))))
            .addSlide(slideXml(textBox("6", 1825625, para("um dois tres quatro")), timing(click(words))))
            .write(*dir_ / "deck.pptx");
        DeckTransformer::prepare(*dir_ / "deck.pptx", *dir_ / "prepared.pptx", {}, {}, 1000, 1500);
        plan_ = RenderPlanReader::read(*dir_ / "prepared.pptx");
        HeadlessRenderer().export_(*dir_ / "prepared.pptx", *dir_ / "movie.mp4", {});
        movie_ = std::make_unique<MovieFrames>(*dir_ / "movie.mp4");
    }

    static inline RenderPlan plan_;
    static inline std::unique_ptr<MovieFrames> movie_;
};

TEST_F(MovedShapesMovieTest, APathEndsWhereItsPathEndsAndTheShapeStaysThere) {
    const auto& states = plan_.slides.at(0).playout.states;
    ASSERT_EQ(states.size(), 4u);  // at the start, after the path, after the grow, with the text
    // The path's state begins when it ends: it runs over the 2 s before.
    const std::int64_t end = states[1].startMs, start = end - 2000;
    // The square's left edge: 33 px, then half the movie's width (240 px) further right, linearly (±3 px).
    for (const auto& [atMs, left] : std::vector<std::pair<std::int64_t, int>>{{start - 1, 33},
                                                                              {start + 500, 93},
                                                                              {start + 1000, 153},
                                                                              {start + 1500, 213},
                                                                              {end, 273},
                                                                              {states[3].startMs + 600, 273}}) {
        const auto [first, last] = darkColumns(movie_->shownAt(atMs), 40, 100);
        EXPECT_NEAR(first, left, 3) << atMs;
        EXPECT_NEAR(last - first, 71, 3) << atMs;
    }
}

TEST_F(MovedShapesMovieTest, AGrownShapeStaysGrownAndWordsComeInTurn) {
    const auto& states = plan_.slides.at(0).playout.states;
    ASSERT_EQ(states.size(), 4u);
    // The second square (left edge 336 px, 72 px wide) grows about its centre to 108 px, and stays so.
    const auto before = darkColumns(movie_->shownAt(states[2].startMs - 1001), 112, 212);
    const auto grown = darkColumns(movie_->shownAt(states[3].startMs + 600), 112, 212);
    EXPECT_NEAR(before.second - before.first, 71, 3);
    EXPECT_NEAR(grown.second - grown.first, 107, 4);
    EXPECT_NEAR(grown.first + grown.second, before.first + before.second, 4);  // same centre

    // The words: while the step plays, the ink spreads from the left; at its end the whole line is there.
    const std::int64_t slide2 = plan_.slides.at(0).advanceTimeMs;
    const auto& words = plan_.slides.at(1).playout.states;
    ASSERT_EQ(words.size(), 2u);
    const std::int64_t shown = slide2 + words[1].startMs;
    const auto whole = darkColumns(movie_->shownAt(slide2 + plan_.slides.at(1).advanceTimeMs - 1), 70, 120, 200);
    ASSERT_GT(whole.second, whole.first);
    int previous = whole.first;
    for (const std::int64_t atMs : {shown + 200, shown + 450, shown + 700}) {
        const auto now = darkColumns(movie_->shownAt(atMs), 70, 120, 200);
        EXPECT_GE(now.second, previous) << atMs;
        EXPECT_LT(now.second, whole.second - 10) << atMs;
        previous = now.second;
    }
}
