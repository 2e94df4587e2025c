#pragma once
// Frames handed to ffmpeg through a pipe, each with its own millisecond
// timestamp: a Matroska stream of uncompressed 4:2:0 frames (one cluster per
// frame, time scale 1 ms). It replaces the frame files of the timeline where
// the movie draws frames of its own: nothing is written to disk.
#include <cstdint>
#include <span>

#include "FrameSize.hpp"

namespace orvandel {

class RawVideoStream {
public:
    // Writes the stream's header to fd (not owned, not closed).
    RawVideoStream(int fd, FrameSize size);

    // One frame at `ms` (increasing), given as pieces that together are the
    // Y, U and V planes in order (width*height*3/2 bytes). False when the
    // reader has gone (its end of the pipe closed). Throws FileError on other
    // write failures.
    bool frame(std::int64_t ms, std::span<const std::span<const std::uint8_t>> pieces);

    bool open() const { return open_; }

private:
    int fd_;
    FrameSize size_;
    bool open_ = true;
};

}  // namespace orvandel
