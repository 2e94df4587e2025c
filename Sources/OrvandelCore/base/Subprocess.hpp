#pragma once
// Runs one child process in a process group of its own, standard input from
// /dev/null or fed by a writer, standard output and standard error captured
// through pipes drained together with poll (so that neither can fill and
// block the child). A time limit, a cancellation token and a memory ceiling
// kill the whole process group, so grandchildren go too. The child gets its
// three standard streams and no other descriptor of this process.
//
// On Linux nothing outlives this process: the child is killed when the
// thread that started it ends (run() blocks that thread until the child is
// reaped), and its whole group when this process ends however it does,
// SIGKILL included (see ProcessWatcher). Elsewhere the child is started with
// posix_spawn and only the normal paths and Leftovers clean up.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Cancellation.hpp"

namespace orvandel {

struct SubprocessOptions {
    // Extra "NAME=value" entries; they override inherited ones of the same name.
    std::vector<std::string> environment;
    std::optional<std::filesystem::path> workingDirectory;
    std::optional<std::chrono::milliseconds> timeout;
    std::optional<CancellationToken> cancel;
    // Captured output beyond this many bytes (per stream) is read and dropped.
    std::size_t maxCapture = std::size_t(256) << 20;
    // Called with each chunk of standard output as it arrives (for progress
    // reports); the chunk is captured as well.
    std::function<void(std::string_view)> onStandardOutput;
    // When set, standard input is a pipe and this is called on a thread of its
    // own with the pipe's write end (closed when it returns), while the output
    // is drained. SIGPIPE is blocked there: once the child is gone, writes fail
    // with EPIPE and the writer must return. Its exception is rethrown by run()
    // after the child has been reaped.
    std::function<void(int fd)> standardInput;
    // The most resident memory the child and everything it starts may hold
    // together, in bytes; beyond it the whole group is killed. Sampled every
    // 100 ms (Linux; ignored elsewhere), so a faster rise overshoots a little.
    std::optional<std::int64_t> memoryLimit;
    // Best effort: the child gets a network namespace of its own with only a
    // loopback interface that is down, so that it reaches no network, not
    // even this machine's. Made through a user namespace that maps our user
    // and group to themselves (files keep their owners) unless the process
    // may make it without one. Where the system refuses (containers often
    // do), the child runs unisolated. Linux only.
    bool isolateNetwork = false;
};

struct SubprocessResult {
    int exitStatus = -1;          // exit code when the child exited normally
    int termSignal = 0;           // signal number when it was killed by a signal
    bool timedOut = false;        // killed because the time limit passed
    bool cancelled = false;       // killed because the token was cancelled
    bool memoryExceeded = false;  // killed because it went over memoryLimit
    std::string standardOutput;
    std::string standardError;

    bool succeeded() const { return termSignal == 0 && exitStatus == 0 && !timedOut && !cancelled && !memoryExceeded; }
};

namespace Subprocess {

// argv[0] is the program: a path, or a name looked up on PATH. Throws
// LaunchError with the system's errno when the program cannot be started
// (not found, not executable, the working directory missing, no processes
// left), FileError when a pipe cannot be made.
SubprocessResult run(const std::vector<std::string>& argv, const SubprocessOptions& options = {});

// The absolute path of a program on PATH, or nothing.
std::optional<std::filesystem::path> findOnPath(const std::string& program);

}  // namespace Subprocess

}  // namespace orvandel
