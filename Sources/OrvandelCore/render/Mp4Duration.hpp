#pragma once
// How long a movie plays, read from the movie header ('mvhd' inside 'moov') of
// an MP4 / QuickTime file: duration / timescale. The file is walked box by box
// with positioned reads, so a large movie costs a few small reads, never a
// read of the whole file.
#include <cstdint>
#include <filesystem>
#include <string>

#include "base/Error.hpp"

namespace orvandel {

namespace Mp4Duration {

class Mp4Error : public Error {
public:
    enum class Case { cannotMeasure };

    static Mp4Error cannotMeasure(std::filesystem::path url, std::string underlying);

    Case errorCase() const { return Case::cannotMeasure; }
    const std::filesystem::path& url() const { return url_; }
    const std::string& underlying() const { return underlying_; }

private:
    Mp4Error(std::filesystem::path url, std::string underlying);
    std::filesystem::path url_;
    std::string underlying_;
};

// Whole milliseconds, truncated toward zero (12.3456 s gives 12345, 0.0004 s
// gives 0). Throws Mp4Error for a missing or unreadable file, a file that is
// not a movie or is cut short, and a duration that is not finite and above 0.
std::int64_t measureMs(const std::filesystem::path& url);

}  // namespace Mp4Duration

}  // namespace orvandel
