#include <gtest/gtest.h>

#include "FrameSize.hpp"
#include "PageRasterizer.hpp"
#include "RenderPlan.hpp"
#include "Timeline.hpp"

using namespace orvandel;

TEST(TimelineTest, EveryStillLastsItsMillisecondsAndTheTotalIsExact) {
    const std::vector<TimelineEntry> entries{{"a.y4m", 1234}, {"it's.y4m", 2500}};
    EXPECT_EQ(Timeline::ffconcat(entries, 1000),
              "ffconcat version 1.0\n"
              "file 'a.y4m'\nduration 1\n"
              "file 'a.y4m'\nduration 0.234\n"
              "file 'it'\\''s.y4m'\nduration 1\n"
              "file 'it'\\''s.y4m'\nduration 1\n"
              "file 'it'\\''s.y4m'\nduration 0.499\n"
              "file 'it'\\''s.y4m'\n");
    EXPECT_EQ(Timeline::frameCount(entries, 1000), 6);
    // Without periodic frames: one frame per still plus the closing one.
    EXPECT_EQ(Timeline::ffconcat({{"a.y4m", 1}}, 0), "ffconcat version 1.0\nfile 'a.y4m'\n");
    EXPECT_EQ(Timeline::frameCount(entries, 0), 3);
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
    const std::string prefix =
        "<p:sld><p:cSld><p:spTree><a:x advTm=\"9\"/></p:spTree></p:cSld>";
    EXPECT_EQ(RenderPlanReader::advanceTimeMs(
                  prefix + "<mc:AlternateContent><mc:Choice><p:transition p14:dur=\"0\" advClick=\"0\" "
                           "advTm=\"7500\"/></mc:Choice><mc:Fallback><p:transition advClick=\"0\" "
                           "advTm=\"7500\"/></mc:Fallback></mc:AlternateContent></p:sld>"),
              7500);
    EXPECT_EQ(RenderPlanReader::advanceTimeMs(prefix + "<p:transition spd=\"slow\"/></p:sld>"), std::nullopt);
    EXPECT_EQ(RenderPlanReader::advanceTimeMs(prefix + "</p:sld>"), std::nullopt);
}
