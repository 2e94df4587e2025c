// PowerPoint for Mac never runs here: what is left to test is how the scripts
// quote names, how failure texts are read, and the watcher of the output file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "Mp4Exporter.hpp"
#include "OsascriptRunner.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"

using namespace orvandel;
using namespace orvandel::Mp4Exporter;
using Case = ExportError::Case;
namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

TEST(Mp4ExporterTest, ScriptsEscapeBackslashesBeforeQuotes) {
    EXPECT_THAT(startScript("/d/a\"b\\\".pptx", "/o/m\\.mp4"),
                AllOf(HasSubstr("open POSIX file \"/d/a\\\"b\\\\\\\".pptx\"\n"),
                      HasSubstr("in (POSIX file \"/o/m\\\\.mp4\") as save as movie")));
    EXPECT_THAT(closeScript("a\\\"b.pptx"), HasSubstr("if (name of p) is \"a\\\\\\\"b.pptx\" then close p"));
}

// What osascript prints on failure (a stand-in that runs its "script" as
// shell code) and the error it becomes: groups tried in order, case ignored.
TEST(Mp4ExporterTest, FailureTextsAreClassified) {
    test::TempDir dir;
    writeFile(dir / "osascript", "#!/bin/sh\nexec /bin/sh -c \"$2\"\n");
    fs::permissions(dir / "osascript", fs::perms::owner_all);
    const OsascriptRunner runner(std::nullopt, dir / "osascript");
    EXPECT_NO_THROW(runner.run("echo result"));
    for (const auto& [printed, errorCase, message] : std::vector<std::tuple<std::string, Case, std::string>>{
             {"Error -1743: AppleEvent TIMED OUT", Case::automationDenied, "Error -1743: AppleEvent TIMED OUT"},
             {" Not authorized (-1743)\n\n", Case::automationDenied, "Not authorized (-1743)"},
             {"Can\u2019t get application \"x\"", Case::powerPointUnavailable, "Can\u2019t get application \"x\""},
             {"Apple Event Timed Out.", Case::timedOut, "Apple Event Timed Out."},
             {"", Case::exportFailed, ""},
             {"\377", Case::exportFailed, "unknown osascript error"}}) {
        SCOPED_TRACE(printed);
        writeFile(dir / "stderr", printed);
        const auto e = test::thrown<ExportError>(
            [&] { runner.run("cat '" + (dir / "stderr").string() + "' >&2; exit 1"); });
        EXPECT_EQ(e.errorCase(), errorCase);
        EXPECT_EQ(e.message(), message);
    }
    // Where there is no osascript, as here, PowerPoint is unavailable.
    const auto absent = test::thrown<ExportError>([&] { OsascriptRunner(std::nullopt, dir / "absent").run(""); });
    EXPECT_EQ(absent.errorCase(), Case::powerPointUnavailable);
    EXPECT_EQ(absent.message(), "could not launch osascript: No such file or directory");

    // A cancel kills the script instead of waiting for it, and ends a watch.
    CancellationToken token;
    std::jthread canceller([token] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        token.cancel();
    });
    EXPECT_THROW(OsascriptRunner(token, dir / "osascript").run("sleep 30"), CancelledError);
    EXPECT_THROW(pollUntilStable(dir / "m.mp4", Parameters{}, nullptr, {.cancel = token}), CancelledError);
}

// The watcher's verdict on an output that never comes, settles, keeps
// growing, or stays empty while PowerPoint idles or works.
TEST(Mp4ExporterTest, WatcherVerdicts) {
    test::TempDir dir;
    const auto out = dir / "m.mp4";
    auto start = std::chrono::steady_clock::now();
    int calls = 0, looks = 0;
    // The liveness test (none: the start-up timeout applies), what happens at each look, and the outcome,
    // where "#" stands for the last size.
    using Row = std::tuple<const char*, Parameters, std::function<bool()>, std::function<void()>, std::string>;
    for (const auto& [what, params, alive, eachLook, outcome] :
         std::vector<Row>{{"never written",
                           {.pollInterval = 0.01, .startupTimeout = 0.05},
                           nullptr,
                           [] {},
                           "render did not start within 0 s (output still 0 bytes at " + out.string() + ")"},
                          // One look learns the size, three more see it unchanged.
                          {"settled",
                           {.pollInterval = 0.01},
                           nullptr,
                           [&] {
                               if (looks == 1) writeFile(out, "abc");
                           },
                           "accepted after 5 looks"},
                          {"growing",
                           {.pollInterval = 0.01, .maxWait = 0.3},
                           nullptr,
                           [&] { std::ofstream(out, std::ios::app) << "x"; },
                           "render started but did not finish within 0 s (last size # bytes at " + out.string() + ")"},
                          // Not judged during the grace, then dead once idle for the window.
                          {"idle",
                           {.pollInterval = 0.01, .livenessGrace = 0.05, .deadWindow = 0.03},
                           [&] {
                               EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
                               return false;
                           },
                           [] {},
                           "render appears dead: PowerPoint idle for 0 s with output still 0 bytes at " + out.string()},
                          // Busy looks clear the idle mark and no start-up timeout applies: the
                          // output comes after many idle looks and several dead windows.
                          {"busy",
                           {.pollInterval = 0.005, .startupTimeout = 0.0, .livenessGrace = 0.0, .deadWindow = 0.1},
                           [&] { return ++calls == 40 ? (writeFile(out, "movie"), true) : calls % 2 == 0; },
                           [] {},
                           "accepted after 44 looks"}}) {
        SCOPED_TRACE(what);
        fs::remove(out);
        start = std::chrono::steady_clock::now();
        looks = 0;
        const auto e = pollUntilStable(out, params, alive, {.progress = [&](ExportStage, double) {
                                           ++looks;
                                           eachLook();
                                       }});
        std::string expected = outcome;
        if (const auto at = expected.find('#'); at != std::string::npos)
            expected.replace(at, 1, std::to_string(fileSize(out)));
        EXPECT_EQ(e ? e->message() : "accepted after " + std::to_string(looks) + " looks", expected);
    }
}
