#include "base/Subprocess.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#endif

#include <algorithm>
#include <exception>
#include <map>
#include <pthread.h>
#include <thread>

#include "base/Leftovers.hpp"
#include "base/ProcessTree.hpp"
#include "base/ProcessWatcher.hpp"

extern char** environ;

namespace orvandel {

namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
    int read = -1;
    int write = -1;
    ~Pipe() { closeBoth(); }
    void closeBoth() {
        if (read >= 0) ::close(read);
        if (write >= 0) ::close(write);
        read = write = -1;
    }
};

void openPipe(Pipe& p) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) throw FileError("create a pipe for", "a child process", errno);
    p.read = fds[0];
    p.write = fds[1];
}

std::vector<std::string> mergedEnvironment(const std::vector<std::string>& overrides) {
    std::map<std::string, std::string> byName;
    std::vector<std::string> order;
    auto put = [&](const std::string& entry) {
        const auto eq = entry.find('=');
        const std::string name = entry.substr(0, eq);
        if (!byName.count(name)) order.push_back(name);
        byName[name] = entry;
    };
    for (char** e = environ; e && *e; ++e) put(*e);
    for (const auto& entry : overrides) put(entry);
    std::vector<std::string> out;
    out.reserve(order.size());
    for (const auto& name : order) out.push_back(byName[name]);
    return out;
}

// Reads what is available on fd into sink; returns false at end of file.
bool drain(int fd, std::string& sink, std::size_t limit, const std::function<void(std::string_view)>& onChunk = {}) {
    char buf[65536];
    for (;;) {
        const ssize_t r = ::read(fd, buf, sizeof buf);
        if (r > 0) {
            if (onChunk) onChunk(std::string_view(buf, static_cast<std::size_t>(r)));
            const std::size_t room = sink.size() < limit ? limit - sink.size() : 0;
            sink.append(buf, std::min<std::size_t>(room, static_cast<std::size_t>(r)));
            continue;
        }
        if (r == 0) return false;
        if (errno == EINTR) continue;
        if (errno == EAGAIN) return true;
        return false;
    }
}

// Runs on the writer thread. SIGPIPE is blocked so that a child that has gone
// turns the writer's next write into EPIPE instead of killing us; the signal
// that write raised stays pending on this thread and is taken here.
void feed(const std::function<void(int)>& writer, int fd, std::exception_ptr& error) {
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
    try {
        writer(fd);
    } catch (...) {
        error = std::current_exception();
    }
    ::close(fd);
    const timespec now{};
    while (::sigtimedwait(&pipeSignal, nullptr, &now) == SIGPIPE) {
    }
}

// Leaving run() by an exception with the writer still running: the group is
// killed, which closes the pipe under the writer, so that it returns.
struct WriterJoin {
    std::thread& thread;
    pid_t group;
    ~WriterJoin() {
        if (!thread.joinable()) return;
        ::kill(-group, SIGKILL);
        thread.join();
    }
};

// Leaving run() by an exception before the child is reaped: it and its
// group are killed and it is reaped, so that no zombie stays behind.
struct ChildReaper {
    pid_t pid;
    pid_t group;
    bool reaped = false;
    ~ChildReaper() {
        if (reaped) return;
        ::kill(-group, SIGKILL);
        while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
};

// Where the child's standard streams come from; fds of this process, all
// close-on-exec.
struct Streams {
    int in;
    int out;
    int err;
};

#ifdef __linux__

// The child is cloned with CLONE_VM | CLONE_VFORK, as posix_spawn does: it
// runs in our memory, on a stack of its own, while the thread that cloned it
// waits until it has exec'd or exited. A fork would copy our page tables
// first, which takes tens of milliseconds once this process holds hundreds
// of megabytes of frames. So the child code below makes system calls and
// nothing else: no allocation, no lock, no write to our memory but
// `failure` (and the errno of the waiting thread, which it does not read).
// It is not instrumented by AddressSanitizer, whose stack poisoning would
// mark our memory.
#if defined(__SANITIZE_ADDRESS__)
#define ORVANDEL_CHILD_SIDE __attribute__((no_sanitize_address))
#else
#define ORVANDEL_CHILD_SIDE
#endif

// Everything the child needs, made before the clone.
struct ChildPlan {
    const char* program;
    char* const* argv;
    char* const* envp;
    Streams streams;
    const char* workingDirectory;  // null: stay
    pid_t group;
    pid_t parent;
    bool isolateNetwork;
    const char* uidMap;
    const char* gidMap;
    int* failure;  // the errno that kept the program from starting
};

[[noreturn]] ORVANDEL_CHILD_SIDE void childFails(const ChildPlan& plan, int error) {
    *plan.failure = error;
    ::_exit(127);
}

// 0, or the errno of the failed open or write.
ORVANDEL_CHILD_SIDE int writeProcFile(const char* path, const char* text) {
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0) return errno;
    const ssize_t n = ::write(fd, text, std::strlen(text));
    const int error = n < 0 ? errno : 0;
    ::close(fd);
    return error;
}

