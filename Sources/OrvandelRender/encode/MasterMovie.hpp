#pragma once
// The master movie made of the storyboard's shots: each shot's frame on the
// frame schedule (FrameSchedule), the drawn changes between them
// (DrawnMovie) and the media over them (MediaLayers), in one encode
// (MovieEncoder); then its length is checked.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "base/Cancellation.hpp"
#include "media/MediaLayers.hpp"
#include "pixels/DrawnChanges.hpp"
#include "plan/FrameSize.hpp"
#include "storyboard/Storyboard.hpp"

namespace orvandel::MasterMovie {

struct Options {
    // A frame at least this often (ms); 0 = one frame per shot.
    std::int64_t periodicFrameMs = 1000;
    bool silentAudio = true;
    std::optional<CancellationToken> cancel;
    std::function<void(double fraction)> onProgress;
};

// Encodes into `to` the shots, each showing its page's frame (`frames`, by
// page, FrameConverter) for its duration, lasting totalMs. Without changes
// ffmpeg reads the frames from a list written into scratch; otherwise they
// are drawn here and piped. Throws RenderError, CancelledError.
void encode(const std::vector<Storyboard::Shot>& shots, const std::map<int, std::filesystem::path>& frames,
            const std::vector<DrawnChange>& changes, const MediaLayers::Gathered& media, FrameSize size,
            std::int64_t totalMs, const std::filesystem::path& scratch, const std::filesystem::path& to,
            const Options& options);

// Throws RenderError when the movie at `to` cannot be measured or lasts less
// than minPlausibleMs.
void check(const std::filesystem::path& to, std::int64_t minPlausibleMs);

}  // namespace orvandel::MasterMovie
