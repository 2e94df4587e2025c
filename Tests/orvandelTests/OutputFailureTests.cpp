// What a command prints reaches its reader, or the command fails saying why:
// standard output that is full, closed or a pipe nobody reads any more, and
// files on a disk that fills up.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "DeckBuilder.hpp"
#include "Lessons.hpp"
#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

namespace {

// The tool run in `dir` with its standard output redirected as bash reads
// `redirection` (">/dev/full", ">&-"...).
SubprocessResult runRedirected(const fs::path& dir, const std::string& redirection,
                               const std::vector<std::string>& args) {
    std::vector<std::string> argv{"/bin/bash", "-c", "exec \"$0\" \"$@\" " + redirection, cliPath().string()};
    argv.insert(argv.end(), args.begin(), args.end());
    return Subprocess::run(argv, {.workingDirectory = dir, .timeout = std::chrono::minutes(3)});
}

std::string failedWrite(int errnoValue) {
    return "orvandel: could not write to standard output (" + std::string(std::strerror(errnoValue)) + ")\n";
}

}  // namespace

TEST(StandardOutputTest, EveryCommandThatPrintsFailsWhenItsOutputIsLost) {
    TempDir dir;
    DeckBuilder().addSlide(slideXml()).addNotes(1, notesSlideXml({"Um"})).write(dir / "d.pptx");
    fs::copy_file(dir / "d.pptx", dir / "d2.pptx");
    writeFile(dir / "m.mp4", craftedMovie(1000, 1500));
    ASSERT_EQ(runCli({"export", (dir / "d.pptx").string(), "--mp4", (dir / "m.mp4").string()}).exitStatus, 0);

    std::vector<std::vector<std::string>> commands{
        {"scan", "d.pptx"},
        {"scan", "d.pptx", "--json"},
        {"notes", "d.pptx"},
        {"notes", "d.pptx", "--json"},
        {"prepare", "d.pptx", "-o", "p.pptx"},
        {"export", "d.pptx", "--mp4", "m.mp4", "-o", "e.orv"},
        // A batch whose decks fail fast (no PowerPoint here) still prints its summary.
        {"export", "d.pptx", "d2.pptx", "--renderer", "powerpoint"},
        {"export", "d.pptx", "d2.pptx", "--renderer", "powerpoint", "--json"},
        {"probe", "d.orv"},
        {"probe", "d.orv", "--json"},
        {"preview", "d.orv", "-o", "page"},
        {"scan", "--help"},
        {"--version"},
    };
    if (haveMediaTools()) {
        const auto lesson = exportLesson(dir, {"--chapters"});
        commands.push_back({"chapters", lesson.orv.string()});
        commands.push_back({"chapters", lesson.orv.string(), "--vtt"});
    }
    for (const auto& args : commands) {
        SCOPED_TRACE(args[0] + " " + args.back());
        const auto r = runRedirected(dir.path(), ">/dev/full", args);
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_TRUE(r.standardError.ends_with(failedWrite(ENOSPC))) << r.standardError;
    }

    // A closed descriptor and a pipe whose reader has gone fail alike: the
    // tool is not killed by SIGPIPE.
    int pipeEnds[2];
    ASSERT_EQ(::pipe(pipeEnds), 0);
    ::close(pipeEnds[0]);
    for (const auto& [redirection, errnoValue] :
         {std::pair{std::string(">&-"), EBADF}, {">&" + std::to_string(pipeEnds[1]), EPIPE}}) {
        SCOPED_TRACE(redirection);
        const auto r = runRedirected(dir.path(), redirection, {"notes", "d.pptx", "--json"});
        EXPECT_EQ(r.termSignal, 0);
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_EQ(r.standardError, failedWrite(errnoValue));
    }
    ::close(pipeEnds[1]);
}

// A disk that fills up, in a mount namespace of its own: a tiny tmpfs.
TEST(StandardOutputTest, AFullDiskFailsTheCommandAndLeavesTheFileItWasToReplace) {
    if (!haveProgram("unshare")) GTEST_SKIP() << "needs unshare";
    TempDir dir;
    DeckBuilder deck;
    for (int i = 0; i < 100; ++i) deck.addSlide(slideXml());  // a report of some 40 KiB
    deck.write(dir / "d.pptx");
    fs::create_directories(dir / "disk");
    const bool chapters = haveMediaTools();
    const auto orv = chapters ? exportLesson(dir, {"--chapters"}).orv : fs::path();
    const std::string script =
        "cli=$1 disk=$2 orv=$3\n"
        "mount -t tmpfs -o size=16k tmpfs \"$disk\" || exit 77\n"
        "\"$cli\" scan d.pptx --json > \"$disk/scan.json\"; echo \"scan $?\"; rm \"$disk/scan.json\"\n"
        "[ -n \"$orv\" ] || exit 0\n"
        "echo old > \"$disk/a.vtt\"; cat /dev/zero > \"$disk/filler\" 2>/dev/null\n"
        "\"$cli\" chapters \"$orv\" --vtt -o \"$disk/a.vtt\"; echo \"chapters $?\"\n"
        "ls -A \"$disk\"; cat \"$disk/a.vtt\"\n";
    const auto r = Subprocess::run({"unshare", ::geteuid() == 0 ? "-m" : "-rm", "/bin/sh", "-c", script, "sh",
                                    cliPath().string(), (dir / "disk").string(), orv.string()},
                                   {.workingDirectory = dir.path(), .timeout = std::chrono::minutes(1)});
    if (r.exitStatus != 0) GTEST_SKIP() << "cannot mount a tmpfs here: " << r.standardError;

    const std::string full = std::strerror(ENOSPC);
    EXPECT_NE(r.standardError.find(failedWrite(ENOSPC)), std::string::npos) << r.standardError;
    if (!chapters) {
        EXPECT_EQ(r.standardOutput, "scan 1\n");
        return;
    }
    // The file that was there is whole, and no temporary file is left beside it.
    EXPECT_EQ(r.standardOutput, "scan 1\nchapters 1\na.vtt\nfiller\nold\n");
    EXPECT_NE(r.standardError.find("could not write " + (dir / "disk" / "a.vtt").string() + ": " + full),
              std::string::npos)
        << r.standardError;
}
