#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>
#include <tuple>

#include "LoopbackServer.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"

using namespace orvandel;
using namespace std::chrono_literals;

TEST(SubprocessTest, CapturesBothStreamsAndStatusWithoutDeadlock) {
    // 1 MiB on each stream: a reader that drained one pipe after the other
    // would block on the full second pipe.
    auto r = Subprocess::run({"/bin/sh", "-c",
                              "head -c 1048576 /dev/zero | tr '\\0' a; head -c 1048576 /dev/zero | tr '\\0' b >&2; "
                              "exit 7"});
    EXPECT_EQ(r.exitStatus, 7);
    EXPECT_EQ(r.standardOutput.size(), 1048576u);
    EXPECT_EQ(r.standardError.size(), 1048576u);
    EXPECT_FALSE(r.succeeded());

    auto env = Subprocess::run({"sh", "-c", "printf %s \"$ORV_X\""}, {.environment = {"ORV_X=a b"}});
    EXPECT_EQ(env.standardOutput, "a b");
}

TEST(SubprocessTest, LaunchFailureIsTypedWithTheSystemsReason) {
    test::TempDir dir;
    writeFile(dir / "plain", std::string("echo not executable\n"));
    for (const auto& [argv, workingDirectory, errnoValue] :
         std::vector<std::tuple<std::vector<std::string>, std::optional<std::filesystem::path>, int>>{
             {{"/nonexistent/program"}, {}, ENOENT},
             {{"no-such-program-orvandel"}, {}, ENOENT},
             {{(dir / "plain").string()}, {}, EACCES},
             {{dir.path().string()}, {}, EACCES},
             {{"true"}, dir / "missing", ENOENT}}) {
        SCOPED_TRACE(argv[0]);
        const auto e = test::thrown<LaunchError>(
            [&] { Subprocess::run(argv, {.workingDirectory = workingDirectory}); });
        EXPECT_EQ(e.errnoValue(), errnoValue) << e.what();
    }
}

TEST(SubprocessTest, TimeoutAndCancellationKillTheWholeGroup) {
    test::TempDir dir;
    const auto marker = dir / "grandchild.pid";
    // The grandchild would outlive a kill of the direct child alone.
    auto r = Subprocess::run({"/bin/sh", "-c", "sleep 30 & echo $! > '" + marker.string() + "'; wait"},
                             {.timeout = 300ms});
    EXPECT_TRUE(r.timedOut);
    const auto pid = std::stoi(toString(readFile(marker)));
    EXPECT_TRUE(test::eventually([pid] { return !test::isRunning(pid); }, 2s)) << "grandchild still alive";

    // Killed, not left to end its thirty seconds.
    CancellationToken token;
    std::thread canceller([token] {
        std::this_thread::sleep_for(200ms);
        token.cancel();
    });
    auto c = Subprocess::run({"sleep", "30"}, {.cancel = token});
    canceller.join();
    EXPECT_TRUE(c.cancelled);
    EXPECT_EQ(c.termSignal, SIGKILL);
}

// The memory of the whole tree counts, grandchildren included: processes
// that each stay under the limit exceed it together.
TEST(SubprocessTest, AMemoryLimitKillsTheTreeThatGrowsPastIt) {
    // A chain of processes of 60 MiB each, the limit in MiB, whether it is exceeded.
    for (const auto& [processes, limitMib, exceeded] : std::vector<std::tuple<int, std::int64_t, bool>>{
             {1, 100, false}, {2, 100, true}, {3, 250, false}, {3, 150, true}}) {
        SCOPED_TRACE(std::to_string(processes) + " x 60 MiB");
        const auto r = Subprocess::run({test::helperPath().string(), "hog", "60", std::to_string(processes), "2"},
                                       {.timeout = 60s, .memoryLimit = limitMib << 20});
        EXPECT_EQ(r.memoryExceeded, exceeded);
        EXPECT_EQ(r.succeeded(), !exceeded) << r.standardError;
        // Killed while it ran, not flagged after it exited 0 two seconds later.
        EXPECT_EQ(r.termSignal, exceeded ? SIGKILL : 0);
    }
}

// A server of the test's own on 127.0.0.1: reachable from a child, not from an isolated one.
TEST(SubprocessTest, AnIsolatedChildReachesNoNetworkAndKeepsItsUser) {
    const test::LoopbackServer server;
    test::TempDir dir;
    // Prints its network namespace, makes a file, then connects.
    const std::string probe = "readlink /proc/self/ns/net; touch made; exec 3<>/dev/tcp/127.0.0.1/" +
                              std::to_string(server.port());
    const auto open = Subprocess::run({"bash", "-c", probe}, {.workingDirectory = dir.path()});
    const auto isolated = Subprocess::run({"bash", "-c", probe},
                                          {.workingDirectory = dir.path(), .isolateNetwork = true});
    ASSERT_EQ(open.exitStatus, 0) << open.standardError;
    if (isolated.standardOutput == open.standardOutput) GTEST_SKIP() << "this system makes no network namespace for us";
    EXPECT_NE(isolated.exitStatus, 0) << "connected from an isolated child";
    struct stat made {};
    ASSERT_EQ(::stat((dir / "made").c_str(), &made), 0);
    EXPECT_EQ(made.st_uid, ::geteuid());
    EXPECT_EQ(made.st_gid, ::getegid());
}

// SIGKILL of the process that runs a child leaves nothing of the child's
// group: the child, a grandchild and a grandchild whose parent has already
// ended (reparented, as LibreOffice's soffice.bin is when its launcher dies).
TEST(SubprocessTest, TheChildsGroupDiesWithTheProcessThatRunsIt) {
    test::TempDir dir;
    const std::string script = "echo $PPID > runner; sleep 300 & echo $! > grandchild; "
                               "(sleep 300 & echo $! > orphan); echo $$ > c; mv c child; exec sleep 300";
    std::thread runner([&] {
        Subprocess::run({test::helperPath().string(), "run", "/bin/sh", "-c", script},
                        {.workingDirectory = dir.path(), .timeout = 60s});
    });
    EXPECT_TRUE(test::eventually([&] { return std::filesystem::exists(dir / "child"); }, 20s));
    std::vector<int> pids;
    for (const char* name : {"runner", "child", "grandchild", "orphan"}) {
        pids.push_back(std::stoi(toString(readFile(dir / name))));
    }
    ::kill(pids[0], SIGKILL);
    runner.join();
    for (const int pid : pids) {
        EXPECT_TRUE(test::eventually([pid] { return !test::isRunning(pid); }, 2s)) << pid << " outlived its runner";
    }
}