ORVANDEL_CHILD_SIDE void isolateNetwork(const ChildPlan& plan) {
    // With the right to make one (root, CAP_SYS_ADMIN) the network namespace
    // alone keeps every power over files; without, it comes with a user
    // namespace.
    if (::unshare(CLONE_NEWNET) == 0) return;
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return;  // refused here: run unisolated
    // "deny" must precede gid_map for a process without privilege; kernels
    // before 3.19 have no such file and need nothing.
    if (const int e = writeProcFile("/proc/self/setgroups", "deny"); e != 0 && e != ENOENT) childFails(plan, e);
    // Unmapped, our user could create no file: the child cannot run.
    if (const int e = writeProcFile("/proc/self/uid_map", plan.uidMap); e != 0) childFails(plan, e);
    if (const int e = writeProcFile("/proc/self/gid_map", plan.gidMap); e != 0) childFails(plan, e);
}

// A stream source that is also a standard stream's number would be closed or
// left close-on-exec by the dup2s: it moves up first.
ORVANDEL_CHILD_SIDE int aboveStandardStreams(const ChildPlan& plan, int fd) {
    if (fd > 2) return fd;
    const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, 3);
    if (moved < 0) childFails(plan, errno);
    return moved;
}

ORVANDEL_CHILD_SIDE int runChild(void* argument) {
    const ChildPlan& plan = *static_cast<const ChildPlan*>(argument);
    if (::setpgid(0, plan.group) != 0) childFails(plan, errno);
    if (plan.isolateNetwork) isolateNetwork(plan);
    // Killed when the thread that cloned it ends, however it ends. If the
    // parent went before this was set, it is our parent no longer.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0) childFails(plan, errno);
    if (::getppid() != plan.parent) ::_exit(127);
    // Our handlers must not run here; those the caller ignores stay ignored
    // (exec keeps that), except the ones a child expects at their default.
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    for (int sig = 1; sig < NSIG; ++sig) {
        struct sigaction current {};
        if (::sigaction(sig, nullptr, &current) == 0 && current.sa_handler != SIG_IGN) {
            ::sigaction(sig, &action, nullptr);
        }
    }
    for (const int sig : {SIGINT, SIGTERM, SIGPIPE, SIGCHLD, SIGHUP, SIGQUIT}) ::sigaction(sig, &action, nullptr);
    const int in = aboveStandardStreams(plan, plan.streams.in);
    const int out = aboveStandardStreams(plan, plan.streams.out);
    const int err = aboveStandardStreams(plan, plan.streams.err);
    if (::dup2(in, 0) < 0 || ::dup2(out, 1) < 0 || ::dup2(err, 2) < 0) childFails(plan, errno);
    // Nothing else of ours reaches the program, whoever forgot close-on-exec.
    ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
    if (plan.workingDirectory && ::chdir(plan.workingDirectory) != 0) childFails(plan, errno);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execve(plan.program, plan.argv, plan.envp);
    childFails(plan, errno);
}

