// The chapters and the preview page of an exported lesson, as players and
// browsers see them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

std::string titled(const std::string& title) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"4\" name=\"T\"/><p:cNvSpPr/><p:nvPr><p:ph type=\"title\"/></p:nvPr>"
           "</p:nvSpPr><p:spPr/><p:txBody><a:p><a:r><a:t>" + title + "</a:t></a:r></a:p></p:txBody></p:sp>";
}

// Slide 2 is hidden; slide 3 has two click steps; slide 4 neither title nor notes.
const std::map<std::int64_t, std::string> kNotes{{1, "Boas-vindas"}, {2, "oculto"}, {3, "Terceiro"}};

// A deck, a movie as long as its plan (the ms), and the package exported
// from them with `options`.
struct Lesson {
    fs::path deck, movie, orv;
    std::int64_t planMs = 0;
};

Lesson exportLesson(const TempDir& dir, const std::vector<std::string>& options) {
    const std::string steps = step(anim("clickEffect", "500", "entr")) + step(anim("clickEffect", "500", "entr"));
    DeckBuilder builder;
    builder.addSlide(slideXml(titled("Fotossíntese")))
        .addSlide(slideXml(titled("Oculto"), "", "show=\"0\""))
        .addSlide(slideXml(kTextBox + titled("Luz &amp; água"), timing(steps)))
        .addSlide(slideXml(kTextBox));
    for (const auto& [slide, text] : kNotes) builder.addNotes(static_cast<int>(slide), notesSlideXml({text}));
    Lesson lesson{builder.write(dir / "aula.pptx"), dir / "movie.mp4", dir / "aula.orv"};
    const auto scan = Json::parse(runCli({"scan", lesson.deck.string(), "--json"}).standardOutput);
    for (const auto& s : scan) lesson.planMs += s["isHidden"].get<bool>() ? 0 : s["advTmMs"].get<std::int64_t>();
    const auto made = Subprocess::run({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "color=c=white:s=320x180:r=10", "-t",
                           std::to_string(lesson.planMs) + "ms", "-c:v", "libx264", "-pix_fmt", "yuv420p",
                           "-video_track_timescale", "1000", lesson.movie.string()});
    EXPECT_EQ(made.exitStatus, 0) << made.standardError;
    std::vector<std::string> args{"export", lesson.deck.string(), "--mp4", lesson.movie.string(), "-o",
                                  lesson.orv.string()};
    args.insert(args.end(), options.begin(), options.end());
    const auto r = runCli(args);
    EXPECT_EQ(r.exitStatus, 0) << r.standardError;
    return lesson;
}

bool haveMediaTools() { return haveProgram("ffmpeg") && haveProgram("ffprobe"); }

}  // namespace

TEST(ChaptersCommandTest, OneChapterPerVisibleSlideInTheMovieWhichKeepsItsLength) {
    if (!haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    const auto lesson = exportLesson(dir, {"--chapters", "--preview"});
    writeFile(dir / "m.mp4", PptxArchive::readEntryBytes(lesson.orv, "assets/master.mp4"));
    const auto probe = Subprocess::run({"ffprobe", "-v", "error", "-show_chapters", "-of", "json", (dir / "m.mp4").string()});
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

// The page opened from disk as a teacher would: every cue row, the notes, the keys.
TEST(PreviewCommandTest, ThePageWorksOpenedFromDiskInChromium) {
    const auto script = sourceDir() / "bench" / "browser" / "preview-check.mjs";
    if (slowTestsSkipped() || !haveMediaTools() || !fs::exists("/usr/bin/chromium") || !haveProgram("node") ||
        !fs::exists(script.parent_path() / "node_modules" / "playwright-core")) {
        GTEST_SKIP() << "needs chromium, node and playwright-core (bench/preview-check.sh installs them)";
    }
    TempDir dir;
    const auto lesson = exportLesson(dir, {});
    ASSERT_EQ(runCli({"preview", lesson.orv.string(), "-o", (dir / "page").string()}).exitStatus, 0);
    const auto r = Subprocess::run({"node", script.string(), (dir / "page").string()}, {.timeout = std::chrono::minutes(3)});
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
        else for (const auto& [slide, text] : kNotes) EXPECT_NE(click["notes"], text);
    }
    EXPECT_EQ(page["keys"]["right"]["highlighted"], 1);
    EXPECT_EQ(page["keys"]["left"]["highlighted"], 0);
    EXPECT_TRUE(page["keys"]["spacePlays"].get<bool>());
    EXPECT_TRUE(page["keys"]["spacePauses"].get<bool>());
    EXPECT_EQ(page["requests"], Json::array());
    EXPECT_EQ(page["errors"], Json::array());
}
