#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "encode/FrameSchedule.hpp"
#include "pixels/PageRasterizer.hpp"
#include "plan/FrameSize.hpp"
#include "plan/RenderPlan.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;
using testing::HasSubstr;

TEST(TimelineTest, EveryStillLastsItsMillisecondsMovingMediaTake30FramesASecondAndTheTotalIsExact) {
    const std::vector<ScheduledStill> entries{{"a.y4m", 1234}, {"it's.y4m", 2500}};
    EXPECT_EQ(FrameSchedule::ffconcat(entries, 1000), "ffconcat version 1.0\n"
                                                      "file 'a.y4m'\nduration 1\n"
                                                      "file 'a.y4m'\nduration 0.234\n"
                                                      "file 'it'\\''s.y4m'\nduration 1\n"
                                                      "file 'it'\\''s.y4m'\nduration 1\n"
                                                      "file 'it'\\''s.y4m'\nduration 0.499\n"
                                                      "file 'it'\\''s.y4m'\n");
    EXPECT_EQ(FrameSchedule::frames(entries, 1000).size(), 6u);
    // Without periodic frames: one frame per still plus the closing one.
    EXPECT_EQ(FrameSchedule::ffconcat({{"a.y4m", 1}}, 0), "ffconcat version 1.0\nfile 'a.y4m'\n");
    EXPECT_EQ(FrameSchedule::frames(entries, 0).size(), 3u);

    // Where media move: 30 frames a second.
    const std::vector<ScheduledStill> media{{"a.y4m", 1500}, {"b.y4m", 2000}};
    // 1200..1300 at 33, 33, 34 ms; b starts on its own frame at 1500.
    EXPECT_THAT(FrameSchedule::ffconcat(media, 1000, {{1200, 1300}, {3400, 3500}}),
                HasSubstr("duration 0.2\nfile 'a.y4m'\nduration 0.033\nfile 'a.y4m'\nduration 0.033\nfile 'a.y4m'\n"
                          "duration 0.034\nfile 'a.y4m'\nduration 0.2\nfile 'b.y4m'\nduration 1\n"));
    // Three frames at 30 per second where each span lies, one more after each
    // start, and the last span's third frame cut short by the closing one.
    EXPECT_EQ(FrameSchedule::frames(media, 1000, {{1200, 1300}, {3400, 3500}}).size(), 12u);
}

TEST(RenderPlanTest, FramesFitTheSlideAndPagesAreDealtToWorkersInRuns) {
    EXPECT_EQ(fitFrame(12192000, 6858000), (FrameSize{1920, 1080}));
    EXPECT_EQ(fitFrame(9144000, 6858000), (FrameSize{1440, 1080}));
    EXPECT_EQ(fitFrame(6858000, 9144000), (FrameSize{810, 1080}));  // portrait, even sides
    EXPECT_EQ(fitFrame(0, 0), (FrameSize{1920, 1080}));

    using Runs = std::vector<std::vector<std::pair<int, int>>>;
    EXPECT_EQ(PageRasterizer::planRuns({1, 2, 3, 5, 6, 9}, 2, 8), (Runs{{{1, 3}}, {{5, 6}, {9, 9}}}));
    EXPECT_EQ(PageRasterizer::planRuns({4, 1, 2, 3}, 1, 2), (Runs{{{1, 2}, {3, 4}}}));
    EXPECT_EQ(PageRasterizer::planRuns({7}, 4, 8), (Runs{{{7, 7}}}));
    EXPECT_TRUE(PageRasterizer::planRuns({}, 2, 8).empty());
}

TEST(RenderPlanTest, AdvanceTimeComesFromTheTransitionBlockOnly) {
    const std::string prefix = "<p:sld><p:cSld><p:spTree><a:x advTm=\"9\"/></p:spTree></p:cSld>";
    EXPECT_EQ(RenderPlanReader::advanceTimeMs(prefix + TransitionWriter::block(7500) + "</p:sld>"), 7500);
    EXPECT_EQ(RenderPlanReader::advanceTimeMs(prefix + "<p:transition spd=\"slow\"/></p:sld>"), std::nullopt);
    EXPECT_EQ(RenderPlanReader::advanceTimeMs(prefix + "</p:sld>"), std::nullopt);
}
