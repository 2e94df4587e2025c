#pragma once
// The movie's timeline: every still shows for exactly its duration in
// milliseconds, and every frame's timestamp is a whole millisecond.
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "plan/MsRange.hpp"

namespace orvandel {

struct ScheduledStill {
    std::filesystem::path image;
    std::int64_t durationMs = 0;  // > 0
};

// One frame of the list: when it starts and which entry it shows.
struct ScheduledFrame {
    std::int64_t startMs = 0;
    std::size_t entry = 0;
    bool operator==(const ScheduledFrame&) const = default;
};

namespace FrameSchedule {

// The movie's frames, in order: each entry's still from its start. Long
// entries are cut into pieces of at most periodicFrameMs (0: never), so that
// the movie carries a frame at least that often and a seek lands on the
// right still in every player. The last frame, a closing one on the movie's
// last millisecond, lasts 1 ms, taken from the last entry, so the total
// stays exact.
//
// Within the `moving` spans of the movie (where media play over the still,
// or a change is drawn) the stills repeat movingFps times a second (1 to
// 1000), on the whole milliseconds nearest below each 1/movingFps s from the
// span's start, so that what is drawn over them moves; each span starts on
// a frame of its own.
std::vector<ScheduledFrame> frames(const std::vector<ScheduledStill>& entries, std::int64_t periodicFrameMs,
                                   const std::vector<MsRange>& moving = {}, int movingFps = 30);

// A file name quoted for ffconcat: in single quotes, a quote inside as '\''.
std::string quoted(const std::string& path);

}  // namespace FrameSchedule

}  // namespace orvandel
