#pragma once
// Frames (FrameConverter) to one H.264 movie with ffmpeg. Every frame keeps its millisecond
// timestamp (passthrough, track time scale 1000), B-frames are off (they would
// shorten the video track) and the level is pinned to 4.1 (x264 would pick a
// higher one for long still frames); frames drawn here (Options::frames) get
// a lighter analysis. A silent AAC track is added for players
// that expect sound, trimmed to whole AAC frames so that it never outlasts
// the video.
//
// Media (MediaLayers) are drawn over the stills and mixed into that track in
// the same pass: each file is decoded once, cropped, scaled to its rectangle,
// flipped and rotated there, shifted to its start in the movie and laid over
// the frames of its spans (holding its last frame once it has ended); its
// sound, at its own volume, is delayed to the same start. Between media the
// track stays silent.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Cancellation.hpp"
#include "media/MediaLayers.hpp"
#include "plan/FrameSize.hpp"

namespace orvandel::MovieEncoder {

struct Options {
    std::chrono::milliseconds timeout{std::chrono::minutes(10)};
    std::optional<CancellationToken> cancel;
    std::function<void(double fraction)> onProgress;
    bool silentAudio = true;  // a sound track (silent where no medium sounds)
    std::vector<MediaLayer> media;
    // When set, the frames come from this writer (a RawVideoStream on the
    // pipe it is given) instead of the ffconcat list, which is then unused
    // (and may be empty).
    std::function<void(int fd)> frames;
};

// The ffmpeg arguments (after the program name) that encode `ffconcatFile`
// lasting totalMs into `output` (exposed for tests).
std::vector<std::string> arguments(const std::filesystem::path& ffconcatFile, std::int64_t totalMs,
                                   const std::filesystem::path& output, bool silentAudio,
                                   const std::vector<MediaLayer>& media = {}, bool framesOnStandardInput = false);

// The filter graph that draws and mixes the media (inputs 1.. are the media,
// the last one the silence), ending in [v] and, with sound, [a].
std::string filterGraph(const std::vector<MediaLayer>& media, std::int64_t totalMs, bool audio);

// Throws RenderError or CancelledError.
void encode(const std::filesystem::path& ffconcatFile, std::int64_t totalMs, const std::filesystem::path& output,
            const Options& options);

}  // namespace orvandel::MovieEncoder
