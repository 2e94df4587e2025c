#include <gtest/gtest.h>

#include <csignal>

#include <chrono>
#include <nlohmann/json.hpp>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "base/Subprocess.hpp"
#include "container/ZipArchive.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

namespace {

SubprocessResult cli(std::vector<std::string> args) {
    args.insert(args.begin(), cliPath().string());
    return Subprocess::run(args, {.timeout = std::chrono::minutes(2)});
}

// What one corpus deck must give: the package, or a refusal on one line that writes nothing.
void checkCorpusExport(const fs::path& deck, const fs::path& movie, const Bytes& movieBytes, const fs::path& out) {
    SCOPED_TRACE(deck.filename().string());
    std::vector<std::string> args{"export", deck.string(), "--mp4", movie.string(), "-o", out.string()};
    auto expectRefusal = [&](const std::string& saying) {
        const auto r = cli(args);
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_TRUE(r.standardError.starts_with("orvandel: ") && r.standardError.find(saying) != std::string::npos &&
                    r.standardError.find('\n') + 1 == r.standardError.size())
            << r.standardError;
        EXPECT_FALSE(fs::exists(out));
    };
    const auto scan = cli({"scan", deck.string(), "--json"});
    if (scan.exitStatus != 0) return expectRefusal(scan.standardError.substr(10));
    EXPECT_TRUE(Json::accept(cli({"notes", deck.string(), "--json"}).standardOutput));
    std::string gifs;  // "2, 5"
    std::vector<std::string> lengths;
    bool anyVisible = false;
    for (const auto& s : Json::parse(scan.standardOutput)) {
        const std::string n = s["displayIndex"].dump();
        anyVisible = anyVisible || !s["isHidden"].get<bool>();
        if (s["hasGif"].get<bool>() && !s["isHidden"].get<bool>()) {
            gifs += (gifs.empty() ? "" : ", ") + n;
            lengths.insert(lengths.end(), {"--gif", n + ":3000"});
        }
        if (s["advTmMs"].is_null()) lengths.insert(lengths.end(), {"--video", n + ":5000"});
    }
    if (!anyVisible) return expectRefusal("no visible slides");
    if (!gifs.empty()) expectRefusal("[" + gifs + "]");  // the GIFs whose length is missing

    args.insert(args.end(), lengths.begin(), lengths.end());
    const auto r = cli(args);
    ASSERT_EQ(r.exitStatus, 0) << r.standardError;
    EXPECT_EQ(Subprocess::run({"unzip", "-tq", out.string()}).exitStatus, 0);
    EXPECT_TRUE(toBytes(Subprocess::run({"unzip", "-p", out.string(), "assets/master.mp4"}).standardOutput) ==
                movieBytes);
    const Json manifest = Json::parse(Subprocess::run({"unzip", "-p", out.string(), "manifest.json"}).standardOutput);
    const auto probe = cli({"probe", out.string(), "--json"});
    ASSERT_EQ(probe.exitStatus, 0) << probe.standardError;
    EXPECT_EQ(Json::parse(probe.standardOutput),
              (Json{{"cues", manifest["cues"].size()}, {"masterVideoDuration", manifest["masterVideoDuration"]}}));
    fs::remove(out);
}

}  // namespace

TEST(ExportCommandTest, EveryCorpusDeckBecomesAPackageOrFailsWithItsError) {
    ORVANDEL_REQUIRE_CORPUS();
    if (!haveProgram("ffmpeg") || !haveProgram("unzip")) GTEST_SKIP() << "ffmpeg or unzip missing";
    TempDir dir;
    const auto movie = dir / "master.mp4";
    const auto made = Subprocess::run({"ffmpeg", "-v", "error", "-f", "lavfi", "-i",
                                       "testsrc=duration=2:size=320x240:rate=10", "-pix_fmt", "yuv420p",
                                       movie.string()});
    ASSERT_EQ(made.exitStatus, 0) << made.standardError;
    const Bytes movieBytes = readFile(movie);

    for (const auto& deck : corpusDecks()) checkCorpusExport(deck, movie, movieBytes, dir / "out.orv");
}

TEST(ExportCommandTest, AnInterruptStopsTheRenderAndLeavesNothingBehind) {
    TempDir dir;
    for (const char* sub : {"bin", "tmp", "home"}) fs::create_directories(dir / sub);
    DeckBuilder().addSlide(slideXml()).addSlide(slideXml()).write(dir / "aula.pptx");
    // A renderer stage that never ends by itself.
    writeFile(dir / "bin" / "soffice", "#!/bin/sh\necho $$ > '" + (dir / "soffice.pid").string() + "'\nexec sleep 300\n");
    fs::permissions(dir / "bin" / "soffice", fs::perms::owner_all);
    const char* path = std::getenv("PATH");
    const std::vector<std::string> env{"PATH=" + (dir / "bin").string() + ":" + (path ? path : "/usr/bin:/bin"),
                                       "TMPDIR=" + (dir / "tmp").string(), "HOME=" + (dir / "home").string()};

    for (const int sig : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(sig);
        writeFile(dir / "lesson.orv", std::string("old package"));
        fs::remove(dir / "soffice.pid");
        // Signals the export once its renderer runs, then prints how it ended.
        const auto r = Subprocess::run(
            {"/bin/sh", "-c",
             "\"$0\" export aula.pptx -o lesson.orv --renderer libreoffice >log 2>&1 & "
             "while [ ! -s soffice.pid ]; do sleep 0.02; done; sleep 0.1; kill -" + std::to_string(sig) +
                 " $!; wait $!; echo $?",
             cliPath().string()},
            {.environment = env, .workingDirectory = dir.path(), .timeout = std::chrono::seconds(70)});
        const std::string log = toString(readFile(dir / "log"));
        EXPECT_EQ(r.standardOutput, std::to_string(128 + sig) + "\n") << log;
        EXPECT_NE(log.find("interrupted"), std::string::npos) << log;
        EXPECT_EQ(toString(readFile(dir / "lesson.orv")), "old package");
        EXPECT_TRUE(entriesNamed(dir.path(), ".tmp-").empty());
        EXPECT_TRUE(fs::is_empty(dir / "tmp"));
        EXPECT_FALSE(isRunning(std::stoi(toString(readFile(dir / "soffice.pid")))));
    }
}

