#pragma once
// The stills pdftocairo draws (8-bit RGB TIFF, uncompressed or PackBits, in
// strips) turned into one YUV4MPEG frame each, in process: BT.601 limited
// range, chroma averaged over each 2x2 block (centred, as "C420jpeg" says).
// The timeline repeats these frames for its periodic frames: reading one
// costs a copy, where every repeat of a TIFF would cost a decode and a colour
// conversion; and they carry their size and format, so ffmpeg never has to
// guess what it opened.
//
// Consecutive stills are mostly the same picture (the states of one slide):
// a strip whose bytes equal those of the same strip in the still before is
// not converted again.
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Cancellation.hpp"
#include "plan/FrameSize.hpp"

namespace orvandel::FrameConverter {

// Writes frame-00001.y4m, ... into outDir, one per still (by page) in page
// order, and returns each page's frame; the stills are split into `workers`
// contiguous slices converted at once. Throws
// RenderError for a still that is not an 8-bit RGB TIFF of exactly `size`,
// CancelledError when cancelled.
std::map<int, std::filesystem::path> convert(const std::map<int, std::filesystem::path>& stills, FrameSize size,
                                             const std::filesystem::path& outDir, int workers,
                                             const std::optional<CancellationToken>& cancel);

// One still's frame: the YUV4MPEG header and planes (exposed for tests).
Bytes frame(const Bytes& tiff, FrameSize size);

// Where the planes start in a frame written by convert, if it is a frame of
// `size` (its header line, "FRAME", then exactly the planes).
std::optional<std::size_t> planesOffset(const Bytes& frame, FrameSize size);

}  // namespace orvandel::FrameConverter
