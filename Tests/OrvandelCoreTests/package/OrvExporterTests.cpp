#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "DeckBuilder.hpp"
#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "base/AtomicFile.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckError.hpp"
#include "deck/DeckScanner.hpp"
#include "package/BatchExport.hpp"
#include "package/ManifestReader.hpp"
#include "package/OrvExporter.hpp"
#include "package/OrvPackager.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

const std::string kManifest = R"({"cues": [{}, {}, {}], "masterVideoDuration": 12.345})";

Bytes movieBytes(std::size_t n) {
    Bytes b(n);
    for (std::size_t i = 0; i < n; ++i) b[i] = static_cast<std::uint8_t>(i * 7 + (i >> 11));
    return b;
}

const std::string gifPicture = picture("4", "rId5");
const std::vector<Rel> gifRels{{"rId5", "image", "../media/image1.gif"}};
const std::vector<Rel> videoRels{{"rId2", "video", "../media/media1.mp4"}};

std::string plain(const std::string& rootAttrs = "") { return slideXml(kTextBox, "", rootAttrs); }
std::string clicks(int n, const std::string& cls = "entr", const std::string& rootAttrs = "") {
    std::string steps;
    for (int i = 0; i < n; ++i) steps += step(anim("clickEffect", "500", cls));
    return slideXml(kTextBox, timing(steps), rootAttrs);
}
// A click-started video of unknown length.
std::string clickVideo(const std::string& rootAttrs = "") {
    return slideXml(kTextBox + kVideo, timing(step(mediaCall("clickEffect", "indefinite"))), rootAttrs);
}

class OrvExporterTest : public ::testing::Test {
protected:
    OrvExporterTest() { fs::create_directories(dir / "tmp"); }

    // No work directory and no temporary package file outlived the export.
    bool clean() const {
        return entriesNamed(dir / "tmp", "orv-chain-").empty() && entriesNamed(dir.path(), ".tmp-").empty();
    }
    fs::path out() const { return dir / "lesson.orv"; }
    OrvExporter::Result exportDeck(const fs::path& deck, const Mp4Exporting& renderer, const SlideDurations& gifMs = {},
                                   const SlideDurations& videoMs = {},
                                   const std::optional<fs::path>& movie = std::nullopt, const RenderHooks& hooks = {},
                                   const ChapterWriter& chapters = {}) const {
        return OrvExporter::export_(
            deck, movie, out(), videoMs, gifMs, std::chrono::system_clock::time_point{}, "test", "test/1",
            [] { return true; }, renderer, hooks, chapters);
    }
    // The DeckError of a refused export, which must leave nothing behind.
    DeckError refused(const fs::path& deck, const Mp4Exporting& renderer, const SlideDurations& gifMs = {}) const {
        const auto e = thrown<DeckError>([&] { exportDeck(deck, renderer, gifMs); });
        EXPECT_TRUE(clean());
        EXPECT_FALSE(fs::exists(out()));
        return e;
    }

    TempDir dir;
    ScopedEnv env{{{"TMPDIR", (dir / "tmp").string()}}};
};

}  // namespace

// The package is what the in-memory writer would write, streamed; an existing
// one is replaced whole or not at all, and no temporary file is left. (A
// destination that is a folder or lies in a missing one is refused at the
// command line, see HostileInputTest.)
TEST(OrvPackagerTest, StreamsTwoStoredEntriesAndReplacesThePackageWholeOrNotAtAll) {
    TempDir dir;
    const Bytes movie = movieBytes(3 << 20);  // several copy chunks
    writeFile(dir / "master.mp4", movie);
    writeFile(dir / "lesson.orv", std::string("old package"));
    OrvPackager::package(kManifest, dir / "master.mp4", dir / "lesson.orv");
    ZipArchive::create({{"manifest.json", toBytes(kManifest)}, {"assets/master.mp4", movie}}, dir / "same.zip");
    EXPECT_EQ(readFile(dir / "lesson.orv"), readFile(dir / "same.zip"));
    EXPECT_EQ(readFile(dir / "master.mp4"), movie) << "the movie is copied, never moved";

    // The disk fills up half way through: the system's reason is kept.
    const Bytes old = readFile(dir / "lesson.orv");
    const auto full = thrown<DeckError>([&] {
        OrvPackager::package(kManifest, dir / "master.mp4", dir / "lesson.orv",
                             [](const auto& entries, const fs::path& to) {
                                 ZipArchive::createStreaming({entries.front()}, to);
                                 throw FileError("write", to.string(), ENOSPC);
                             });
    });
    EXPECT_EQ(full.errorCase(), DeckError::Case::orvWriteFailed);
    EXPECT_EQ(full.path(), (dir / "lesson.orv").string());
    EXPECT_EQ(full.cause(), std::strerror(ENOSPC));
    EXPECT_EQ(full.causeErrno(), ENOSPC);
    EXPECT_EQ(readFile(dir / "lesson.orv"), old);
    EXPECT_TRUE(entriesNamed(dir.path(), ".tmp-").empty());

    // An unreadable movie is the file system's error and writes nothing.
    EXPECT_THROW(OrvPackager::package(kManifest, dir / "nope.mp4", dir / "lesson.orv"), FileError);
    EXPECT_EQ(readFile(dir / "lesson.orv"), old);
}

