#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>
#include <variant>

#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "render/MasterDurationGuard.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Mp4Duration::measureMs;

namespace {

auto failsWith(const std::string& text) {
    return testing::ThrowsMessage<Mp4Duration::Mp4Error>(testing::StartsWith("cannot measure duration of " + text));
}

}  // namespace

TEST(Mp4DurationTest, HandMadeMovies) {
    TempDir dir;
    Bytes tiny = craftedMovie(1000, 5000);
    tiny[15] = 4;  // the size of moov, after the 12 bytes of ftyp: too small to move the walk on
    Bytes cut = craftedMovie(1000, 5000);
    cut.resize(cut.size() - 10);                              // the movie box runs past the end
    using Outcome = std::variant<std::int64_t, std::string>;  // ms, or how the reason after the file name begins
    for (const auto& [name, movie, expected] : std::vector<std::tuple<const char*, Bytes, Outcome>>{
             {"1009-at-1000.mp4", craftedMovie(1000, 1009), 1009},
             {"1-at-1000.mp4", craftedMovie(1000, 1), 1},
             {"999-at-1000.mp4", craftedMovie(1000, 999), 999},
             {"1-at-3.mp4", craftedMovie(3, 1), 333},
             {"12.34556-s.mp4", craftedMovie(90000, 1111101), 12345},
             {"version-1.mp4", craftedMovie(600, 4500, 1), 7500},
             {"zero.mp4", craftedMovie(1000, 0), "non-finite or zero duration"},
             {"scale.mp4", craftedMovie(0, 5), "zero timescale"},
             {"tiny.mp4", tiny, "invalid size 4"},
             {"cut.mp4", cut, "file is cut short"},
             {"notes.txt", toBytes("hello, this is text"), "not an MP4 movie"}}) {
        SCOPED_TRACE(name);
        writeFile(dir / name, movie);
        if (const auto* ms = std::get_if<std::int64_t>(&expected)) EXPECT_EQ(measureMs(dir / name), *ms);
        else
            EXPECT_THAT([&] { measureMs(dir / name); },
                        failsWith(std::string(name) + ": " + std::get<std::string>(expected)));
    }
    EXPECT_THAT([&] { measureMs(dir / "missing.mp4"); }, failsWith("missing.mp4: No such file or directory"));
}

// The 5 GiB media needs a 64-bit box size, and comes with a version-1 movie header.
TEST(Mp4DurationTest, ReadsPastHugeMediaWithoutReadingIt) {
    TempDir dir;
    for (const std::int64_t media : {std::int64_t(1) << 30, std::int64_t(5) << 30}) {
        const bool large = media >> 32;
        Bytes head = box("ftyp", toBytes("isom"));
        putBe(head, large ? 1 : media + 8, 4);
        putBe(head, 0x6d646174, 4);  // "mdat"
        if (large) putBe(head, media + 16, 8);
        const auto movie = dir / "sparse.mp4";
        writeFile(movie, head);
        const Bytes moov = box("moov", mvhd(600, 4500, large));
        const int fd = ::open(movie.c_str(), O_WRONLY);
        ASSERT_EQ(::pwrite(fd, moov.data(), moov.size(), off_t(head.size() + media)), ssize_t(moov.size()));
        ::close(fd);
        EXPECT_EQ(measureMs(movie), 7500);
    }
}

// That the bounds themselves pass is checked through the exporter (OrvExporterTest).
TEST(MasterDurationGuardTest, JustOutsideTheBandIsAMismatchOfItsRatio) {
    using namespace MasterDurationGuard;
    EXPECT_EQ(check(10000, 5999), Verdict::mismatch(0.5999));
    EXPECT_EQ(check(10000, 14001), Verdict::mismatch(1.4001));
    EXPECT_EQ(check(0, 123), Verdict::ok());
    EXPECT_EQ(check(-5, 123), Verdict::ok());
    EXPECT_EQ(check(100, 150, {1.5, 1.5}), Verdict::ok());
    EXPECT_DEATH(check(100, 100, {1.2, 0.8}), "");
}
