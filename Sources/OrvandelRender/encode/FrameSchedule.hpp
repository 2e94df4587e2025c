#pragma once
// The movie's timeline as an ffconcat list: every still shows for exactly its
// duration in milliseconds. Every frame runs at 1000 frames per second, so
// every timestamp is a whole millisecond and all entries share one time base.
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

// The ffconcat text. Long entries are cut into pieces of at most
// periodicFrameMs (0: never), so that the movie carries a frame at least that
// often and a seek lands on the right still in every player. The list ends
// with the last image once more (without it the last duration is lost); that
// closing frame lasts 1 ms, taken from the last entry, so the total stays
// exact. Images are YUV4MPEG frames at 1000 frames per second (see
// FrameConverter): self-describing, so nothing is left to
// guess when ffmpeg opens them, and read without a decode.
//
// Within the `moving` spans of the movie (where media play over the still)
// the stills repeat 30 times a second, on the whole milliseconds nearest
// below each 1/30 s from the span's start, so that the media drawn over them
// move; each span starts on a frame of its own.
std::string ffconcat(const std::vector<ScheduledStill>& entries, std::int64_t periodicFrameMs,
                     const std::vector<MsRange>& moving = {});

// The frames the list yields, in order, the closing frame included.
std::vector<ScheduledFrame> frames(const std::vector<ScheduledStill>& entries, std::int64_t periodicFrameMs,
                                   const std::vector<MsRange>& moving = {});

// A file name quoted for ffconcat: in single quotes, a quote inside as '\''.
std::string quoted(const std::string& path);

}  // namespace FrameSchedule

}  // namespace orvandel
