#pragma once
// How long a movie plays, read from the movie header ('mvhd' inside 'moov') of
// an MP4 / QuickTime file: duration / timescale; and what its video track
// holds. The file is walked box by box with positioned reads, so a large
// movie costs a few small reads, never a read of the whole file.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "base/Error.hpp"

namespace orvandel {

namespace Mp4Duration {

class Mp4Error : public Error {
public:
    enum class Case { cannotMeasure };

    static Mp4Error cannotMeasure(std::filesystem::path path, std::string underlying);

    Case errorCase() const { return Case::cannotMeasure; }
    const std::filesystem::path& path() const { return path_; }
    const std::string& underlying() const { return underlying_; }

private:
    Mp4Error(std::filesystem::path path, std::string underlying);
    std::filesystem::path path_;
    std::string underlying_;
};

// Whole milliseconds, truncated toward zero (12.3456 s gives 12345, 0.0004 s
// gives 0). Throws Mp4Error for a missing or unreadable file, a file that is
// not a movie or is cut short, and a duration that is not finite and above 0.
std::int64_t measureMs(const std::filesystem::path& path);

// A movie's first video track (handler 'vide' in 'trak'/'mdia'/'hdlr').
struct VideoTrack {
    std::int64_t durationMs = 0;  // how long it shows ('tkhd', in the movie's time scale), truncated
    std::int64_t frames = 0;      // its samples ('stsz' or 'stz2' in 'mdia'/'minf'/'stbl')
    // How long a frame shows on average (the media's length in 'mdhd' over
    // its frames), rounded up to a whole millisecond; 0 without frames.
    std::int64_t meanFrameMs = 0;
    bool operator==(const VideoTrack&) const = default;
};

struct Movie {
    std::int64_t durationMs = 0;  // as measureMs
    std::optional<VideoTrack> video;
    bool operator==(const Movie&) const = default;
};

// The movie lying in bytes [begin, end) of a file: a stored entry of an
// archive, read in place with the same few positioned reads as measureMs.
// Throws Mp4Error as measureMs does (naming the file), and when a video
// track lacks one of the boxes above or they are cut short.
Movie inspect(const std::filesystem::path& file, std::int64_t begin, std::int64_t end);

}  // namespace Mp4Duration

}  // namespace orvandel