TEST_F(OrvExporterTest, RefusesDecksInOrderBeforeAnyRendering) {
    auto renderer = movieOf(3000);
    const auto gifs = DeckBuilder()
                          .addSlide(plain())
                          .addSlide(slideXml(gifPicture), gifRels)
                          .addSlide(slideXml(gifPicture, "", "show=\"0\""), gifRels)
                          .addSlide(slideXml(gifPicture), gifRels)
                          .write(dir / "gifs.pptx");
    using enum DeckError::Case;
    using Slides = std::vector<std::int64_t>;
    for (const auto& [what, deck, gifMs, refusal, slides] :
         std::vector<std::tuple<const char*, fs::path, SlideDurations, DeckError::Case, Slides>>{
             {"no slide at all", DeckBuilder().write(dir / "empty.pptx"), {}, noVisibleSlides, {}},
             {"only hidden slides, even with two videos and a GIF",
              DeckBuilder()
                  .addSlide(slideXml(kTextBox + kVideo + kVideo, "", "show=\"0\""), videoRels)
                  .addSlide(slideXml(gifPicture, "", "show=\"0\""), gifRels)
                  .write(dir / "hidden.pptx"),
              {},
              noVisibleSlides,
              {}},
             {"several videos on a slide win over a GIF without length",
              DeckBuilder()
                  .addSlide(slideXml(gifPicture), gifRels)
                  .addSlide(slideXml(kTextBox + kVideo + kVideo), videoRels)
                  .write(dir / "both.pptx"),
              {},
              multipleVideosOnSlide,
              {2}},
             {"only visible GIFs need a length", gifs, {{4, 1000}}, gifWithoutDuration, {2}}}) {
        SCOPED_TRACE(what);
        const auto e = refused(deck, renderer, gifMs);
        EXPECT_EQ(e.errorCase(), refusal);
        EXPECT_EQ(e.slides(), slides);
    }
    EXPECT_EQ(renderer.calls, 0);

    exportDeck(gifs, movieOf(9000), {{2, 1000}, {4, 1000}});
    EXPECT_TRUE(fs::exists(out()));
    EXPECT_TRUE(clean());
}

// Where the package cannot go is found before the deck is even read (a
// file that is no deck would say otherwise). A file name is bytes: the
// package keeps them, the manifest shows the ones that are not UTF-8 as U+FFFD.
TEST_F(OrvExporterTest, ADestinationThatCannotBeWrittenIsRefusedBeforeAnyWork) {
    writeFile(dir / "file", std::string("a file, not a folder"));
    std::string accented;  // 2 bytes a character
    while (accented.size() < 246) accented += "\xC3\xA7";
    using enum OutputError::Case;
    for (const auto& [what, deckName, destination, refusal] :
         std::vector<std::tuple<const char*, std::string, fs::path, OutputError::Case>>{
             {"a folder that has gone", "aula.pptx", dir / "gone" / "aula.orv", folderMissing},
             {"a folder that is a file", "aula.pptx", dir / "file" / "aula.orv", folderMissing},
             {"a 251-byte deck name of 2-byte characters", accented + ".pptx", {}, nameTooLong}}) {
        SCOPED_TRACE(what);
        const auto deck = dir / deckName;
        writeFile(deck, std::string("not even a deck"));
        auto renderer = movieOf(1500);
        const auto to = destination.empty() ? fs::path(deck).replace_extension(".orv") : destination;
        const auto e = thrown<OutputError>(
            [&] { OrvExporter::export_(deck, std::nullopt, to, {}, {}, {}, "test", "test/1", {}, renderer); });
        EXPECT_EQ(e.errorCase(), refusal);
        EXPECT_EQ(e.destination(), to);
        EXPECT_EQ(renderer.calls, 0);
        EXPECT_TRUE(clean());
        fs::remove(deck);
    }

    const auto deck = DeckBuilder().addSlide(plain()).write(dir / "aula\xFF.pptx");
    OrvExporter::export_(deck, std::nullopt, dir / "aula\xFF.orv", {}, {}, {}, "test", "test/1", {}, movieOf(1500));
    const Json manifest = Json::parse(PptxArchive::readEntry(dir / "aula\xFF.orv", "manifest.json"));
    EXPECT_EQ(manifest["sourceFileName"], "aula\uFFFD.pptx");
    EXPECT_TRUE(clean());
}

