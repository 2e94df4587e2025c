#pragma once
// The master movie made of the storyboard's shots, one segment per slide
// (SlideSegments): each segment's frames on the frame schedule
// (FrameSchedule), the drawn changes in it (DrawnMovie) and the media
// pictures over them, encoded by itself (MovieEncoder), a few at once; then
// the segments joined with the soundtrack, encoded once over the whole
// movie, without encoding again; then its length is checked.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "base/Cancellation.hpp"
#include "encode/MovieEncoder.hpp"
#include "encode/SlideSegments.hpp"
#include "media/MediaLayers.hpp"
#include "plan/FrameSize.hpp"
#include "storyboard/Storyboard.hpp"

namespace orvandel::MasterMovie {

struct Options {
    int workers = 2;  // segments encoded at once
    std::optional<CancellationToken> cancel;
    // Fraction of the movie's length encoded.
    std::function<void(double fraction)> onProgress;
    // Called with each segment (its index) as soon as it is encoded.
    std::function<void(std::size_t segment)> onSegment;
    // The encoder's quality and level (its frame: the size given to encodeSegments).
    MovieEncoder::Encoding encoding;
};

// Encodes segments[k] into outputs[k] for every k in `which`. frames: the
// frame file of each page (FrameConverter) that the segments in `which`
// need. Throws RenderError, CancelledError.
void encodeSegments(const std::vector<SlideSegment>& segments, const std::vector<std::size_t>& which,
                    const std::vector<std::filesystem::path>& outputs, const std::vector<Storyboard::Shot>& shots,
                    const std::map<int, std::filesystem::path>& frames, FrameSize size, const Options& options);

// Joins the segment files (one per segment, in order) and the soundtrack
// into `to`, lasting totalMs. Throws RenderError, CancelledError.
void join(const std::vector<SlideSegment>& segments, const std::vector<std::filesystem::path>& files,
          const std::optional<std::filesystem::path>& sound, std::int64_t totalMs, const std::filesystem::path& scratch,
          const std::filesystem::path& to, const Options& options);

// Throws RenderError when the movie at `to` cannot be measured or lasts less
// than minPlausibleMs.
void check(const std::filesystem::path& to, std::int64_t minPlausibleMs);

}  // namespace orvandel::MasterMovie
