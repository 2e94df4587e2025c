#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <tuple>

#include "../OrvandelRenderTests/MovieFrames.hpp"
#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using testing::HasSubstr;

// A value the option does not take is a usage error before any work, for
// one deck and for a batch, naming the values it takes.
TEST(VideoOptionsTest, OtherValuesAreRefusedWithTheAcceptedOnes) {
    TempDir dir;
    DeckBuilder().addSlide(slideXml()).write(dir / "d.pptx");
    for (const auto& [option, value, accepted] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"--resolution", "4k", "480p, 720p, 1080p, 1440p or 2160p"},
             {"--resolution", "1080", "480p, 720p, 1080p, 1440p or 2160p"},
             {"--fps", "45", "30 or 60"},
             {"--quality", "best", "standard, high or small"}}) {
        for (const bool batch : {false, true}) {
            std::vector<std::string> command{"export", "d.pptx", option, value};
            if (batch) command.insert(command.end(), {"--out-dir", "out"});
            const auto r = runCli(command, {.workingDirectory = dir.path()});
            EXPECT_EQ(r.exitStatus, 2) << r.standardError;
            EXPECT_THAT(r.standardError, HasSubstr(option + ": expected " + accepted + ", got \"" + value + "\""));
            EXPECT_FALSE(fs::exists(dir / "d.orv") || fs::exists(dir / "out"));
        }
    }
}

namespace {

struct Exported {
    int width = 0, height = 0;
    std::int64_t lengthMs = 0;
    std::vector<std::int64_t> frameTimes;
    nlohmann::json manifest;
    std::string encoder;  // x264's settings, as it writes them into the stream
};

Exported unpacked(const fs::path& orv, const fs::path& movie) {
    writeFile(movie, Subprocess::run({"unzip", "-p", orv.string(), "assets/master.mp4"}).standardOutput);
    Exported e;
    const auto size = Subprocess::run({"ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                                       "stream=width,height", "-of", "csv=p=0:s=x", movie.string()})
                          .standardOutput;
    std::sscanf(size.c_str(), "%dx%d", &e.width, &e.height);
    e.lengthMs = Mp4Duration::measureMs(movie);
    e.frameTimes = frameTimesMs(movie);
    e.manifest = nlohmann::json::parse(Subprocess::run({"unzip", "-p", orv.string(), "manifest.json"}).standardOutput);
    e.manifest.erase("generatedAt");
    const std::string bytes = toString(readFile(movie));
    const auto at = bytes.find("x264 - core");
    if (at != std::string::npos) e.encoder = bytes.substr(at, bytes.find('\0', at) - at);
    return e;
}

// Frames that follow the one before within a frame and a half of 30 fps:
// those of a drawn change.
int movingFrames(const std::vector<std::int64_t>& times) {
    int n = 0;
    for (std::size_t i = 1; i < times.size(); ++i) n += times[i] - times[i - 1] <= 50;
    return n;
}

}  // namespace

// One short deck whose second slide comes in with a slow fade (1 s), exported
// with each choice through one cache: the frame and the rate of the fade
// follow the choice, the movie lasts the same to the millisecond, the
// manifest does not change, and the quality reaches the encoder; no choice
// takes another's slides from the cache. A batch takes the options as one
// deck does.
TEST(VideoOptionsTest, TheChoicesChangeTheMovieOnlyAndNeverShareCachedSlides) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    DeckBuilder()
        .addSlide(slideXml(kTextBox))
        .addSlide(slideXml(kTextBox, "<p:transition spd=\"slow\"><p:fade/></p:transition>"))
        .write(dir / "d.pptx");
    struct Run {
        std::vector<std::string> options;
        int width, height, fadeFrames;
        std::string crf;
    };
    std::vector<Exported> movies;
    for (const auto& run : std::vector<Run>{{{}, 1920, 1080, 30, "crf=23.0"},
                                            {{"--resolution", "720p", "--out-dir", "batch"}, 1280, 720, 30, "crf=23.0"},
                                            {{"--resolution", "2160p"}, 3840, 2160, 30, "crf=23.0"},
                                            {{"--fps", "60"}, 1920, 1080, 60, "crf=23.0"},
                                            {{"--quality", "small"}, 1920, 1080, 30, "crf=28.0"},
                                            {{"--quality", "high"}, 1920, 1080, 30, "crf=18.0"}}) {
        const std::string name = "m" + std::to_string(movies.size());
        std::vector<std::string> command{"export", "d.pptx", "--renderer", "libreoffice", "--cache-dir", "cache"};
        command.insert(command.end(), run.options.begin(), run.options.end());
        const bool batch = run.options.size() > 2;
        if (!batch) command.insert(command.end(), {"-o", name + ".orv"});
        const auto r = runCli(command, {.workingDirectory = dir.path(), .timeout = std::chrono::minutes(5)});
        ASSERT_EQ(r.exitStatus, 0) << r.standardError;
        movies.push_back(unpacked(batch ? dir / "batch" / "d.orv" : dir / (name + ".orv"), dir / (name + ".mp4")));
        SCOPED_TRACE(name);
        EXPECT_EQ(movies.back().width, run.width);
        EXPECT_EQ(movies.back().height, run.height);
        EXPECT_EQ(movingFrames(movies.back().frameTimes), run.fadeFrames);
        EXPECT_THAT(movies.back().encoder, HasSubstr(run.crf));
        EXPECT_EQ(movies.back().lengthMs, movies.front().lengthMs);
        EXPECT_EQ(movies.back().manifest, movies.front().manifest);
    }
}
