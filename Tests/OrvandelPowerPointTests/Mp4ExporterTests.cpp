#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "MovieFixtures.hpp"
#include "DefaultMp4Exporter.hpp"
#include "Mp4Exporter.hpp"
#include "OsascriptRunner.hpp"
#include "TestSupport.hpp"

using namespace orvandel;
using namespace orvandel::Mp4Exporter;
using Case = ExportError::Case;
using testing::ThrowsMessage;

namespace {

// Records every script. Like PowerPoint, the render script returns at once and
// `render` writes the movie afterwards, on a thread.
struct FakeRunner : AppleScriptRunning {
    std::function<void()> render;
    mutable std::vector<std::string> scripts;
    mutable std::jthread worker;
    void run(const std::string& script) const override {
        scripts.push_back(script);
        if (script.find("save as movie") == std::string::npos) throw ExportError::timedOut("close failed");
        if (render) worker = std::jthread(render);
    }
};

Parameters fast() { return {.pollInterval = 0.01, .startupTimeout = 0.05, .maxWait = 5.0, .livenessGrace = 0.0}; }

std::function<void()> writesMovie(std::filesystem::path to, std::uint32_t ms) {
    return [to, ms] {
        const Bytes movie = test::craftedMovie(1000, ms);
        std::ofstream out(to, std::ios::binary);
        out.write(reinterpret_cast<const char*>(movie.data()), std::streamsize(movie.size()));
        for (int i = 0; i < 5; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(2))) {
            out.write("\0\0\0\x10mdat01234567", 16).flush();
        }
    };
}

}  // namespace

TEST(Mp4ExporterTest, ScriptsEscapeBackslashesBeforeQuotes) {
    EXPECT_EQ(startScript("/d/a\"b\\\".pptx", "/o/m\\.mp4"),
              "with timeout of 30 seconds\n    tell application \"Microsoft PowerPoint\"\n        activate\n"
              "        open POSIX file \"/d/a\\\"b\\\\\\\".pptx\"\n"
              "        save active presentation in (POSIX file \"/o/m\\\\.mp4\") as save as movie\n"
              "    end tell\nend timeout");
    EXPECT_EQ(closeScript("a\\\"b.pptx"),
              "with timeout of 10 seconds\n    tell application \"Microsoft PowerPoint\"\n"
              "        repeat with p in (get every presentation)\n"
              "            if (name of p) is \"a\\\\\\\"b.pptx\" then close p saving no\n"
              "        end repeat\n    end tell\nend timeout");
}

TEST(Mp4ExporterTest, ClassifiesInGroupOrderIgnoringCase) {
    const auto denied = classify("Error -1743: AppleEvent TIMED OUT");
    EXPECT_EQ(denied.errorCase(), Case::automationDenied);
    EXPECT_EQ(denied.message(), "Error -1743: AppleEvent TIMED OUT");
    EXPECT_EQ(classify("Can\u2019t get application \"x\"").errorCase(), Case::powerPointUnavailable);
    EXPECT_EQ(classify("Apple Event Timed Out.").errorCase(), Case::timedOut);
    EXPECT_STREQ(classify("").what(), "MP4 export failed: ");
    EXPECT_TRUE(classify("timed out").rendersInFlight());
    EXPECT_FALSE(classify("-600").rendersInFlight());

    const std::string app = "/Applications/Microsoft PowerPoint.app/Contents/MacOS/Microsoft PowerPoint";
    EXPECT_EQ(powerPointCPU(" 0.5 /bin/zsh\n 42.5 " + app + "\n 1.0 " + app + "\n"), 42.5);
    EXPECT_EQ(powerPointCPU("busy " + app), std::nullopt);
}

TEST(Mp4ExporterTest, OsascriptFailuresBecomeExportErrors) {
    test::TempDir dir;
    if (!std::filesystem::exists("/usr/bin/osascript")) {
        EXPECT_THAT([&] { DefaultMp4Exporter().export_(dir / "d.pptx", dir / "m.mp4", {}); },
                    ThrowsMessage<ExportError>("PowerPoint unavailable: could not launch osascript: No such file or directory"));
        EXPECT_FALSE(isPowerPointAvailable());
    }
    const auto fake = dir / "osascript";  // runs the "script" as shell code
    writeFile(fake, "#!/bin/sh\nexec /bin/sh -c \"$2\"\n");
    std::filesystem::permissions(fake, std::filesystem::perms::owner_all);
    const OsascriptRunner runner(std::nullopt, fake);
    EXPECT_NO_THROW(runner.run("echo result"));
    EXPECT_THAT([&] { runner.run("printf ' Not authorized (-1743)\\n\\n' >&2; exit 1"); },
                ThrowsMessage<ExportError>("Automation permission denied: Not authorized (-1743)"));
    EXPECT_THAT([&] { runner.run("printf '\\377' >&2; exit 1"); },
                ThrowsMessage<ExportError>("MP4 export failed: unknown osascript error"));

    CancellationToken token;
    std::jthread canceller([token] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        token.cancel();
    });
    EXPECT_THROW(OsascriptRunner(token, fake).run("sleep 30"), CancelledError);  // killed, not waited for
    EXPECT_THROW(pollUntilStable(dir / "m.mp4", Parameters{}, nullptr, {.cancel = token}), CancelledError);
}

