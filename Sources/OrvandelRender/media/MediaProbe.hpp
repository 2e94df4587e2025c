#pragma once
// What ffprobe says of one media file before the movie plays it: its length,
// whether it has pictures and sound, and whether its first packets decode.
// A file it cannot read is not an error of the export: the caller shows the
// poster frame instead and warns.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "base/Cancellation.hpp"

namespace orvandel {

struct MediaInfo {
    std::optional<std::int64_t> durationMs;  // absent when the container does not say
    bool hasPicture = false;                 // a moving picture (cover art does not count)
    bool hasSound = false;
    bool operator==(const MediaInfo&) const = default;
};

namespace MediaProbe {

// The info, or why the file cannot be played (ffprobe's own last word).
// Throws RenderError when ffprobe is missing, CancelledError when cancelled.
std::variant<MediaInfo, std::string> probe(const std::filesystem::path& file,
                                           const std::optional<CancellationToken>& cancel);

// ffprobe's "key=value" lines read into the info, or why they do not
// describe a playable file (exposed for tests).
std::variant<MediaInfo, std::string> parse(const std::string& ffprobeOutput);

}  // namespace MediaProbe

}  // namespace orvandel
