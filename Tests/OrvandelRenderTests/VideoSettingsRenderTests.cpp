#include <gtest/gtest.h>

#include <set>

#include "encode/FrameSchedule.hpp"
#include "encode/SegmentKeys.hpp"

using namespace orvandel;

TEST(VideoSettingsRenderTest, MovingSpansTakeTheChosenRateOnWholeMilliseconds) {
    const std::vector<ScheduledStill> entries{{"a.y4m", 1500}, {"b.y4m", 500}};
    for (const auto& [fps, expected] : std::vector<std::pair<int, std::vector<std::int64_t>>>{
             {30, {0, 1000, 1100, 1133, 1166, 1200, 1500, 1999}},
             {60, {0, 1000, 1100, 1116, 1133, 1150, 1166, 1183, 1200, 1500, 1999}}}) {
        std::vector<std::int64_t> times;
        for (const auto& f : FrameSchedule::frames(entries, 1000, {{1100, 1200}}, fps)) times.push_back(f.startMs);
        EXPECT_EQ(times, expected) << fps;
    }
}

TEST(VideoSettingsRenderTest, EveryChoiceKeysItsSegmentsApartAndGetsALevelThatHoldsIt) {
    std::set<std::string> environments;
    for (const auto resolution : VideoSettings::resolutions()) {
        for (const auto quality : VideoSettings::qualities()) {
            for (const int fps : {30, 60}) {
                const FrameSize frame{VideoSettings::widthOf(resolution), VideoSettings::heightOf(resolution)};
                environments.insert(SegmentKeys::environment("f", {quality, frame, fps}, 1000, 2));
            }
        }
    }
    EXPECT_EQ(environments.size(), VideoSettings::resolutions().size() * VideoSettings::qualities().size() * 2);

    // The lowest level from 4.1 whose frame size and macroblock rate hold the stream.
    for (const auto& [frame, fps, level] :
         std::vector<std::tuple<FrameSize, int, std::string>>{{{854, 480}, 60, "4.1"},
                                                              {{1920, 1080}, 30, "4.1"},
                                                              {{1920, 1080}, 60, "4.2"},
                                                              {{2560, 1440}, 30, "5"},
                                                              {{2560, 1440}, 60, "5.1"},
                                                              {{3840, 2160}, 30, "5.1"},
                                                              {{3840, 2160}, 60, "5.2"}}) {
        EXPECT_EQ(MovieEncoder::levelOf(frame, fps), level) << frame.width << "@" << fps;
    }
}
