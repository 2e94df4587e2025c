#pragma once
// A deck's bitmap pictures as RGBA pixels and back to PNG, through ffmpeg:
// the picture is read as a local file by the single-picture demuxers only
// (no image sequence, no SVG, nothing that names another file), and the
// pixels travel through pipes.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Bytes.hpp"
#include "base/Cancellation.hpp"

namespace orvandel::PictureCodec {

struct Picture {
    int width = 0, height = 0;
    Bytes rgba;  // width * height * 4 bytes, row by row
};

// Pictures larger on a side are scaled down to this (keeping their shape):
// LibreOffice draws them scaled anyway, and it bounds the memory a picture takes.
inline constexpr int kLargestSide = 4096;

// The first frame of `file` (PNG, JPEG, GIF, BMP, TIFF, WebP), scaled down to
// kLargestSide; nothing when ffmpeg cannot read it or it holds more than
// 100 million pixels. ffmpeg runs in workDir. Throws RenderError when ffmpeg
// is missing, CancelledError when cancelled.
std::optional<Picture> decode(const std::filesystem::path& file, const std::filesystem::path& workDir,
                              const std::optional<CancellationToken>& cancel);

// The picture as a PNG file's bytes. Throws RenderError when ffmpeg fails,
// CancelledError when cancelled.
Bytes png(const Picture& picture, const std::filesystem::path& workDir, const std::optional<CancellationToken>& cancel);

// The resolution a JPEG (JFIF) or PNG (pHYs) file states, in dots per inch
// across and down; nothing when it states none. Pure.
std::optional<std::pair<int, int>> dotsPerInch(const Bytes& file);

// The picture a PAM stream of RGB_ALPHA tuples with 8-bit samples holds;
// nothing for any other stream. Pure.
std::optional<Picture> fromPam(std::string_view pam);

}  // namespace orvandel::PictureCodec