TEST_F(OrvExporterTest, AGivenMovieIsNeitherRenderedNorCheckedNorMoved) {
    const auto deck = DeckBuilder().addSlide(plain()).addSlide(clickVideo()).write(dir / "aula.pptx");
    const Bytes movie = craftedMovie(1000, 100);  // far shorter than the plan
    writeFile(dir / "given.mp4", movie);
    // A temporary directory that does not exist: any work directory would fail.
    ScopedEnv absent{{{"TMPDIR", (dir / "absent").string()}}};
    auto renderer = movieOf(3000);

    EXPECT_EQ(exportDeck(deck, renderer, {}, {{2, 4000}}, dir / "given.mp4"),
              (OrvExporter::Result{{}, {}, 0, {}, 2, 100}));
    EXPECT_EQ(renderer.calls, 0);
    EXPECT_EQ(readFile(dir / "given.mp4"), movie);
    EXPECT_FALSE(fs::exists(dir / "absent"));
    EXPECT_EQ(PptxArchive::readEntryBytes(out(), "assets/master.mp4"), movie);
}

TEST_F(OrvExporterTest, ChaptersGoIntoACopyOfTheMovieAndLeaveTheManifestAlone) {
    const std::string title = "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"T\"/><p:cNvSpPr/><p:nvPr><p:ph "
                              "type=\"title\"/></p:nvPr></p:nvSpPr><p:spPr/><p:txBody><a:p><a:r><a:t>Abertura"
                              "</a:t></a:r></a:p></p:txBody></p:sp>";
    const auto deck = DeckBuilder()
                          .addSlide(slideXml(title))
                          .addSlide(plain("show=\"0\""))
                          .addSlide(clicks(1))
                          .write(dir / "aula.pptx");
    const Bytes movie = craftedMovie(1000, 4500);
    writeFile(dir / "given.mp4", movie);
    exportDeck(deck, movieOf(0), {}, {}, dir / "given.mp4");
    const std::string plainManifest = PptxArchive::readEntry(out(), "manifest.json");

    std::vector<Chapter> written;
    const ChapterWriter writer = [&](const fs::path& in, const std::vector<Chapter>& chapters, const fs::path& to,
                                     const RenderHooks&) {
        written = chapters;
        writeFile(to, toString(readFile(in)) + "+chapters");
    };
    const auto exportWith = [&](const ChapterWriter& w) {
        exportDeck(deck, movieOf(0), {}, {}, dir / "given.mp4", {}, w);
    };
    exportWith(writer);
    EXPECT_EQ(written, (std::vector<Chapter>{{0, 1500, "Abertura"}, {1500, 4500, "Slide 3"}}));
    EXPECT_EQ(toString(PptxArchive::readEntryBytes(out(), "assets/master.mp4")), toString(movie) + "+chapters");
    EXPECT_EQ(PptxArchive::readEntry(out(), "manifest.json"), plainManifest);
    EXPECT_TRUE(clean());

    // A writer that fails keeps the old package and leaves nothing behind.
    EXPECT_THROW(exportWith([](const fs::path&, const std::vector<Chapter>&, const fs::path&, const RenderHooks&) {
                     throw std::runtime_error("no ffmpeg");
                 }),
                 std::runtime_error);
    EXPECT_EQ(PptxArchive::readEntry(out(), "manifest.json"), plainManifest);
    EXPECT_TRUE(clean());
}

