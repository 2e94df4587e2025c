// What a command prints reaches its reader, or the command fails saying why:
// standard output that is full, closed or a pipe nobody reads any more, and
// files on a disk that fills up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "DeckBuilder.hpp"
#include "Lessons.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

// The tool run in `dir` with its standard output redirected as bash reads
// `redirection` (">/dev/full", ">&-"...), after the shell commands `before`.
SubprocessResult runRedirected(const fs::path& dir, const std::string& redirection,
                               const std::vector<std::string>& args, const std::string& before = "") {
    std::vector<std::string> argv{"/bin/bash", "-c", before + "exec \"$0\" \"$@\" " + redirection, cliPath().string()};
    argv.insert(argv.end(), args.begin(), args.end());
    return Subprocess::run(argv, {.workingDirectory = dir, .timeout = std::chrono::minutes(3)});
}

std::string failedWrite(int errnoValue) {
    return "orvandel: could not write to standard output (" + std::string(std::strerror(errnoValue)) + ")\n";
}

}  // namespace

TEST(StandardOutputTest, EveryCommandThatPrintsFailsWhenItsOutputIsLost) {
    if (!haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    exportLesson(dir, {"--chapters"});  // aula.pptx, movie.mp4, aula.orv
    fs::copy_file(dir / "aula.pptx", dir / "d2.pptx");
    // A batch's decks fail fast (no PowerPoint here), and its summary is printed all the same. A command's
    // text and JSON go through the same stream: one form each.
    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"scan", "aula.pptx", "--json"},
                                               {"notes", "aula.pptx", "--json"},
                                               {"prepare", "aula.pptx", "-o", "p.pptx"},
                                               {"export", "aula.pptx", "--mp4", "movie.mp4", "-o", "e.orv"},
                                               {"export", "aula.pptx", "d2.pptx", "--renderer", "powerpoint", "--json"},
                                               {"probe", "aula.orv", "--json"},
                                               {"preview", "aula.orv", "-o", "page"},
                                               {"chapters", "aula.orv", "--vtt"},
                                               {"scan", "--help"},
                                               {"-V"}}) {
        SCOPED_TRACE(args[0] + " " + args.back());
        const auto r = runRedirected(dir.path(), ">/dev/full", args);
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_TRUE(r.standardError.ends_with(failedWrite(ENOSPC))) << r.standardError;
    }

    // A closed descriptor, and a pipe whose reader has gone: no death by SIGPIPE.
    for (const auto& [before, redirection, errnoValue] : std::vector<std::tuple<std::string, std::string, int>>{
             {"", ">&-", EBADF}, {"exec 3> >(:); wait $!; ", ">&3", EPIPE}}) {
        const auto r = runRedirected(dir.path(), redirection, {"notes", "aula.pptx", "--json"}, before);
        EXPECT_EQ(r.termSignal, 0);
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_EQ(r.standardError, failedWrite(errnoValue));
    }
}

// A disk that fills up: a tiny tmpfs in a mount namespace of its own. The
// file chapters -o was to replace stays whole, with nothing left beside it.
TEST(StandardOutputTest, AFullDiskFailsTheCommandAndLeavesTheFileItWasToReplace) {
    if (!haveMediaTools() || !haveProgram("unshare")) GTEST_SKIP() << "needs ffmpeg and unshare";
    TempDir dir;
    DeckBuilder deck;
    for (int i = 0; i < 100; ++i) deck.addSlide(slideXml());  // a report of some 40 KiB
    deck.write(dir / "d.pptx");
    fs::create_directories(dir / "disk");
    const std::string script =
        "cli=$1 disk=$2 orv=$3\n"
        "mount -t tmpfs -o size=16k tmpfs \"$disk\" || exit 77\n"
        "\"$cli\" scan d.pptx --json > \"$disk/scan.json\"; echo \"scan $?\"; rm \"$disk/scan.json\"\n"
        "echo old > \"$disk/a.vtt\"; cat /dev/zero > \"$disk/filler\" 2>/dev/null\n"
        "\"$cli\" chapters \"$orv\" --vtt -o \"$disk/a.vtt\"; echo \"chapters $?\"\n"
        "ls -A \"$disk\"; cat \"$disk/a.vtt\"\n";
    const auto r = Subprocess::run({"unshare", ::geteuid() == 0 ? "-m" : "-rm", "/bin/sh", "-c", script, "sh",
                                    cliPath().string(), (dir / "disk").string(),
                                    exportLesson(dir, {"--chapters"}).orv.string()},
                                   {.workingDirectory = dir.path(), .timeout = std::chrono::minutes(1)});
    if (r.exitStatus != 0) GTEST_SKIP() << "cannot mount a tmpfs here: " << r.standardError;
    EXPECT_EQ(r.standardOutput, "scan 1\nchapters 1\na.vtt\nfiller\nold\n");
    EXPECT_THAT(r.standardError, HasSubstr(failedWrite(ENOSPC)));
    EXPECT_THAT(r.standardError,
                HasSubstr("could not write " + (dir / "disk" / "a.vtt").string() + ": " + std::strerror(ENOSPC)));
}
