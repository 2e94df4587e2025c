// What shows a lesson outside a lesson player: its chapters, the package
// read back whole, and the preview folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <tuple>

#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "package/ChapterList.hpp"
#include "package/ChapterVtt.hpp"
#include "package/CueCalculator.hpp"
#include "package/LessonPackage.hpp"
#include "package/ManifestBuilder.hpp"
#include "package/PackagedMovie.hpp"
#include "package/PreviewPage.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

namespace {

CueInput visible(std::int64_t slide, std::int64_t advanceMs, std::int64_t bullets = 0) {
    return {.slideIndex = slide, .advanceTimeMs = advanceMs, .bulletCount = bullets};
}

const std::vector<Cue> kCues{{0, 1, CueKind::slide, "Slide 1", 1000},
                             {1, 3, CueKind::bullet, "Slide 3 - bullet", 2001},
                             {2, 3, CueKind::slide, "Slide 3", 12'345'678}};

// A package of kCues whose notes carry what could break a page.
fs::path writePackage(const fs::path& path, const Bytes& movie) {
    const std::string manifest = ManifestBuilder::buildManifestV3(
        kCues, {{1, "Primeiro </script><script>alert(1)</script>"}, {3, "Terceiro\nduas linhas"}},
        {"aula.pptx", 3, 12'400'000, std::chrono::system_clock::time_point{}, "test", "test/1"});
    ZipArchive::create({{"manifest.json", toBytes(manifest)}, {LessonPackage::kMovieEntry, movie}}, path);
    return path;
}

}  // namespace

TEST(ChapterListTest, OneChapterPerVisibleSlideHoldingItsCues) {
    const std::string longTitle =
        "Como as plantas transformam a luz do Sol em alimento e por que isso importa a todos nós";
    std::vector<CueInput> inputs{visible(1, 1500), visible(2, 4000), visible(3, 6000, 2), visible(4, 0),
                                 visible(5, 12000)};
    inputs[1].isHidden = true;
    inputs[2].bulletDursMs = {500, 2000};
    inputs[4].videoDurationMs = 10000;
    const auto chapters = ChapterList::chapters(inputs, {{1, "Fotossíntese"}, {5, longTitle}, {2, "Oculto"}});
    // The long title is cut at a word, within the longest a title may be.
    EXPECT_EQ(chapters,
              (std::vector<Chapter>{
                  {0, 1500, "Fotossíntese"},
                  {1500, 7500, "Slide 3"},
                  {7500, 19500, "Como as plantas transformam a luz do Sol em alimento e por que isso importa a…"}}));

    // Every cue of a slide falls inside its chapter: both come from one arithmetic.
    const std::vector<std::int64_t> slideOfChapter{1, 3, 5};
    for (const auto& cue : CueCalculator::calculateCues(inputs)) {
        const auto at = std::find(slideOfChapter.begin(), slideOfChapter.end(), cue.slideIndex);
        if (at == slideOfChapter.end()) continue;  // the slide that takes no time
        const auto& chapter = chapters[static_cast<std::size_t>(at - slideOfChapter.begin())];
        EXPECT_TRUE(cue.timeMs > chapter.startMs && cue.timeMs <= chapter.endMs) << cue.label << " " << cue.timeMs;
    }
}

// A cue's text ends at a blank line and cannot hold "-->": a title keeps
// its cue to itself on one line.
TEST(ChapterVttTest, TimesFromWholeMillisecondsAndTitlesWithoutMarkup) {
    EXPECT_EQ(ChapterVtt::webVtt({{0, 1500, "Luz & <sombra> --> fim"},
                                  {1500, 2000, "um\r\n\ndois\r\n\n3\n00:00:00.000 --> 00:00:09.000\nfalso\\"},
                                  {3'723'004, 360'000'000, "Resumo"}}),
              "WEBVTT\n\n1\n00:00:00.000 --> 00:00:01.500\nLuz &amp; &lt;sombra&gt; --&gt; fim\n\n"
              "2\n00:00:01.500 --> 00:00:02.000\num   dois   3 00:00:00.000 --&gt; 00:00:09.000 falso\\\n\n"
              "3\n01:02:03.004 --> 100:00:00.000\nResumo\n");
}

TEST(LessonPackageTest, ReadsBackWhatTheManifestBuilderWrote) {
    TempDir dir;
    // The notes keyed by slide number again, as the cues count slides.
    EXPECT_EQ(
        LessonPackage::read(writePackage(dir / "aula.orv", toBytes("movie"))),
        (LessonPackage::Lesson{"aula.pptx",
                               12'400'000,
                               kCues,
                               {{1, "Primeiro </script><script>alert(1)</script>"}, {3, "Terceiro\nduas linhas"}}}));

    const std::string head = R"({"sourceFileName": "a.pptx", "masterVideoDuration": 2, "notesBySlide": {)";
    const std::string cue = R"({"cueIndex": 0, "slideIndex": 1, "kind": "slide", "label": "Slide 1", "time": )";
    for (const auto& bad : {head + R"(}, "cues": [)" + cue + "1.2345}]}", head + R"(}, "cues": [)" + cue + R"("1"}]})",
                            head + R"(}, "cues": [)" + cue + "-1}]}", head + R"("x": ""}, "cues": []})",
                            head + R"(}, "cues": [{"kind": "step"}]})", head + "}}", std::string("[1, 2")}) {
        EXPECT_THROW(LessonPackage::decode(bad), ManifestReader::DecodeError) << bad;
    }
}

