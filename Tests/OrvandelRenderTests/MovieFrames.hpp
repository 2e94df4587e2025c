#pragma once
// What a movie shows, for the render tests: every frame's time (ffprobe) and
// its pixels scaled down in gray (ffmpeg), so that a test can ask which frame
// is on screen at a millisecond and how much text it holds.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "base/Numbers.hpp"
#include "base/Subprocess.hpp"

namespace orvandel::test {

inline std::vector<std::int64_t> frameTimesMs(const std::filesystem::path& movie) {
    std::istringstream lines(Subprocess::run({"ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                                              "frame=pts_time", "-of", "csv=p=0", movie.string()})
                                 .standardOutput);
    std::vector<std::int64_t> out;
    for (std::string line; std::getline(lines, line);) {
        if (const auto s = parseDouble(line.substr(0, line.find(',')))) out.push_back(std::llround(*s * 1000));
    }
    return out;
}

class MovieFrames {
public:
    static constexpr int kWidth = 192, kHeight = 108;

    explicit MovieFrames(const std::filesystem::path& movie) : timesMs_(frameTimesMs(movie)) {
        pixels_ = Subprocess::run({"ffmpeg", "-v", "error", "-i", movie.string(), "-fps_mode", "passthrough", "-vf",
                                   "scale=" + std::to_string(kWidth) + ":" + std::to_string(kHeight), "-pix_fmt",
                                   "gray", "-f", "rawvideo", "-"})
                      .standardOutput;
    }

    const std::vector<std::int64_t>& timesMs() const { return timesMs_; }

    // The frame on screen at ms: the last one that starts at or before it.
    std::string shownAt(std::int64_t ms) const {
        const auto after = std::upper_bound(timesMs_.begin(), timesMs_.end(), ms);
        const auto index = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, after - timesMs_.begin() - 1));
        return pixels_.substr(index * kWidth * kHeight, std::size_t(kWidth) * kHeight);
    }

    // Rows between the fractions `from` and `to` of the height with a dark
    // pixel: lines of text on a light slide.
    int inkRowsAt(std::int64_t ms, double from = 0.22, double to = 0.9) const {
        const std::string frame = shownAt(ms);
        int rows = 0;
        for (int y = int(from * kHeight); y < int(to * kHeight); ++y) {
            const auto row = frame.substr(std::size_t(y) * kWidth, kWidth);
            rows += std::any_of(row.begin(), row.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
        }
        return rows;
    }

private:
    std::vector<std::int64_t> timesMs_;
    std::string pixels_;  // kWidth x kHeight bytes per frame, in order
};

}  // namespace orvandel::test
