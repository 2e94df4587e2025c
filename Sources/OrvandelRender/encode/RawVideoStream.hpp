#pragma once
// Frames handed to ffmpeg through a pipe, each with its own millisecond
// timestamp: a Matroska stream of uncompressed 4:2:0 frames (one cluster per
// frame, time scale 1 ms). It replaces the frame files of the timeline where
// the movie draws frames of its own: nothing is written to disk. The planes
// go to the pipe as they are (writev), never copied into a buffer of ours.
// The writing thread must block or ignore SIGPIPE (Subprocess's standard input
// writer does), or a reader that goes kills the process instead of making
// frame() return false.
#include <cstdint>
#include <optional>
#include <span>

#include "plan/FrameSize.hpp"

namespace orvandel {

class RawVideoStream {
public:
    // Writes the stream's header to fd (not owned, not closed). Throws
    // std::invalid_argument for sides that are not positive and even.
    RawVideoStream(int fd, FrameSize size);

    // One frame at `ms` (increasing from 0), given as pieces that together are
    // the Y, U and V planes in order (width*height*3/2 bytes; other sizes and
    // times throw std::invalid_argument). False when the reader has gone (its
    // end of the pipe closed), then and ever after. Throws FileError on other
    // write failures.
    bool frame(std::int64_t ms, std::span<const std::span<const std::uint8_t>> pieces);

private:
    int fd_;
    FrameSize size_;
    bool open_ = true;
    std::optional<std::int64_t> lastMs_;
};

}  // namespace orvandel
