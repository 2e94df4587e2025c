#pragma once
// The movie made with ffmpeg in three kinds of run: each slide's span of the
// picture as a segment of its own, the soundtrack of the whole movie once,
// and the join of both, which copies them without encoding again.
//
// A segment is H.264 from frames piped in (RawVideoStream): every frame keeps
// its millisecond timestamp (passthrough, track time scale 1000), B-frames
// are off (they would shorten the video track), the level is pinned (x264
// would pick a higher one for long still frames): 4.1, or the lowest level
// above it that the frame's size and rate need; and every segment is
// encoded with the same settings, starting on a key frame, so that segments
// made by different exports join into one stream. Media pictures
// (MediaLayers) are drawn over the frames in the same run: each file is
// decoded once, cropped, scaled to its rectangle, flipped and rotated there,
// shifted to its start and laid over the frames of its spans (holding its
// last frame once it has ended).
//
// The soundtrack is AAC: silence, with each medium's sound at its own volume
// delayed to its start, trimmed to whole AAC frames so that it never
// outlasts the video.
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
#include "render/VideoSettings.hpp"

namespace orvandel::MovieEncoder {

struct Options {
    std::chrono::milliseconds timeout{std::chrono::minutes(10)};
    std::optional<CancellationToken> cancel;
    // Fraction of the run's own length done.
    std::function<void(double fraction)> onProgress;
};

// A slide's segment to encode: its length, where it goes, the media
// pictures over it (times from its start), and the writer of its frames
// (a RawVideoStream on the file descriptor it is given).
struct Segment {
    std::int64_t durationMs = 0;
    std::filesystem::path output;
    std::vector<MediaLayer> pictures;
    std::function<void(int fd)> frames;
};

// What the encoder is told besides the frames: the trade between picture
// and file size, and the frame's size and the rate of what moves, which
// decide the H.264 level.
struct Encoding {
    VideoSettings::Quality quality = VideoSettings::Quality::standard;
    FrameSize frame{1920, 1080};
    int fps = 30;
    bool operator==(const Encoding&) const = default;
};

// The H.264 level a stream of `frame` at `fps` needs, never below 4.1
// ("4.1" ... "6.2").
std::string levelOf(FrameSize frame, int fps);

// The ffmpeg arguments (after the program name) that encode the segments,
// each read from its own input (exposed for tests, and for the cache's key:
// they are the encoder's settings). Media pictures only for a lone segment.
std::vector<std::string> segmentArguments(const std::vector<Segment>& segments,
                                          const std::vector<std::filesystem::path>& inputs,
                                          const Encoding& encoding = {});

// Encodes the segments (MP4) in one ffmpeg run: a run costs about a tenth
// of a second of starting, more than a short slide costs to encode. Each
// segment gets an encoder of its own, as if encoded alone, and its frames
// through a FIFO in fifoDir named after its output, written by a thread of
// its own. Throws
// RenderError (also for a segment whose frames could not be written) or
// CancelledError.
void encodeSegments(const std::vector<Segment>& segments, const std::filesystem::path& fifoDir, const Options& options,
                    const Encoding& encoding = {});

// Whether a movie of totalMs has room for a whole AAC frame of sound.
bool hasSound(std::int64_t totalMs);

// The arguments of the soundtrack of a movie lasting totalMs, the sounds'
// times from the movie's start (exposed for tests).
std::vector<std::string> soundArguments(std::int64_t totalMs, const std::filesystem::path& output,
                                        const std::vector<MediaLayer>& sounds);

// Encodes the soundtrack into `output` (M4A). Throws RenderError or
// CancelledError.
void encodeSound(std::int64_t totalMs, const std::filesystem::path& output, const std::vector<MediaLayer>& sounds,
                 const Options& options);

// The filter graph of either run: the pictures drawn over input 0 ending in
// [v], or the sounds mixed with the silence (the last input) ending in [a].
// Media are inputs 1.. for pictures, 0.. for sounds.
std::string filterGraph(const std::vector<MediaLayer>& media, std::int64_t totalMs, bool sound);

// Copies the segments listed in `segmentList` (an ffconcat list naming each
// segment and its exact duration) and the soundtrack, if any, into `output`,
// ready to stream from its start. Throws RenderError or CancelledError.
void join(const std::filesystem::path& segmentList, const std::optional<std::filesystem::path>& sound,
          std::int64_t totalMs, const std::filesystem::path& output, const Options& options);

}  // namespace orvandel::MovieEncoder