TEST_F(OrvExporterTest, RenderedMovieMustLastBetweenSixAndFourteenTenthsOfThePlan) {
    // Two visible plain slides of 1500 ms; the hidden one does not count.
    const auto deck =
        DeckBuilder().addSlide(plain()).addSlide(plain("show=\"0\"")).addSlide(plain()).write(dir / "aula.pptx");
    for (const std::int64_t ms : {1800, 4200}) {
        exportDeck(deck, movieOf(ms));
        const Json manifest = Json::parse(PptxArchive::readEntry(out(), "manifest.json"));
        EXPECT_EQ(manifest["masterVideoDuration"], double(ms) / 1000);
        fs::remove(out());
    }
    for (const std::int64_t ms : {1770, 4230}) {
        const auto e = refused(deck, movieOf(ms));
        EXPECT_EQ(e.errorCase(), DeckError::Case::masterDurationMismatch);
        EXPECT_EQ(e.expectedMs(), 3000);
        EXPECT_EQ(e.measuredMs(), ms);
    }
}

TEST_F(OrvExporterTest, RendererFailuresAndACancelLeaveNothingBehindAndKeepTheOldPackage) {
    const auto deck = DeckBuilder().addSlide(plain()).write(dir / "aula.pptx");
    writeFile(out(), std::string("old package"));
    auto expectClean = [&] {
        EXPECT_TRUE(clean());
        EXPECT_EQ(toString(readFile(out())), "old package");
    };

    // A renderer that times out is told to the user with the way to export by hand.
    const auto timedOut = Mp4Exporter::ExportError::timedOut("no movie after 900 s");
    const auto e = thrown<OrvExporter::FlowError>(
        [&] { exportDeck(deck, FakeRenderer([&](const fs::path&) { throw timedOut; })); });
    EXPECT_EQ(e.exportError().errorCase(), Mp4Exporter::ExportError::Case::timedOut);
    EXPECT_THAT(e.what(),
                AllOf(HasSubstr(std::string("(motivo: ") + timedOut.what() + ")"), HasSubstr("--mp4 <arquivo>")));
    expectClean();
    // Any other renderer error is passed on as it is.
    EXPECT_THROW(exportDeck(deck, FakeRenderer([](const fs::path&) { throw std::range_error("odd"); })),
                 std::range_error);
    expectClean();
    // No movie at all, which cannot be measured.
    EXPECT_THROW(exportDeck(deck, FakeRenderer([](const fs::path&) {})), Mp4Duration::Mp4Error);
    expectClean();
    // A cancel while the movie is being packaged.
    const CancellationToken token;
    const RenderHooks hooks{[&](ExportStage stage, double) {
                                if (stage == ExportStage::package) token.cancel();
                            },
                            token};
    EXPECT_THROW(exportDeck(deck, movieOf(1500), {}, {}, std::nullopt, hooks), CancelledError);
    expectClean();
}

TEST_F(OrvExporterTest, ResultAndManifestDescribeTheUsersDeck) {
    const auto deck = DeckBuilder()
                          .addSlide(clicks(2))
                          .addNotes(1, notesSlideXml({"Primeira"}))
                          .addSlide(clicks(4, "exit", "show=\"0\""))
                          .addSlide(clicks(1, "exit"))
                          .addNotes(3, notesSlideXml({"Terceira"}))
                          .addSlide(clickVideo("show=\"0\""), videoRels)
                          .addSlide(clickVideo(), videoRels)
                          .write(dir / "aula.pptx");
    // Planned: 4500 + 3000 + 5500 ms for the visible slides.
    EXPECT_EQ(exportDeck(deck, movieOf(13000), {}, {{4, 3000}, {5, 4000}}),
              (OrvExporter::Result{{4, 5}, {3}, 2, {}, 6, 13000}));
    const Json manifest = Json::parse(PptxArchive::readEntry(out(), "manifest.json"));
    // The cues of the user's deck: its click steps are gone from the prepared one.
    std::vector<std::string> cues;
    for (const auto& c : manifest["cues"]) cues.push_back(c["label"].get<std::string>() + "@" + c["time"].dump());
    EXPECT_EQ(cues, (std::vector<std::string>{"Slide 1 - bullet@0.5", "Slide 1 - bullet@2.5", "Slide 1@4",
                                              "Slide 3 - bullet@5", "Slide 3@7", "Slide 5 - fim do video@12.5"}));
    EXPECT_EQ(manifest["notesBySlide"].dump(), R"({"0":"Primeira","1":"","2":"Terceira","3":"","4":""})");
    EXPECT_TRUE(clean());
}

