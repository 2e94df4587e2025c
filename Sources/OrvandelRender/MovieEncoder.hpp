#pragma once
// Frames (FrameConverter) to one H.264 movie with ffmpeg. Every frame keeps its millisecond
// timestamp (passthrough, track time scale 1000), B-frames are off (they would
// shorten the video track) and the level is pinned to 4.1 (x264 would pick a
// higher one for long still frames). A silent AAC track is added for players
// that expect sound, trimmed to whole AAC frames so that it never outlasts
// the video.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "FrameSize.hpp"
#include "base/Cancellation.hpp"

namespace orvandel::MovieEncoder {

struct Options {
    std::chrono::milliseconds timeout{std::chrono::minutes(10)};
    std::optional<CancellationToken> cancel;
    std::function<void(double fraction)> onProgress;
    bool silentAudio = true;
};

// The ffmpeg arguments (after the program name) that encode `ffconcatFile`
// lasting totalMs into `output` (exposed for tests).
std::vector<std::string> arguments(const std::filesystem::path& ffconcatFile, std::int64_t totalMs,
                                   const std::filesystem::path& output, bool silentAudio);

// Throws RenderError or CancelledError.
void encode(const std::filesystem::path& ffconcatFile, std::int64_t totalMs, const std::filesystem::path& output,
            const Options& options);

}  // namespace orvandel::MovieEncoder