TEST(ProbeCommandTest, ReportsCuesAndLengthOrTheUnzipStatus) {
    TempDir dir;
    ZipArchive::create({{"manifest.json", toBytes(R"({"version": "1.0", "cues": [{}, {}, {}],
                                                      "masterVideoDuration": 12.345, "notesBySlide": {}})")}},
                       dir / "a.orv");
    EXPECT_EQ(Json::parse(cli({"probe", (dir / "a.orv").string(), "--json"}).standardOutput),
              (Json{{"cues", 3}, {"masterVideoDuration", 12.345}}));
    EXPECT_EQ(cli({"probe", (dir / "a.orv").string()}).standardOutput,
              (dir / "a.orv").string() + ": 3 cues, master video 12.345 s\n");

    // No manifest, no archive, no file.
    ZipArchive::create({{"assets/master.mp4", toBytes("movie")}}, dir / "b.orv");
    writeFile(dir / "c.orv", std::string("not a zip at all, just text"));
    for (const auto& [name, status] : {std::pair{"b.orv", 11}, {"c.orv", 9}, {"d.orv", 9}}) {
        const auto r = cli({"probe", (dir / name).string(), "--json"});
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_EQ(r.standardError, "orvandel: unzip do manifest.json falhou (status " + std::to_string(status) + ")\n");
        EXPECT_EQ(r.standardOutput, "");
    }
}

TEST(ExportCommandTest, TheExampleDeckExportsEndToEndWithTheHeadlessRenderer) {
    if (slowTestsSkipped() || !haveProgram("soffice") || !haveProgram("ffmpeg") || !haveProgram("pdftocairo")) {
        GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    }
    TempDir dir;
    const auto deck = sourceDir() / "examples" / "aula-exemplo.pptx";
    const auto prepare = cli({"prepare", deck.string(), "-o", (dir / "prepared.pptx").string(), "--gif", "4:3000"});
    ASSERT_EQ(prepare.exitStatus, 0) << prepare.standardError;
    const auto r = cli({"export", deck.string(), "-o", (dir / "aula.orv").string(), "--gif", "4:3000", "--renderer",
                        "libreoffice", "--chapters"});
    ASSERT_EQ(r.exitStatus, 0) << r.standardError;
    EXPECT_NE(r.standardOutput.find("Package written to " + (dir / "aula.orv").string()), std::string::npos);
    const Json manifest = Json::parse(Subprocess::run({"unzip", "-p", (dir / "aula.orv").string(), "manifest.json"}).standardOutput);
    // The movie lasts what prepare planned: "expected movie length: 32.5 s".
    const auto planned = prepare.standardOutput.substr(prepare.standardOutput.find("expected movie length: ") + 23);
    EXPECT_NEAR(manifest["masterVideoDuration"].get<double>(), *parseDouble(planned.substr(0, planned.find(' '))), 0.005);
    EXPECT_EQ(manifest["slideCount"], 8);
    EXPECT_EQ(manifest["cues"].back()["label"], "Slide 8");

    // Its chapters, one per visible slide, end where the plan does, and the
    // movie with them still lasts the plan to the millisecond.
    writeFile(dir / "m.mp4",
              Subprocess::run({"unzip", "-p", (dir / "aula.orv").string(), "assets/master.mp4"}).standardOutput);
    const auto plannedMs = msFromDecimalSeconds(planned.substr(0, planned.find(' ')));
    EXPECT_EQ(Mp4Duration::measureMs(dir / "m.mp4"), plannedMs);
    const Json probe = Json::parse(
        Subprocess::run({"ffprobe", "-v", "error", "-show_chapters", "-of", "json", (dir / "m.mp4").string()})
            .standardOutput);
    const Json scan = Json::parse(cli({"scan", deck.string(), "--json", "--gif", "4:3000"}).standardOutput);
    const auto visible = std::count_if(scan.begin(), scan.end(), [](const Json& s) { return !s["isHidden"]; });
    EXPECT_EQ(probe["chapters"].size(), static_cast<std::size_t>(visible));
    EXPECT_EQ(probe["chapters"].front()["tags"]["title"], "Fotossíntese");
    EXPECT_EQ(probe["chapters"].back()["end"], plannedMs);
}
