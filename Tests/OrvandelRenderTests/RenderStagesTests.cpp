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
    const auto times = [](const std::vector<ScheduledFrame>& frames) {
        std::vector<std::pair<std::int64_t, std::size_t>> out;
        for (const auto& f : frames) out.emplace_back(f.startMs, f.entry);
        return out;
    };
    using Frames = std::vector<std::pair<std::int64_t, std::size_t>>;
    const std::vector<ScheduledStill> entries{{"a.y4m", 1234}, {"b.y4m", 2500}};
    // A frame at least every second, and a closing one on the last millisecond.
    EXPECT_EQ(times(FrameSchedule::frames(entries, 1000)),
              (Frames{{0, 0}, {1000, 0}, {1234, 1}, {2234, 1}, {3234, 1}, {3733, 1}}));
    // Without periodic frames: one frame per still plus the closing one.
    EXPECT_EQ(times(FrameSchedule::frames(entries, 0)), (Frames{{0, 0}, {1234, 1}, {3733, 1}}));

    // Where media move: 30 frames a second; b starts on its own frame at 1500.
    const std::vector<ScheduledStill> media{{"a.y4m", 1500}, {"b.y4m", 2000}};
    EXPECT_EQ(times(FrameSchedule::frames(media, 1000, {{1200, 1300}, {3400, 3500}})), (Frames{{0, 0},
                                                                                               {1000, 0},
                                                                                               {1200, 0},
                                                                                               {1233, 0},
                                                                                               {1266, 0},
                                                                                               {1300, 0},
                                                                                               {1500, 1},
                                                                                               {2500, 1},
                                                                                               {3400, 1},
                                                                                               {3433, 1},
                                                                                               {3466, 1},
                                                                                               {3499, 1}}));
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
