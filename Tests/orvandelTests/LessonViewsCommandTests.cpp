// The chapters and the preview page of an exported lesson, as players and
// browsers see them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Lessons.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using Json = nlohmann::json;

TEST(ChaptersCommandTest, OneChapterPerVisibleSlideInTheMovieWhichKeepsItsLength) {
    if (!haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    const auto lesson = exportLesson(dir, {"--chapters", "--preview"});
    writeFile(dir / "m.mp4", PptxArchive::readEntryBytes(lesson.orv, "assets/master.mp4"));
    const auto probe = Subprocess::run(
        {"ffprobe", "-v", "error", "-show_chapters", "-of", "json", (dir / "m.mp4").string()});
    const auto document = Json::parse(probe.standardOutput);
    std::vector<std::pair<std::string, std::string>> chapters;  // start, title
    for (const auto& c : document["chapters"]) chapters.emplace_back(c["start_time"], c["tags"]["title"]);
    EXPECT_EQ(chapters, (std::vector<std::pair<std::string, std::string>>{
                            {"0.000000", "Fotossíntese"}, {"1.500000", "Luz & água"}, {"6.000000", "Slide 4"}}));
    EXPECT_EQ(Mp4Duration::measureMs(dir / "m.mp4"), lesson.planMs);
    EXPECT_EQ(Mp4Duration::measureMs(lesson.movie), lesson.planMs);
    EXPECT_EQ(readFile(dir / "aula-preview" / "master.mp4"), readFile(dir / "m.mp4"));

    // The WebVTT file parses with the Debian parser.
    ASSERT_EQ(runCli({"chapters", lesson.orv.string(), "--vtt", "-o", (dir / "a.vtt").string()}).exitStatus, 0);
    if (Subprocess::run({"/usr/bin/python3", "-c", "import webvtt"}).exitStatus == 0) {
        const auto parsed = Subprocess::run({"/usr/bin/python3", "-c",
                                             "import sys, webvtt\n"
                                             "for c in webvtt.read(sys.argv[1]): print(c.start, c.end, c.text)",
                                             (dir / "a.vtt").string()});
        EXPECT_EQ(parsed.standardOutput,
                  "00:00:00.000 00:00:01.500 Fotossíntese\n00:00:01.500 00:00:06.000 Luz &amp; água\n"
                  "00:00:06.000 00:00:07.500 Slide 4\n")
            << parsed.standardError;
    }

    // Without --chapters there are no chapters to read.
    const auto without = exportLesson(dir, {});
    const auto r = runCli({"chapters", without.orv.string(), "--vtt"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.standardError.find("--chapters"), std::string::npos) << r.standardError;
}

// The notes are the teacher's: out unless asked for, and a hidden slide's never.
TEST(PreviewCommandTest, NotesOnlyWithWithNotesAndNeverAHiddenSlides) {
    if (!haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    const auto lesson = exportLesson(dir, {"--preview", "--with-notes"});
    const auto pageOf = [](const fs::path& folder) { return toString(readFile(folder / "index.html")); };
    for (const auto& [args, withNotes] : std::vector<std::pair<std::vector<std::string>, bool>>{
             {{"preview", lesson.orv.string(), "-o", (dir / "a").string()}, false},
             {{"preview", lesson.orv.string(), "-o", (dir / "b").string(), "--with-notes", "--deck",
               lesson.deck.string()},
              true}}) {
        const auto r = runCli(args);
        ASSERT_EQ(r.exitStatus, 0) << r.standardError;
        const auto page = pageOf(args[3]);
        EXPECT_EQ(r.standardOutput.find("without the speaker notes") != std::string::npos, !withNotes);
        EXPECT_EQ(page.find("Boas-vindas") != std::string::npos, withNotes);
        EXPECT_EQ(page.find("Terceiro") != std::string::npos, withNotes);
        EXPECT_EQ(page.find("oculto"), std::string::npos);
    }
    // The export's own preview, asked with the notes, and labelled from the deck.
    const auto exported = pageOf(dir / "aula-preview");
    EXPECT_NE(exported.find("Boas-vindas"), std::string::npos);
    EXPECT_EQ(exported.find("oculto"), std::string::npos);
    EXPECT_NE(exported.find("\"Luz & água\""), std::string::npos);
    EXPECT_EQ(runCli({"export", lesson.deck.string(), "--with-notes"}).exitStatus, 2);  // without --preview
}

// The page opened from disk as a teacher would: every cue row, the notes, the keys.
TEST(PreviewCommandTest, ThePageWorksOpenedFromDiskInChromium) {
    const auto script = sourceDir() / "bench" / "browser" / "preview-check.mjs";
    if (slowTestsSkipped() || !haveMediaTools() || !fs::exists("/usr/bin/chromium") || !haveProgram("node") ||
        !fs::exists(script.parent_path() / "node_modules" / "playwright-core")) {
        GTEST_SKIP() << "needs chromium, node and playwright-core (bench/preview-check.sh installs them)";
    }
    TempDir dir;
    const auto lesson = exportLesson(dir, {});
    ASSERT_EQ(runCli({"preview", lesson.orv.string(), "-o", (dir / "page").string(), "--with-notes"}).exitStatus, 0);
    const auto r = Subprocess::run({"node", script.string(), (dir / "page").string()},
                                   {.timeout = std::chrono::minutes(3)});
    ASSERT_EQ(r.exitStatus, 0) << r.standardError;
    const auto page = Json::parse(r.standardOutput);
    const auto cues = Json::parse(PptxArchive::readEntry(lesson.orv, "manifest.json"))["cues"];

    ASSERT_EQ(page["rows"], cues.size());
    for (const auto& click : page["clicks"]) {
        const auto& cue = cues[click["row"].get<std::size_t>()];
        SCOPED_TRACE(cue["label"].get<std::string>());
        EXPECT_NEAR(click["currentTime"].get<double>(), cue["time"].get<double>(), 1.0 / 30);  // a frame
        EXPECT_TRUE(click["paused"].get<bool>());
        EXPECT_EQ(click["highlighted"], click["row"]);
        const auto notes = kNotes.find(cue["slideIndex"].get<std::int64_t>());
        if (notes != kNotes.end()) EXPECT_EQ(click["notes"], notes->second);
        else
            for (const auto& [slide, text] : kNotes) EXPECT_NE(click["notes"], text);
    }
    EXPECT_EQ(page["keys"]["right"]["highlighted"], 1);
    EXPECT_EQ(page["keys"]["left"]["highlighted"], 0);
    EXPECT_TRUE(page["keys"]["spacePlays"].get<bool>());
    EXPECT_TRUE(page["keys"]["spacePauses"].get<bool>());
    EXPECT_EQ(page["requests"], Json::array());
    EXPECT_EQ(page["errors"], Json::array());
}