// A one-hour lesson's movie passes 4 GiB: the package takes ZIP64 records and
// still reads back. The movie is sparse, but the package is written whole.
TEST(OrvPackagerTest, AMovieBeyondFourGibibytesPackagesAndProbes) {
    TempDir dir;
    if (slowTestsSkipped() || fs::space(dir.path()).available < (std::uintmax_t{10} << 30)) {
        GTEST_SKIP() << "needs 10 GB free and the release build";
    }
    writeFile(dir / "long.mp4", craftedMovie(1000, 3'600'000));
    fs::resize_file(dir / "long.mp4", 4'500'000'000);  // zeros after the movie header: a sparse file
    OrvPackager::package(kManifest, dir / "long.mp4", dir / "long.orv");
    EXPECT_EQ(ZipArchive::entryNames(dir / "long.orv"),
              (std::vector<std::string>{"manifest.json", "assets/master.mp4"}));
    EXPECT_EQ(ManifestReader::read(dir / "long.orv").cues.size(), 3u);
    EXPECT_TRUE(!haveProgram("unzip") || Subprocess::run({"unzip", "-tqq", (dir / "long.orv").string()}).succeeded());
}

// One set of lengths times the scan, the prepared deck and the cues: a moving
// GIF without one plays its own loop (the movie's length then matches the
// plan), and videos that a click on another shape starts stay still, told
// once. A length for a slide without a GIF or video is refused alone, ignored
// in a batch.
TEST_F(OrvExporterTest, GifsPlayTheirOwnLoopAndTriggeredMediaStayStill) {
    // Two frames of 1.2 s, played once.
    const std::string frame = std::string("\x21\xF9\x04\x00\x78\x00\x00\x00", 8) +
                              std::string("\x2C\0\0\0\0\x01\0\x01\0\0\x02\x02\x4C\x01\0", 15);
    const std::string triggered = slideXml(kTextBox + kVideo, playOnTrigger("3000"));
    const auto deck = DeckBuilder()
                          .addSlide(slideXml(gifPicture), gifRels)
                          .addSlide(triggered, videoRels)
                          .addSlide(plain())
                          .addSlide(triggered, videoRels)
                          .addEntry("ppt/media/image1.gif", std::string("GIF89a\x01\0\x01\0\0\0\0", 13) + frame + frame)
                          .write(dir / "deck.pptx");
    const std::int64_t planned = OrvExporter::expectedDurationMs(DeckScanner::report(deck, {}, {{1, 2400}}));
    // Far from the plan without the GIF's own length: the guard would refuse the movie.
    ASSERT_GT(planned - OrvExporter::expectedDurationMs(DeckScanner::report(deck, {}, {})), 1000);
    EXPECT_EQ(exportDeck(deck, movieOf(planned)).warnings,
              (std::vector<Warning>{Warning::gifLengthAssumed(1, 2400), Warning::mediaStaysStill({2, 4}, "video")}));

    fs::remove(out());
    const auto e = refused(deck, movieOf(planned), {{3, 1000}});
    EXPECT_EQ(std::pair(e.errorCase(), e.slides()),
              std::pair(DeckError::Case::lengthForSlideWithout, std::vector<std::int64_t>{3}));
    BatchExport::Options options;
    options.gifMs = {{3, 1000}};
    options.videoMs = {{3, 1000}};
    options.makeRenderer = [&](const auto&) { return std::make_unique<FakeRenderer>(movieOf(planned)); };
    const auto outcomes = BatchExport::run({{deck, out()}}, options);
    ASSERT_TRUE(outcomes.at(0).ok) << outcomes.at(0).error;
    EXPECT_EQ(std::vector<Warning>(outcomes[0].warnings.begin(), outcomes[0].warnings.begin() + 2),
              (std::vector<Warning>{Warning::gifLengthIgnored(3, true), Warning::videoLengthIgnored(3)}));
}
