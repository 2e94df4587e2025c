#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include <chrono>
#include <nlohmann/json.hpp>
#include <tuple>

#include "DeckBuilder.hpp"
#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "base/Subprocess.hpp"
#include "container/ZipArchive.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

TEST(ExportCommandTest, AnInterruptStopsTheRenderAndLeavesNothingBehind) {
    TempDir dir;
    for (const char* sub : {"bin", "tmp", "home"}) fs::create_directories(dir / sub);
    DeckBuilder().addSlide(slideXml()).addSlide(slideXml()).write(dir / "aula.pptx");
    // A renderer stage that never ends by itself.
    writeFile(dir / "bin" / "soffice",
              "#!/bin/sh\necho $$ > '" + (dir / "soffice.pid").string() + "'\nexec sleep 300\n");
    fs::permissions(dir / "bin" / "soffice", fs::perms::owner_all);
    const char* path = std::getenv("PATH");
    const std::vector<std::string> env{"PATH=" + (dir / "bin").string() + ":" + (path ? path : "/usr/bin:/bin"),
                                       "TMPDIR=" + (dir / "tmp").string(), "HOME=" + (dir / "home").string()};

    for (const int sig : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(sig);
        writeFile(dir / "lesson.orv", std::string("old package"));
        fs::remove(dir / "soffice.pid");
        // Signals the export once its renderer runs, then prints how it ended.
        const auto r =
            Subprocess::run({"/bin/sh", "-c",
                             "\"$0\" export aula.pptx -o lesson.orv --renderer libreoffice >log 2>&1 & "
                             "while [ ! -s soffice.pid ]; do sleep 0.02; done; sleep 0.1; kill -" +
                                 std::to_string(sig) + " $!; wait $!; echo $?",
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
    const std::string cue = R"({"cueIndex": 0, "slideIndex": 1, "kind": "slide", "label": "Slide 1", "time": 1})";
    const Bytes manifest = toBytes(R"({"version": "1.0", "sourceFileName": "a.pptx", "cues": [)" + cue + "," + cue +
                                   "," + cue + R"(], "masterVideoDuration": 12.345, "notesBySlide": {}})");
    ZipArchive::create({{"manifest.json", manifest}, {"assets/master.mp4", stillsMovie(12345)}}, dir / "a.orv");
    EXPECT_EQ(Json::parse(runCli({"probe", (dir / "a.orv").string(), "--json"}).standardOutput),
              (Json{{"cues", 3}, {"masterVideoDuration", 12.345}}));
    EXPECT_EQ(runCli({"probe", (dir / "a.orv").string()}).standardOutput,
              (dir / "a.orv").string() + ": 3 cues, master video 12.345 s\n");

    // No manifest, no archive, no file.
    ZipArchive::create({{"assets/master.mp4", toBytes("movie")}}, dir / "b.orv");
    writeFile(dir / "c.orv", std::string("not a zip at all, just text"));
    for (const auto& [name, status] : {std::pair{"b.orv", 11}, {"c.orv", 9}, {"d.orv", 9}}) {
        const auto r = runCli({"probe", (dir / name).string(), "--json"});
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_EQ(r.standardError, "orvandel: unzip do manifest.json falhou (status " + std::to_string(status) + ")\n");
        EXPECT_EQ(r.standardOutput, "");
    }

    // A movie that is none, or not the one the manifest describes: nothing is
    // reported, no preview written.
    for (const auto& [movie, saying] : std::vector<std::pair<Bytes, std::string>>{
             {{}, "is not a movie: empty file"},
             {stillsMovie(3000), "lasts 3.000 s where the manifest says 12.345 s"}}) {
        SCOPED_TRACE(saying);
        ZipArchive::create({{"manifest.json", manifest}, {"assets/master.mp4", movie}}, dir / "e.orv");
        for (const std::string command : {"probe", "preview"}) {
            const auto r = runCli({command, (dir / "e.orv").string()});
            EXPECT_EQ(r.exitStatus, 1);
            EXPECT_THAT(r.standardError, HasSubstr("assets/master.mp4 in " + (dir / "e.orv").string() + " " + saying));
            EXPECT_EQ(r.standardOutput, "");
        }
        EXPECT_FALSE(fs::exists(dir / "e-preview"));
    }
}

// The example deck through the real renderer and the chapter writer: the
// packaged movie lasts what prepare planned, to the millisecond.
TEST(ExportCommandTest, TheExampleDeckExportsEndToEndWithTheHeadlessRenderer) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    const auto deck = sourceDir() / "examples" / "aula-exemplo.pptx";
    const auto prepare = runCli({"prepare", deck.string(), "-o", (dir / "prepared.pptx").string(), "--gif", "4:3000"});
    ASSERT_EQ(prepare.exitStatus, 0) << prepare.standardError;
    const auto r = runCli({"export", deck.string(), "-o", (dir / "aula.orv").string(), "--gif", "4:3000", "--renderer",
                           "libreoffice", "--chapters"});
    ASSERT_EQ(r.exitStatus, 0) << r.standardError;
    EXPECT_NE(r.standardOutput.find("Package written to " + (dir / "aula.orv").string()), std::string::npos);
    // "expected movie length: 32.5 s"
    const auto planned = prepare.standardOutput.substr(prepare.standardOutput.find("expected movie length: ") + 23);
    writeFile(dir / "m.mp4",
              Subprocess::run({"unzip", "-p", (dir / "aula.orv").string(), "assets/master.mp4"}).standardOutput);
    EXPECT_EQ(Mp4Duration::measureMs(dir / "m.mp4"), msFromDecimalSeconds(planned.substr(0, planned.find(' '))));
}

// The cache options, for one deck and for a batch: a size that is none or
// does not fit, or a cache refused and placed at once, is a usage error
// before any work; a cache given with a movie to package is no obstacle.
TEST(ExportCommandTest, CacheOptionsAreCheckedBeforeAnyWork) {
    TempDir dir;
    DeckBuilder().addSlide(slideXml()).write(dir / "d.pptx");
    DeckBuilder().addSlide(slideXml()).write(dir / "e.pptx");
    writeFile(dir / "m.mp4", craftedMovie(1000, 1500));
    for (const auto& [args, status, saying] : std::vector<std::tuple<std::vector<std::string>, int, std::string>>{
             {{"d.pptx", "--cache-max", "lots"}, 2, "--cache-max: expected a size"},
             {{"d.pptx", "e.pptx", "--cache-max", "99999999999G"}, 2, "--cache-max: expected a size"},
             {{"d.pptx", "--no-cache", "--cache-dir", "c"}, 2, "excludes"},
             {{"d.pptx", "e.pptx", "--cache-max", "1G", "--no-cache"}, 2, "excludes"},
             {{"d.pptx", "--cache-dir", "c", "--cache-max", "500M", "--mp4", "m.mp4"}, 0, ""}}) {
        std::vector<std::string> command{"export"};
        command.insert(command.end(), args.begin(), args.end());
        const auto r = runCli(command, {.workingDirectory = dir.path()});
        EXPECT_EQ(r.exitStatus, status) << r.standardError;
        EXPECT_THAT(r.standardError, HasSubstr(saying));
        EXPECT_EQ(fs::exists(dir / "d.orv"), status == 0);
    }
}