// The movie is read where it lies in the package: a movie cut short inside
// it is refused though the archive's own bytes follow.
TEST(PackagedMovieTest, TheMovieMustBeAMovieWithAVideoTrackAsLongAsTheManifestSays) {
    TempDir dir;
    using enum PackagedMovie::MovieError::Case;
    const Bytes sound = trak("soun", 30000, 48000, 1'440'000, 1407);
    const Bytes thirtyFrames = movieOfTracks(1000, 1000, {trak("vide", 1000, 30, 30, 30)});  // 34 ms each, rounded up
    Bytes cut = stillsMovie(30000);
    cut.resize(cut.size() - 6);
    for (const auto& [what, movie, seconds, refusal] :
         std::vector<std::tuple<const char*, Bytes, double, std::optional<PackagedMovie::MovieError::Case>>>{
             {"a frame a second, as long as said", stillsMovie(30000), 30, {}},
             {"a frame's length apart", thirtyFrames, 1.034, {}},
             {"more than a frame's length apart", thirtyFrames, 1.035, lengthMismatch},
             {"after a sound track", movieOfTracks(1000, 30000, {sound, trak("vide", 30000, 1000, 30000, 31)}), 30, {}},
             {"a video that ends before its sound", movieOfTracks(1000, 30000, {sound, trak("vide", 3000, 1, 3, 4)}),
              30, lengthMismatch},
             {"empty", {}, 30, notAMovie},
             {"cut short", cut, 30, notAMovie},
             {"sound only", movieOfTracks(1000, 30000, {sound}), 30, noVideoTrack},
             {"a video track without frames", movieOfTracks(1000, 30000, {trak("vide", 30000, 1000, 30000, 0)}), 30,
              noVideoTrack},
             {"a movie header alone", craftedMovie(1000, 30000), 30, noVideoTrack}}) {
        SCOPED_TRACE(what);
        const auto orv = dir / "aula.orv";
        ZipArchive::create({{"manifest.json", toBytes("{}")}, {LessonPackage::kMovieEntry, movie}}, orv);
        if (!refusal) {
            EXPECT_NO_THROW(PackagedMovie::check(orv, seconds));
            continue;
        }
        const auto e = thrown<PackagedMovie::MovieError>([&] { PackagedMovie::check(orv, seconds); });
        EXPECT_EQ(e.errorCase(), *refusal);
        EXPECT_EQ(e.package(), orv);
    }
}

TEST(PreviewPageTest, WritesTheFolderWholeAndReplacesOnlyAnEarlierPreview) {
    TempDir dir;
    // Several copy chunks of movie data.
    const Bytes movie = joined({stillsMovie(12'400'000), box("mdat", Bytes(3 << 20, 7))});
    const auto orv = writePackage(dir / "aula.orv", movie);
    const auto folder = PreviewPage::defaultFolder(orv);  // aula-preview, as the export's --preview shows

    PreviewPage::write(orv, folder);
    PreviewPage::write(orv, folder);  // over the first one
    EXPECT_EQ(readFile(folder / "master.mp4"), movie);
    const std::string page = toString(readFile(folder / "index.html"));
    // Nothing to fetch from anywhere, and a note cannot end the script early.
    EXPECT_EQ(page.find("://"), std::string::npos);
    EXPECT_EQ(page.find("fetch("), std::string::npos);
    std::size_t scripts = 0;
    for (auto at = page.find("</script>"); at != std::string::npos; at = page.find("</script>", at + 1)) ++scripts;
    EXPECT_EQ(scripts, 2u);

    // A folder of the user's is left alone.
    writeFile(folder / "mine.txt", std::string("keep"));
    EXPECT_THROW(PreviewPage::write(orv, folder), PreviewPage::PreviewError);
    EXPECT_EQ(toString(readFile(folder / "mine.txt")), "keep");

    // A damaged movie, or none, leaves no folder, not even a hidden one.
    Bytes damaged = readFile(orv);
    damaged[damaged.size() / 2] ^= 1;
    writeFile(dir / "damaged.orv", damaged);
    EXPECT_THROW(PreviewPage::write(dir / "damaged.orv", dir / "d"), PptxArchive::ArchiveError);
    EXPECT_THROW(PreviewPage::write(writePackage(dir / "text.orv", toBytes("not a movie")), dir / "d"),
                 PackagedMovie::MovieError);
    EXPECT_FALSE(fs::exists(dir / "d"));
    EXPECT_TRUE(entriesNamed(dir.path(), ".tmp-").empty());
}

TEST(PreviewPageTest, NotesOnlyWhenAskedAndNeverAHiddenSlidesAndOneExtraScript) {
    // Slide 2 has notes but no cue: it is hidden.
    const LessonPackage::Lesson lesson{
        "aula.pptx", 12'400'000, kCues, {{1, "Primeiro"}, {2, "Segundo oculto"}, {3, "Terceiro"}}};
    for (const bool withNotes : {false, true}) {
        const auto page = PreviewPage::html(lesson, {.withNotes = withNotes});
        SCOPED_TRACE(withNotes);
        EXPECT_EQ(page.find("Primeiro") != std::string::npos, withNotes);
        EXPECT_EQ(page.find("Terceiro") != std::string::npos, withNotes);
        EXPECT_EQ(page.find("id=\"notes\"") != std::string::npos, withNotes);
        EXPECT_EQ(page.find("oculto"), std::string::npos);
    }
    const auto page = PreviewPage::html(lesson, {.extraScript = "window.lms = '</script>';"});
    EXPECT_NE(page.find("window.lms = '<\\/script>';\n</script>\n</body>"), std::string::npos);
}