// Starts the child in `group` (0: a group of its own); returns once it has
// exec'd.
pid_t launch(const std::vector<std::string>& argv, char* const* args, char* const* envp, const Streams& streams,
             const SubprocessOptions& options, pid_t group) {
    std::string program = argv[0];
    if (program.find('/') == std::string::npos) {
        const auto found = Subprocess::findOnPath(program);
        if (!found) throw LaunchError(argv[0], ENOENT);
        program = found->string();
    }
    const std::string uidMap = std::to_string(::geteuid()) + " " + std::to_string(::geteuid()) + " 1";
    const std::string gidMap = std::to_string(::getegid()) + " " + std::to_string(::getegid()) + " 1";
    int failure = 0;
    const ChildPlan plan{program.c_str(),
                         args,
                         envp,
                         streams,
                         options.workingDirectory ? options.workingDirectory->c_str() : nullptr,
                         group,
                         ::getpid(),
                         options.isolateNetwork,
                         uidMap.c_str(),
                         gidMap.c_str(),
                         &failure};
    // Far more than the child's few frames; released once it has exec'd.
    constexpr std::size_t kStack = 256 * 1024;
    void* stack = ::mmap(nullptr, kStack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (stack == MAP_FAILED) throw LaunchError(argv[0], errno);
    // No handler of ours may run in the child before it has reset them.
    sigset_t all, old;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &old);
    const pid_t pid = ::clone(runChild, static_cast<char*>(stack) + kStack, CLONE_VM | CLONE_VFORK | SIGCHLD,
                              const_cast<ChildPlan*>(&plan));
    const int cloneError = errno;
    ::pthread_sigmask(SIG_SETMASK, &old, nullptr);
    ::munmap(stack, kStack);
    if (pid < 0) throw LaunchError(argv[0], cloneError);
    if (failure != 0) {
        while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
        }
        throw LaunchError(argv[0], failure);
    }
    return pid;
}

#else

pid_t launch(const std::vector<std::string>& argv, char* const* args, char* const* envp, const Streams& streams,
             const SubprocessOptions& options, pid_t) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, streams.in, 0);
    posix_spawn_file_actions_adddup2(&actions, streams.out, 1);
    posix_spawn_file_actions_adddup2(&actions, streams.err, 2);
    if (options.workingDirectory) {
        posix_spawn_file_actions_addchdir_np(&actions, options.workingDirectory->c_str());
    }

    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    posix_spawnattr_setpgroup(&attr, 0);
    sigset_t empty, defaults;
    sigemptyset(&empty);
    sigemptyset(&defaults);
    for (int s : {SIGINT, SIGTERM, SIGPIPE, SIGCHLD, SIGHUP, SIGQUIT}) sigaddset(&defaults, s);
    posix_spawnattr_setsigmask(&attr, &empty);
    posix_spawnattr_setsigdefault(&attr, &defaults);
    short flags = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
#ifdef POSIX_SPAWN_CLOEXEC_DEFAULT
    flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;  // only the standard streams reach the child
#endif
    posix_spawnattr_setflags(&attr, flags);

    pid_t pid = -1;
    const bool searchPath = argv[0].find('/') == std::string::npos;
    const int rc = searchPath ? ::posix_spawnp(&pid, argv[0].c_str(), &actions, &attr, args, envp)
                              : ::posix_spawn(&pid, argv[0].c_str(), &actions, &attr, args, envp);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    if (rc != 0) throw LaunchError(argv[0], rc);
    return pid;
}

#endif

}  // namespace

