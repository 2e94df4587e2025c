#include <gtest/gtest.h>

#include <memory>
#include <tuple>

#include "AnimatedSlides.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "encode/FrameSchedule.hpp"
#include "plan/RenderPlan.hpp"
#include "plan/SlideTransitions.hpp"
#include "render/Mp4Duration.hpp"
#include "rewrite/DeckTransformer.hpp"
#include "storyboard/Storyboard.hpp"

using namespace orvandel;
using namespace orvandel::test;

// A deck built in code, prepared, and rendered twice (effects drawn, and cut):
// 1. a text box that fades in (500 ms) on the first click, then one that
//    wipes in from the left on the second (the timing rewrite shortens it to
//    500 ms);
// 2. a slide that comes in with a slow fade transition (1 s).
class DrawnEffectsMovieTest : public RenderedOnce<DrawnEffectsMovieTest> {
public:
    static void render() {
        const auto wipe = [](const std::string& target) {
            std::string effect = fade("clickEffect", target);
            const std::string from = "filter=\"fade\"><p:cBhvr><p:cTn dur=\"500\"";
            return effect.replace(effect.find(from), from.size(), "filter=\"wipe(left)\"><p:cBhvr><p:cTn dur=\"1000\"");
        };
        DeckBuilder()
            .addSlide(slideXml(textBox("4", 1825625, para("Entra com fade, devagar")) +
                                   textBox("5", 3825625, para("Entra da esquerda")),
                               timing(click(fade("clickEffect", shape("4"))) + click(wipe(shape("5"))))))
            .addSlide(slideXml(textBox("4", 1825625, para("Outro slide")),
                               "<p:transition spd=\"slow\"><p:fade/></p:transition>"))
            .write(*dir_ / "deck.pptx");
        DeckTransformer::prepare(*dir_ / "deck.pptx", *dir_ / "prepared.pptx", {}, {}, 1000, 1500);
        plan_ = RenderPlanReader::read(*dir_ / "prepared.pptx");
        for (bool draw : {true, false}) {
            HeadlessRenderer::Options options;
            options.drawEffects = draw;
            const auto movie = *dir_ / (draw ? "drawn.mp4" : "cut.mp4");
            HeadlessRenderer(options).export_(
                RenderRequest{*dir_ / "prepared.pptx", DeckModel(*dir_ / "deck.pptx").transitions()}, movie, {});
            (draw ? drawn_ : cut_) = std::make_unique<MovieFrames>(movie);
        }
    }

    // How far each frame within [startMs, startMs + durationMs) has gone from
    // the still before the change to the one after it, where they differ:
    // by blending (mean share of the new still), or by revealing (the share
    // of columns of the changed area that show the new still).
    struct Progress {
        std::int64_t atMs;
        double expected, blended, revealed;
    };
    static std::vector<Progress> progress(std::int64_t startMs, std::int64_t durationMs) {
        const std::string before = drawn_->shownAt(startMs - 1), after = drawn_->shownAt(startMs + durationMs);
        const auto at = [](const std::string& f, std::size_t i) { return int(static_cast<unsigned char>(f[i])); };
        std::vector<Progress> out;
        for (const std::int64_t t : drawn_->timesMs) {
            if (t < startMs || t >= startMs + durationMs) continue;
            const std::string now = drawn_->shownAt(t);
            double share = 0;
            int changed = 0;
            std::vector<int> column(kWidth, 0);  // 0: unchanged, 1: changed, 2: shows the new still
            for (std::size_t i = 0; i < before.size(); ++i) {
                const int b = at(before, i), a = at(after, i);
                if (std::abs(a - b) < 96) continue;
                share += double(at(now, i) - b) / double(a - b);
                ++changed;
                column[i % kWidth] = std::max(column[i % kWidth], std::abs(at(now, i) - a) < 32 ? 2 : 1);
            }
            const auto columns = std::count_if(column.begin(), column.end(), [](int c) { return c > 0; });
            out.push_back({t, double(t - startMs) / double(durationMs), changed ? share / changed : 0,
                           columns ? double(std::count(column.begin(), column.end(), 2)) / double(columns) : 0});
        }
        return out;
    }

    static inline RenderPlan plan_;
    static inline std::unique_ptr<MovieFrames> drawn_, cut_;
};

TEST_F(DrawnEffectsMovieTest, FadesBlendAndWipesRevealOverTheirDurations) {
    const auto& states = plan_.slides.at(0).playout.states;
    ASSERT_EQ(states.size(), 3u);
    const std::int64_t slide2 = plan_.slides.at(0).advanceTimeMs;
    // What, when it starts, how long it runs, whether it reveals (a wipe) or blends.
    using Effect = std::tuple<const char*, std::int64_t, std::int64_t, bool>;
    for (const auto& [what, startMs, durationMs, wipe] : std::vector<Effect>{
             {"fade entrance", states[1].startMs, 500, false},
             {"wipe from the left", states[2].startMs, plan_.slides.at(0).playout.effects.at(2).durationMs, true},
             {"fade transition", slide2, 1000, false}}) {
        const auto frames = progress(startMs, durationMs);
        // At least 25 frames a second while the effect runs.
        EXPECT_GE(frames.size() * 1000, std::size_t(25 * durationMs)) << what;
        for (double at : {0.2, 0.25, 0.5, 0.75, 0.8}) {
            const auto frame = std::find_if(frames.rbegin(), frames.rend(),
                                            [&](const Progress& p) { return p.expected <= at; });
            ASSERT_NE(frame, frames.rend()) << what;
            EXPECT_NEAR(wipe ? frame->revealed : frame->blended, frame->expected, 0.1) << what << " at " << frame->atMs;
        }
    }
}

TEST_F(DrawnEffectsMovieTest, CutMovieKeepsTheFramesOfTheStillsOnly) {
    const auto layout = Storyboard::layout(plan_, true,
                                           SlideTransitions::ofMarkup(DeckModel(*dir_ / "deck.pptx").transitions()));
    std::vector<ScheduledStill> entries;
    for (const auto& shot : layout.shots) entries.push_back({"", shot.durationMs});
    std::vector<std::int64_t> expected;
    for (const auto& f : FrameSchedule::frames(entries, 1000)) expected.push_back(f.startMs);
    EXPECT_EQ(cut_->timesMs, expected);
    for (const char* movie : {"cut.mp4", "drawn.mp4"})
        EXPECT_EQ(Mp4Duration::measureMs(*dir_ / movie), plan_.totalMs());
    // With drawing too, every shot starts on its millisecond (a drawn one on
    // its first drawn frame, the one before showing the same picture).
    std::int64_t start = 0;
    for (const auto& shot : layout.shots) {
        const std::int64_t first = start + (shot.effect.drawn() && !shot.effect.drawnBeforeChange() ? 33 : 0);
        EXPECT_TRUE(std::binary_search(drawn_->timesMs.begin(), drawn_->timesMs.end(), first)) << start;
        start += shot.durationMs;
    }
}
