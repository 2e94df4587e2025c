#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <tuple>

#include "TestSupport.hpp"
#include "base/Subprocess.hpp"
#include "encode/RawVideoStream.hpp"

using namespace orvandel;

namespace {

using FrameLine = std::tuple<long long, long long, std::string>;  // pts, duration, hash

// The hash framecrc prints: Adler-32 started from 0.
std::string frameCrc(const std::vector<std::uint8_t>& bytes) {
    std::uint32_t a = 0, b = 0;
    for (const auto byte : bytes) a = (a + byte) % 65521, b = (b + a) % 65521;
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", b << 16 | a);
    return text;
}

std::vector<FrameLine> framecrcLines(const std::string& output) {
    std::vector<FrameLine> lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        long long pts = 0, duration = 0;
        char hash[16] = {};
        if (std::sscanf(line.c_str(), "%*d, %*d, %lld, %lld, %*d, %15s", &pts, &duration, hash) == 3) {
            lines.emplace_back(pts, duration, hash);
        }
    }
    return lines;
}

}  // namespace

// ffmpeg decodes every frame at the very millisecond it was given, sample for
// sample; one that stops reading early makes frame() say so instead of
// SIGPIPE ending the test.
TEST(RawVideoStreamTest, FfmpegReadsExactTimesAndSamplesAndMayStopEarly) {
    if (test::slowTestsSkipped() || !test::haveProgram("ffmpeg")) GTEST_SKIP() << "needs ffmpeg";
    std::vector<std::int64_t> manyFrames(20000);
    std::generate(manyFrames.begin(), manyFrames.end(), [ms = -40]() mutable { return ms += 40; });
    // The frame size, the frames' times, whether each row is a piece of its own (more pieces than one writev
    // takes), after how many frames ffmpeg stops reading (0: never).
    using Case = std::tuple<FrameSize, std::vector<std::int64_t>, bool, int>;
    for (const auto& [size, ms, pieceRows, stopAfter] :
         std::vector<Case>{{{64, 36}, {0, 33, 67, 1000, 4999}, false, 0},
                           {{1920, 1080}, {0, 41}, true, 0},  // frames larger than the pipe
                           {{64, 36}, manyFrames, false, 2}}) {
        std::vector<std::string> argv{"ffmpeg", "-v", "error", "-f", "matroska", "-i", "pipe:0"};
        if (stopAfter) argv.insert(argv.end(), {"-frames:v", std::to_string(stopAfter)});
        argv.insert(argv.end(), {"-fps_mode", "passthrough", "-enc_time_base", "1:1000", "-f", "framecrc", "pipe:1"});
        std::vector<FrameLine> expected;
        bool stopped = false;
        const auto r = Subprocess::run(
            argv, {.timeout = std::chrono::minutes(2), .standardInput = [&](int fd) {
                       RawVideoStream stream(fd, size);
                       for (std::size_t i = 0; i < ms.size(); ++i) {
                           std::vector<std::uint8_t> frame(std::size_t(size.width) * size.height * 3 / 2);
                           for (std::size_t k = 0; k < frame.size(); ++k)
                               frame[k] = std::uint8_t((k * 2654435761u >> 13) + i);
                           std::vector<std::span<const std::uint8_t>> pieces;
                           const std::size_t step = pieceRows ? std::size_t(size.width) : frame.size();
                           for (std::size_t at = 0; at < frame.size(); at += step)
                               pieces.emplace_back(frame.data() + at, step);
                           if (!stream.frame(ms[i], pieces)) {
                               stopped = !stream.frame(ms[i] + 1, pieces);
                               return;
                           }
                           // Every frame says it lasts 1 ms: a movie's muxer takes the next
                           // frame's start where it comes later, so the last one ends the movie
                           // 1 ms on. (ffmpeg told to stop early times frames by their spacing.)
                           if (!stopAfter || i < std::size_t(stopAfter)) {
                               expected.emplace_back(ms[i], stopAfter ? 40 : 1, frameCrc(frame));
                           }
                       }
                   }});
        EXPECT_TRUE(r.succeeded()) << r.standardError;
        EXPECT_EQ(framecrcLines(r.standardOutput), expected) << size.width;
        EXPECT_EQ(stopped, stopAfter > 0) << size.width;
    }
}