TEST(Mp4ExporterTest, WatcherWaitsForThreeEqualSizesOrGivesUp) {
    test::TempDir dir;
    const auto out = dir / "m.mp4";
    auto e = pollUntilStable(out, fast(), nullptr);
    EXPECT_EQ(e.value().message(), "render did not start within 0 s (output still 0 bytes at " + out.string() + ")");

    writeFile(out, "abc");  // one look learns the size, three more see it unchanged
    int looks = 0;
    EXPECT_FALSE(pollUntilStable(out, fast(), nullptr, {.progress = [&](const std::string&, double) { ++looks; }}));
    EXPECT_EQ(looks, 4);

    auto params = fast();
    params.maxWait = 0.3;
    const auto grow = [&](const std::string&, double) { std::ofstream(out, std::ios::app) << "x"; };
    e = pollUntilStable(out, params, nullptr, {.progress = grow});
    EXPECT_EQ(e.value().message(), "render started but did not finish within 0 s (last size " +
                                std::to_string(fileSize(out)) + " bytes at " + out.string() + ")");
}

TEST(Mp4ExporterTest, LivenessDecidesWhenAnEmptyOutputIsDead) {
    test::TempDir dir;
    const auto out = dir / "m.mp4";
    auto params = fast();
    params.livenessGrace = 0.05;
    params.deadWindow = 0.03;
    const auto start = std::chrono::steady_clock::now();
    std::chrono::duration<double> firstJudged{-1};
    auto e = pollUntilStable(out, params, [&] {
        if (firstJudged.count() < 0) firstJudged = std::chrono::steady_clock::now() - start;
        return false;
    });
    EXPECT_EQ(e.value().message(), "render appears dead: PowerPoint idle for 0 s with output still 0 bytes at " + out.string());
    EXPECT_GT(firstJudged.count(), params.livenessGrace);

    // Busy looks clear the idle mark, and the start-up timeout does not apply:
    // the output comes after many idle looks and several dead windows.
    params = {.pollInterval = 0.005, .startupTimeout = 0.0, .maxWait = 5.0, .livenessGrace = 0.0, .deadWindow = 0.1};
    int calls = 0;
    e = pollUntilStable(out, params, [&] {
        if (++calls == 40) writeFile(out, "movie");
        return calls % 2 == 0;
    });
    EXPECT_FALSE(e) << e->what();
}

TEST(Mp4ExporterTest, ExportRendersClosesAndChecksTheMovie) {
    test::TempDir dir;
    const auto deck = dir / "prepared.pptx", out = dir / "master.mp4";
    FakeRunner runner;
    runner.render = writesMovie(out, 1000);
    export_(deck, out, fast(), nullptr, runner);  // the failing close is ignored
    EXPECT_EQ(runner.scripts, (std::vector<std::string>{startScript(deck, out), closeScript("prepared.pptx")}));

    runner.render = writesMovie(out, 999);
    EXPECT_THAT([&] { export_(deck, out, fast(), nullptr, runner); },
                ThrowsMessage<ExportError>("MP4 export produced an unmeasurable file: "
                                           "rendered movie is implausibly short (999 ms < 1000 ms)"));
    runner.render = [out] { writeFile(out, "not a movie"); };
    EXPECT_THAT([&] { export_(deck, out, fast(), nullptr, runner); },
                ThrowsMessage<ExportError>(testing::StartsWith("MP4 export produced an unmeasurable file: rendered file at " +
                                                               out.string() + " could not be measured: cannot measure "
                                                               "duration of master.mp4: ")));

    // A render that never starts leaves the deck open; the last run's output is not taken for it.
    runner.render = nullptr;
    runner.scripts.clear();
    EXPECT_THAT([&] { export_(deck, out, fast(), nullptr, runner); },
                ThrowsMessage<ExportError>(testing::StartsWith("MP4 export failed: render did not start")));
    EXPECT_EQ(runner.scripts.size(), 1u);
}
