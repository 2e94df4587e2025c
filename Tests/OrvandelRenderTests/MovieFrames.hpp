#pragma once
// What a movie shows, for the render tests: every frame's time (ffprobe) and
// pixels in gray (ffmpeg), so that a test can ask which frame is on screen at
// a millisecond, how many lines of text it holds, and whether text moved.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
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

// The loudest sample between two instants of the movie, in dB.
inline double maxVolume(const std::filesystem::path& movie, std::int64_t fromMs, std::int64_t toMs) {
    const auto r = Subprocess::run({"ffmpeg", "-v", "info", "-ss", msAsDecimalSeconds(fromMs), "-to",
                                    msAsDecimalSeconds(toMs), "-i", movie.string(), "-vn", "-af", "volumedetect", "-f",
                                    "null", "-"});
    const auto at = r.standardError.find("max_volume: ");
    if (at == std::string::npos) return 0;
    const auto end = r.standardError.find(" dB", at);
    return parseDouble(r.standardError.substr(at + 12, end - at - 12)).value_or(0);
}

// Every frame of a movie or an image, scaled to kWidth x kHeight gray bytes.
inline constexpr int kWidth = 480, kHeight = 270;
inline std::string grayFrames(const std::filesystem::path& file) {
    return Subprocess::run({"ffmpeg", "-v", "error", "-i", file.string(), "-fps_mode", "passthrough", "-vf",
                            "scale=" + std::to_string(kWidth) + ":" + std::to_string(kHeight), "-pix_fmt", "gray", "-f",
                            "rawvideo", "-"})
        .standardOutput;
}

// The rows of a frame below the top quarter (below a title) with a dark
// pixel: lines of text on a light slide.
inline std::vector<int> inkRows(const std::string& frame) {
    std::vector<int> rows;
    for (int y = kHeight / 4; y < kHeight; ++y) {
        const auto row = frame.substr(std::size_t(y) * kWidth, kWidth);
        if (std::any_of(row.begin(), row.end(), [](char c) { return static_cast<unsigned char>(c) < 128; })) {
            rows.push_back(y);
        }
    }
    return rows;
}

// Whether every line of text in `before` is still there, unmoved, in `after`.
inline bool keepsText(const std::string& before, const std::string& after) {
    for (int y : inkRows(before)) {
        if (before.compare(std::size_t(y) * kWidth, kWidth, after, std::size_t(y) * kWidth, kWidth) != 0) return false;
    }
    return true;
}

// Where the media tests put a picture or a video: x 240..420, y 135..243 of
// the gray frame. Shape `id`, stretched over it; `nvPr` in its p:nvPr, `blip` its a:blip.
inline constexpr int kMediaLeft = 240, kMediaTop = 135, kMediaWide = 180, kMediaHigh = 108;
inline std::string mediaPicture(const std::string& id, const std::string& nvPr, const std::string& blip) {
    return pictureWith(id, nvPr, blip + "<a:stretch><a:fillRect/></a:stretch>",
                       "<a:xfrm><a:off x=\"6096000\" y=\"3429000\"/><a:ext cx=\"4572000\" cy=\"2743200\"/></a:xfrm>"
                       "<a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom>");
}

struct MovieFrames {
    explicit MovieFrames(const std::filesystem::path& movie)
        : timesMs(frameTimesMs(movie)), pixels(grayFrames(movie)) {}

    // The frame on screen at ms: the last one that starts at or before it.
    std::string shownAt(std::int64_t ms) const {
        const auto after = std::upper_bound(timesMs.begin(), timesMs.end(), ms);
        const auto index = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, after - timesMs.begin() - 1));
        return pixels.substr(index * kWidth * kHeight, std::size_t(kWidth) * kHeight);
    }

    std::vector<std::int64_t> timesMs;
    std::string pixels;  // kWidth x kHeight bytes per frame, in order
};

// A suite that renders once for all its tests: Suite::render() makes its
// decks and movies in dir_, which lasts until the suite is done. Every test
// skips where LibreOffice, poppler or ffmpeg are missing.
template <class Suite>
class RenderedOnce : public testing::Test {
public:
    static void SetUpTestSuite() {
        if (!canRender()) return;
        dir_ = std::make_unique<TempDir>();
        Suite::render();
    }
    static void TearDownTestSuite() { dir_.reset(); }
    void SetUp() override {
        if (!dir_) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    }
    static inline std::unique_ptr<TempDir> dir_;
};

}  // namespace orvandel::test
