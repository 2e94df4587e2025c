#include <gtest/gtest.h>

#include "encode/SlideSegments.hpp"

using namespace orvandel;

// Three slides: the first of two states (an entrance drawn at 1000 ms), the
// second coming in with a transition from the first one's last state, the
// third with a video shown from 200 ms into it.
TEST(SlideSegmentsTest, EachSlideGetsItsFramesChangesPagesAndMediaFromItsOwnStart) {
    std::vector<Storyboard::Shot> shots{{.page = 1, .durationMs = 1000, .opensSlide = true},
                                        {.page = 2, .durationMs = 1500},
                                        {.page = 3, .durationMs = 2000, .opensSlide = true},
                                        {.page = 4, .durationMs = 1000, .opensSlide = true}};
    std::vector<ScheduledStill> entries;
    for (const auto& s : shots) entries.push_back({"", s.durationMs});
    const auto frames = FrameSchedule::frames(entries, 1000);
    std::vector<DrawnChange> changes{{.span = {1000, 1500}, .from = 0, .to = 1},
                                     {.span = {2500, 3000}, .from = 1, .to = 2, .wholeSlide = true}};
    MediaLayer video{.file = "clip.mp4", .startMs = 4700, .playMs = 500, .sound = true, .shown = {{4700, 5500}}};
    MediaLayer sound{.file = "tone.m4a", .startMs = 0, .playMs = 5500, .picture = false, .sound = true};

    const auto segments = SlideSegments::split(shots, frames, changes, {video, sound});
    ASSERT_EQ(segments.size(), 3u);
    struct Expected {
        MsRange span;
        std::size_t firstShot, endShot;
        std::vector<int> pages;
        std::size_t changes;
    };
    const std::vector<Expected> expected{{{0, 2500}, 0, 2, {1, 2}, 1},
                                         {{2500, 4500}, 2, 3, {2, 3}, 1},
                                         {{4500, 5500}, 3, 4, {4}, 0}};
    std::size_t framesSeen = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        const auto& s = segments[k];
        EXPECT_EQ(std::tie(s.span, s.firstShot, s.endShot, s.pages),
                  std::tie(expected[k].span, expected[k].firstShot, expected[k].endShot, expected[k].pages))
            << k;
        EXPECT_EQ(s.changes.size(), expected[k].changes) << k;
        // Every segment starts with a frame of its own; together they are the movie's.
        ASSERT_FALSE(s.frames.empty());
        EXPECT_EQ(s.frames.front().startMs, s.span.startMs) << k;
        framesSeen += s.frames.size();
    }
    EXPECT_EQ(framesSeen, frames.size());
    EXPECT_EQ(segments[2].frames.back().startMs, 5499);
    // Only the picture goes into its slide's segment, from the segment's start.
    ASSERT_EQ(segments[2].pictures.size(), 1u);
    EXPECT_EQ(segments[2].pictures[0].startMs, 200);
    EXPECT_EQ(segments[2].pictures[0].shown, (std::vector<MsRange>{{200, 1000}}));
    EXPECT_FALSE(segments[2].pictures[0].sound);
    EXPECT_TRUE(segments[0].pictures.empty() && segments[1].pictures.empty());
}
