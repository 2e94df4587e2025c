#include <gtest/gtest.h>

#include <memory>

#include "LibreOfficeMp4Exporter.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "render/Mp4Duration.hpp"
#include "rewrite/DeckTransformer.hpp"

using namespace orvandel;
using namespace orvandel::test;

// The bundled deck, prepared and rendered once for the suite. Its slides
// start at 0, 1.5 (three paragraph builds), 7.5, 13.5, 18, 23.5 (an exit)
// and 26.5 s; slide 7 is hidden; the movie lasts 32.5 s.
class ExampleDeckMovieTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (slowTestsSkipped() || !haveProgram("soffice") || !haveProgram("ffmpeg") || !haveProgram("pdftocairo")) {
            return;
        }
        dir_ = std::make_unique<TempDir>();
        DeckTransformer::prepare(sourceDir() / "examples" / "aula-exemplo.pptx", *dir_ / "prepared.pptx", {}, {{4, 3000}},
                                 1000, 1500);
        LibreOfficeMp4Exporter().export_(*dir_ / "prepared.pptx", *dir_ / "master.mp4", {});
        movie_ = std::make_unique<MovieFrames>(*dir_ / "master.mp4");
    }
    static void TearDownTestSuite() {
        movie_.reset();
        dir_.reset();
    }
    void SetUp() override {
        if (!movie_) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    }

    static inline std::unique_ptr<TempDir> dir_;
    static inline std::unique_ptr<MovieFrames> movie_;
};

TEST_F(ExampleDeckMovieTest, EachBulletAppearsOnItsPlannedMillisecond) {
    // Slide 2's paragraphs come in 1, 2.5 and 4 s after it opens, each one
    // line more of text than the frame a millisecond before.
    std::vector<int> lines;
    for (std::int64_t ms : {1500, 2499, 2500, 3999, 4000, 5499, 5500, 7499}) lines.push_back(movie_->inkRowsAt(ms));
    EXPECT_EQ(lines[0], 0);
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (i % 2) {
            EXPECT_EQ(lines[i], lines[i - 1]) << i;
        } else {
            EXPECT_GT(lines[i], lines[i - 1]) << i;
        }
    }
}

TEST_F(ExampleDeckMovieTest, TheMythLeavesAsItsExitEnds) {
    // Slide 6's box fades out from 0.5 s and is gone at 0.999 s.
    EXPECT_EQ(movie_->shownAt(24498), movie_->shownAt(23500));
    EXPECT_NE(movie_->shownAt(24499), movie_->shownAt(24498));
}

TEST_F(ExampleDeckMovieTest, TheMovieLastsExactlyThePlan) {
    EXPECT_EQ(Mp4Duration::measureMs(*dir_ / "master.mp4"), 32500);
}
