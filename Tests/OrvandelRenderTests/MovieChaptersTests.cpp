// Chapters written into a real movie and read back from a package, as
// `export --chapters` writes them and `chapters` reads them.
#include <gtest/gtest.h>

#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "container/ZipArchive.hpp"
#include "encode/MovieChapters.hpp"
#include "tools/RenderError.hpp"

namespace orvandel {
void PrintTo(const Chapter& c, std::ostream* os) {
    *os << c.startMs << ".." << c.endMs << " " << testing::PrintToString(c.title);
}
}  // namespace orvandel

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

namespace {

// One chapter of `ms` per title, end to end.
std::vector<Chapter> chaptersTitled(const std::vector<std::string>& titles, std::int64_t ms) {
    std::vector<Chapter> chapters;
    for (const auto& title : titles) {
        const std::int64_t start = static_cast<std::int64_t>(chapters.size()) * ms;
        chapters.push_back({start, start + ms, title});
    }
    return chapters;
}

// The chapters written into a movie of `movieMs` with a time base of 1 ms (as
// the renderer writes them), then read back from a package that stores it.
std::vector<Chapter> roundTrip(const TempDir& dir, const std::vector<Chapter>& chapters, std::int64_t movieMs) {
    const auto in = dir / "in.mp4", out = dir / "out.mp4";
    ffmpeg({"-f", "lavfi", "-i", "color=s=64x36:r=100", "-t", std::to_string(movieMs) + "ms", "-video_track_timescale",
            "1000", in.string()});
    MovieChapters::embed(in, chapters, out, {});
    const auto orv = dir / "aula.orv";
    ZipArchive::create({{"manifest.json", toBytes("{}")}, {"assets/master.mp4", readFile(out)}}, orv);
    return MovieChapters::readPackage(orv);
}

}  // namespace

TEST(MovieChaptersTest, EveryTitleReadsBackExactlyInItsOwnChapter) {
    if (slowTestsSkipped() || !haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    std::string longTitle = "x";
    while (longTitle.size() + 2 <= MovieChapters::kLongestTitleBytes) longTitle += "ç";
    auto chapters = chaptersTitled(
        {"a=b;c#d \\= \\; \\#", "ends in a backslash \\", "\\", "two \\\\", "\\\ntitle=after an escaped newline",
         "[CHAPTER]\nTIMEBASE=1/1\nSTART=0\nEND=1\ntitle=injected", ";FFMETADATA1", "# not a comment",
         "cr\rlf\ncrlf\r\nend\n", "\xE2\x80\xA8line\xE2\x80\xA9paragraph\xC2\x85next", "[leading bracket", " spaced ",
         longTitle, std::string("nul\0 and \xFF", 10)},
        100);
    const auto read = roundTrip(dir, chapters, 1400);
    chapters.back().title = "nul\xEF\xBF\xBD and \xEF\xBF\xBD";
    EXPECT_EQ(read, chapters);
}

// So many long titles that they share what all of ffmpeg's arguments may
// take; the longest is cut at a character.
TEST(MovieChaptersTest, TitlesAreCutToFitTheArguments) {
    if (slowTestsSkipped() || !haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    std::vector<std::string> titles(2500, std::string(1000, 'a'));
    titles[0] = "x";
    while (titles[0].size() <= MovieChapters::kLongestTitleBytes) titles[0] += "ç";
    const auto read = roundTrip(dir, chaptersTitled(titles, 1), 2500);
    ASSERT_EQ(read.size(), titles.size());
    for (const std::size_t i : {std::size_t(0), titles.size() - 1}) {
        EXPECT_TRUE(isValidUtf8(read[i].title) && titles[i].starts_with(read[i].title)) << i;
        EXPECT_GE(read[i].title.size(), 100u) << i;
    }
}

TEST(MovieChaptersTest, TooManyChaptersAreRefusedBeforeAnythingRuns) {
    TempDir dir;
    writeFile(dir / "in.mp4", craftedMovie(1000, 20000));
    const auto many = chaptersTitled(std::vector<std::string>(MovieChapters::kMostChapters + 1, "t"), 1);
    const auto e = thrown<RenderError>([&] { MovieChapters::embed(dir / "in.mp4", many, dir / "out.mp4", {}); });
    EXPECT_EQ(e.errorCase(), RenderError::Case::badDeck);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);  // the movie alone
}
