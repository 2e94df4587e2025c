#pragma once
// The movie's timeline as an ffconcat list: every still shows for exactly its
// duration in milliseconds. Each entry reads its image at 1000 frames per
// second, so every timestamp is a whole millisecond and all entries share one
// time base.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "FrameSize.hpp"

namespace orvandel {

struct TimelineEntry {
    std::filesystem::path image;
    std::int64_t durationMs = 0;  // > 0
};

namespace Timeline {

// The ffconcat text. Long entries are cut into pieces of at most
// periodicFrameMs (0: never), so that the movie carries a frame at least that
// often and a seek lands on the right still in every player. The list ends
// with the last image once more (without it the last duration is lost); that
// closing frame lasts 1 ms, taken from the last entry, so the total stays exact.
// With rawFrame set, the images are raw yuv420p frames of that size.
std::string ffconcat(const std::vector<TimelineEntry>& entries, std::int64_t periodicFrameMs,
                     std::optional<FrameSize> rawFrame = std::nullopt);

// A file name quoted for ffconcat: in single quotes, a quote inside as '\''.
std::string quoted(const std::string& path);

// How many frames the list yields (for progress reports).
std::int64_t frameCount(const std::vector<TimelineEntry>& entries, std::int64_t periodicFrameMs);

}  // namespace Timeline

}  // namespace orvandel
