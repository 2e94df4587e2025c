#include <gtest/gtest.h>

#include <chrono>
#include <thread>

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

TEST(SubprocessTest, LaunchFailureIsTyped) {
    EXPECT_THROW(Subprocess::run({"/nonexistent/program"}), LaunchError);
    EXPECT_THROW(Subprocess::run({"no-such-program-orvandel"}), LaunchError);
}

TEST(SubprocessTest, TimeoutAndCancellationKillTheWholeGroup) {
    test::TempDir dir;
    const auto marker = dir / "grandchild.pid";
    // The grandchild would outlive a kill of the direct child alone.
    auto r = Subprocess::run({"/bin/sh", "-c", "sleep 30 & echo $! > '" + marker.string() + "'; wait"},
                             {.timeout = 300ms});
    EXPECT_TRUE(r.timedOut);
    std::this_thread::sleep_for(100ms);
    const auto pid = std::stoi(toString(readFile(marker)));
    EXPECT_FALSE(test::isRunning(pid)) << "grandchild still alive";

    CancellationToken token;
    std::thread canceller([token] {
        std::this_thread::sleep_for(200ms);
        token.cancel();
    });
    const auto start = std::chrono::steady_clock::now();
    auto c = Subprocess::run({"sleep", "30"}, {.cancel = token});
    canceller.join();
    EXPECT_TRUE(c.cancelled);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}
