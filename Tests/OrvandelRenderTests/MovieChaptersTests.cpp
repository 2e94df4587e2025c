// Chapters written into a real movie and read back from a package, as
// `export --chapters` writes them and `chapters` reads them.
#include <gtest/gtest.h>

#include "MovieChapters.hpp"
#include "MovieFixtures.hpp"
#include "RenderError.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "container/ZipArchive.hpp"

namespace orvandel {
// Readable chapters in a failure's message.
void PrintTo(const Chapter& c, std::ostream* os) {
    *os << c.startMs << ".." << c.endMs << " " << testing::PrintToString(c.title);
}
}  // namespace orvandel

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

namespace {

// A movie of `ms` milliseconds with a time base of 1 ms, as the renderer writes them.
fs::path makeMovie(const TempDir& dir, std::int64_t ms) {
    const auto movie = dir / "in.mp4";
    const auto r = Subprocess::run({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "color=c=white:s=64x36:r=100",
                                    "-t", std::to_string(ms) + "ms", "-c:v", "libx264", "-pix_fmt", "yuv420p",
                                    "-video_track_timescale", "1000", movie.string()});
    EXPECT_EQ(r.exitStatus, 0) << r.standardError;
    return movie;
}

// One chapter of `ms` per title, end to end.
std::vector<Chapter> chaptersTitled(const std::vector<std::string>& titles, std::int64_t ms) {
    std::vector<Chapter> chapters;
    for (const auto& title : titles) {
        const std::int64_t start = static_cast<std::int64_t>(chapters.size()) * ms;
        chapters.push_back({start, start + ms, title});
    }
    return chapters;
}

// The chapters written into a movie, then read back from a package that stores it.
std::vector<Chapter> roundTrip(const TempDir& dir, const std::vector<Chapter>& chapters, std::int64_t movieMs) {
    const auto out = dir / "out.mp4";
    MovieChapters::embed(makeMovie(dir, movieMs), chapters, out, {});
    const auto orv = dir / "aula.orv";
    ZipArchive::create({{"manifest.json", toBytes("{}")}, {"assets/master.mp4", readFile(out)}}, orv);
    return MovieChapters::readPackage(orv);
}

bool noFfmpeg() { return slowTestsSkipped() || !haveProgram("ffmpeg") || !haveProgram("ffprobe"); }

}  // namespace

TEST(MovieChaptersTest, EveryTitleReadsBackExactlyInItsOwnChapter) {
    if (noFfmpeg()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    std::string longTitle = "x";
    while (longTitle.size() + 2 <= MovieChapters::kLongestTitleBytes) longTitle += "ç";
    const auto chapters = chaptersTitled(
        {"a=b;c#d \\= \\; \\#", "ends in a backslash \\", "\\", "two \\\\", "\\\ntitle=after an escaped newline",
         "[CHAPTER]\nTIMEBASE=1/1\nSTART=0\nEND=1\ntitle=injected", ";FFMETADATA1", "# not a comment",
         "cr\rlf\ncrlf\r\nend\n", "\xE2\x80\xA8line\xE2\x80\xA9paragraph\xC2\x85next", "[leading bracket",
         " spaced ", longTitle},
        100);
    EXPECT_EQ(roundTrip(dir, chapters, 1400), chapters);
}

TEST(MovieChaptersTest, TitlesAreCutAtACharacterAndMadeUtf8) {
    if (noFfmpeg()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    std::string tooLong = "x";
    while (tooLong.size() <= 2 * MovieChapters::kLongestTitleBytes) tooLong += "ç";
    // So many long titles that they share what all arguments may take.
    std::vector<std::string> titles(2500, std::string(1000, 'a'));
    titles[0] = tooLong;
    titles[1] = std::string("nul\0 and \xFF", 10);
    const auto read = roundTrip(dir, chaptersTitled(titles, 1), 2500);
    ASSERT_EQ(read.size(), titles.size());
    EXPECT_EQ(read[1].title, "nul\xEF\xBF\xBD and \xEF\xBF\xBD");
    for (std::size_t i : {std::size_t(0), std::size_t(2), titles.size() - 1}) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(isValidUtf8(read[i].title));
        EXPECT_TRUE(titles[i].starts_with(read[i].title));
        EXPECT_GE(read[i].title.size(), 100u);
        EXPECT_LE(read[i].title.size(), MovieChapters::kLongestTitleBytes);
    }
}

TEST(MovieChaptersTest, TooManyChaptersAreRefusedBeforeAnythingRuns) {
    TempDir dir;
    writeFile(dir / "in.mp4", craftedMovie(1000, 20000));
    const auto e = thrown<RenderError>([&] {
        MovieChapters::embed(dir / "in.mp4",
                             chaptersTitled(std::vector<std::string>(MovieChapters::kMostChapters + 1, "t"), 1),
                             dir / "out.mp4", {});
    });
    EXPECT_EQ(e.errorCase(), RenderError::Case::badDeck);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);  // the movie alone
}
