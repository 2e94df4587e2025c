#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "../OrvandelRenderTests/MovieFrames.hpp"
#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using testing::HasSubstr;

// A value an option does not take is a usage error before any work, naming
// the values it takes.
TEST(VideoOptionsTest, OtherValuesAreRefusedWithTheAcceptedOnes) {
    TempDir dir;
    DeckBuilder().addSlide(slideXml()).write(dir / "d.pptx");
    for (const auto& [option, value, accepted] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"--resolution", "1080", "480p, 720p, 1080p, 1440p or 2160p"},
             {"--fps", "45", "30 or 60"},
             {"--quality", "best", "standard, high or small"}}) {
        const auto r = runCli({"export", "d.pptx", option, value}, {.workingDirectory = dir.path()});
        EXPECT_EQ(r.exitStatus, 2);
        EXPECT_THAT(r.standardError, HasSubstr(option + ": expected " + accepted + ", got \"" + value + "\""));
        EXPECT_FALSE(fs::exists(dir / "d.orv"));
    }
}

// A short deck whose second slide fades in (1 s), exported with each choice
// through one cache (the 720p one as a batch): the frame, the fade's frame
// rate and x264's CRF follow the choice, never a slide cached for another;
// the movie's length and the manifest stay the same.
TEST(VideoOptionsTest, TheChoicesChangeTheMovieOnlyAndNeverShareCachedSlides) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    DeckBuilder()
        .addSlide(slideXml(kTextBox))
        .addSlide(slideXml(kTextBox, "<p:transition spd=\"slow\"><p:fade/></p:transition>"))
        .write(dir / "d.pptx");
    std::optional<std::pair<std::int64_t, nlohmann::json>> first;
    for (const auto& [options, size, fadeFrames, crf] :
         std::vector<std::tuple<std::vector<std::string>, std::string, int, std::string>>{
             {{}, "1920x1080", 30, "crf=23.0"},
             {{"--resolution", "720p", "--out-dir", "."}, "1280x720", 30, "crf=23.0"},
             {{"--resolution", "2160p"}, "3840x2160", 30, "crf=23.0"},
             {{"--resolution", "480p"}, "852x480", 30, "crf=23.0"},
             {{"--fps", "60"}, "1920x1080", 60, "crf=23.0"},
             {{"--quality", "small"}, "1920x1080", 30, "crf=28.0"},
             {{"--quality", "high"}, "1920x1080", 30, "crf=18.0"}}) {
        std::vector<std::string> command{"export", "d.pptx", "--renderer", "libreoffice", "--cache-dir", "cache"};
        command.insert(command.end(), options.begin(), options.end());
        const auto r = runCli(command, {.workingDirectory = dir.path(), .timeout = std::chrono::minutes(5)});
        ASSERT_EQ(r.exitStatus, 0) << r.standardError;
        const auto unzip = [&](const std::string& entry) {
            return Subprocess::run({"unzip", "-p", (dir / "d.orv").string(), entry}).standardOutput;
        };
        writeFile(dir / "m.mp4", unzip("assets/master.mp4"));
        auto manifest = nlohmann::json::parse(unzip("manifest.json"));
        manifest.erase("generatedAt");
        if (!first) first.emplace(Mp4Duration::measureMs(dir / "m.mp4"), manifest);
        SCOPED_TRACE(size + " " + crf);
        EXPECT_EQ(Subprocess::run({"ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                                   "stream=width,height", "-of", "csv=p=0:s=x", (dir / "m.mp4").string()})
                      .standardOutput,
                  size + "\n");
        // Frames within 50 ms of the one before: those of the fade.
        const auto times = frameTimesMs(dir / "m.mp4");
        int moving = 0;
        for (std::size_t i = 1; i < times.size(); ++i) moving += times[i] - times[i - 1] <= 50;
        EXPECT_EQ(moving, fadeFrames);
        EXPECT_THAT(unzip("assets/master.mp4"), HasSubstr(crf));  // x264 writes its settings into the stream
        EXPECT_EQ(Mp4Duration::measureMs(dir / "m.mp4"), first->first);
        EXPECT_EQ(manifest, first->second);
    }
}