namespace Subprocess {

std::optional<std::filesystem::path> findOnPath(const std::string& program) {
    if (program.find('/') != std::string::npos) {
        if (::access(program.c_str(), X_OK) == 0) return std::filesystem::path(program);
        return std::nullopt;
    }
    const char* path = std::getenv("PATH");
    std::string dirs = path ? path : "/usr/local/bin:/usr/bin:/bin";
    std::size_t start = 0;
    while (start <= dirs.size()) {
        auto end = dirs.find(':', start);
        if (end == std::string::npos) end = dirs.size();
        const std::string dir = end > start ? dirs.substr(start, end - start) : std::string(".");
        std::filesystem::path candidate = std::filesystem::path(dir) / program;
        struct stat st {};
        if (::stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode) && ::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
        start = end + 1;
    }
    return std::nullopt;
}

SubprocessResult run(const std::vector<std::string>& argv, const SubprocessOptions& options) {
    if (argv.empty()) throw LaunchError("(nothing)", EINVAL);
    Pipe in, out, err;
    if (options.standardInput) {
        openPipe(in);
        // Large writes (whole frames) cross in fewer turns through a larger
        // pipe; the default is kept where the system refuses.
        ::fcntl(in.write, F_SETPIPE_SZ, 1 << 20);
    }
    openPipe(out);
    openPipe(err);

    // Standard input: the writer's pipe, or /dev/null.
    Pipe devNull;
    if (!options.standardInput) {
        devNull.read = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (devNull.read < 0) throw FileError("open", "/dev/null", errno);
    }
    const Streams streams{options.standardInput ? in.read : devNull.read, out.write, err.write};

    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const std::vector<std::string> env = mergedEnvironment(options.environment);
    std::vector<char*> envp;
    for (const auto& e : env) envp.push_back(const_cast<char*>(e.c_str()));
    envp.push_back(nullptr);

#ifdef __linux__
    // Released (and with it the group id) only after everything below that
    // may signal the group has gone: declared first, destroyed last.
    const ProcessWatcher::Group watched = ProcessWatcher::newGroup(argv[0]);
    const pid_t pid = launch(argv, args.data(), envp.data(), streams, options, watched.id());
    const pid_t group = watched.id();
#else
    const pid_t pid = launch(argv, args.data(), envp.data(), streams, options, 0);
    const pid_t group = pid;
#endif
    devNull.closeBoth();
    ChildReaper reaper{pid, group};
    const auto leftover = Leftovers::processGroup(group);

    std::thread writer;
    std::exception_ptr writerError;
    const WriterJoin writerJoin{writer, group};
    if (options.standardInput) {
        // Our copy of the read end would keep the writer from ever seeing EPIPE.
        ::close(in.read);
        in.read = -1;
        try {
            writer = std::thread(feed, std::cref(options.standardInput), in.write, std::ref(writerError));
            in.write = -1;  // the writer closes it
        } catch (...) {
            writerError = std::current_exception();
            in.closeBoth();  // the child reads end of file
        }
    }

    ::close(out.write);
    ::close(err.write);
    out.write = err.write = -1;
    ::fcntl(out.read, F_SETFL, O_NONBLOCK);
    ::fcntl(err.read, F_SETFL, O_NONBLOCK);

    SubprocessResult result;
    const auto start = Clock::now();
    bool outOpen = true, errOpen = true, exited = false, killed = false;
    std::optional<Clock::time_point> drainDeadline;
    siginfo_t info{};
    unsigned idleSleepUs = 100;

    auto killGroup = [&] {
        ::kill(-group, SIGKILL);
        killed = true;
    };
    // The memory of the child's tree, sampled every kMemorySample.
    constexpr auto kMemorySample = std::chrono::milliseconds(100);
    auto nextMemorySample = start;

    while (outOpen || errOpen || !exited) {
        if (!killed) {
            if (options.cancel && options.cancel->isCancelled()) {
                result.cancelled = true;
                killGroup();
            } else if (options.timeout && Clock::now() - start >= *options.timeout) {
                result.timedOut = true;
                killGroup();
            } else if (options.memoryLimit && !exited && Clock::now() >= nextMemorySample) {
                nextMemorySample = Clock::now() + kMemorySample;
                if (ProcessTree::residentBytes(pid).value_or(0) > *options.memoryLimit) {
                    result.memoryExceeded = true;
                    killGroup();
                }
            }
        }
        if (!exited) {
            // WNOWAIT keeps the zombie, so that the pid is not reused while
            // the group is signalled.
            info.si_pid = 0;
            if (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                info.si_pid == pid) {
                exited = true;
                // Leftover members of the group (helpers that outlive the
                // leader) would hold our pipes open: they go too.
                ::kill(-group, SIGKILL);
                drainDeadline = Clock::now() + std::chrono::seconds(2);
            }
        }
        if (drainDeadline && Clock::now() > *drainDeadline) break;
        if (!outOpen && !errOpen) {
            // Both pipes are closed, so the child is normally about to exit:
            // look again soon, backing off to 10 ms for one that lingers.
            if (!exited) {
                ::usleep(idleSleepUs);
                idleSleepUs = std::min(idleSleepUs * 2, 10000u);
            }
            continue;
        }
        pollfd fds[2];
        nfds_t n = 0;
        if (outOpen) fds[n++] = {out.read, POLLIN, 0};
        if (errOpen) fds[n++] = {err.read, POLLIN, 0};
        const int pr = ::poll(fds, n, 50);
        if (pr < 0 && errno != EINTR) break;
        if (pr <= 0) continue;
        for (nfds_t i = 0; i < n; ++i) {
            if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
            if (fds[i].fd == out.read) {
                outOpen = drain(out.read, result.standardOutput, options.maxCapture, options.onStandardOutput);
            } else {
                errOpen = drain(err.read, result.standardError, options.maxCapture);
            }
        }
    }

    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    reaper.reaped = true;
    if (WIFEXITED(status)) {
        result.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.termSignal = WTERMSIG(status);
        result.exitStatus = 128 + result.termSignal;
    }
    if (writer.joinable()) writer.join();
    if (writerError) std::rethrow_exception(writerError);
    return result;
}

}  // namespace Subprocess

}  // namespace orvandel
