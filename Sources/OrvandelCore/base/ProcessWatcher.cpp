#include "base/ProcessWatcher.hpp"

#ifdef __linux__

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <mutex>

#include "base/Error.hpp"

namespace orvandel::ProcessWatcher {

namespace {

// Fixed-size messages on a SOCK_SEQPACKET socket: each arrives whole.
// kNewGroup is answered with the anchor's pid (the group id) or -errno.
enum : std::int32_t { kNewGroup = 1, kRelease = 2 };
struct Message {
    std::int32_t op;
    std::int32_t id;
};

// The watcher's end of the socket, once it has settled.
constexpr int kSocketFd = 3;
// Far more children than one process runs at once; the table lives on the
// watcher's stack, which cannot allocate.
constexpr int kMaxGroups = 4096;

struct State {
    std::mutex mutex;
    int socket = -1;  // our end; only this process holds it
    pid_t watcher = 0;
};

State& state() {
    static State* s = new State;  // never destroyed: children may still be released during exit
    return *s;
}

// --- In the watcher and its anchors: async-signal-safe calls only. ---------

// An anchor shares the watcher's memory (CLONE_VM: no page tables to copy,
// however large this process was when it forked the watcher) and runs on a
// small stack of its own, where it only waits to be killed.
constexpr std::size_t kAnchorStack = 16 * 1024;

#if defined(__SANITIZE_ADDRESS__)
__attribute__((no_sanitize_address))
#endif
int beAnchor(void*) {
    // A raw wait with no descriptors and no end: the C library's blocking
    // calls may keep per-thread state, and this thread's is the watcher's.
    for (;;) ::syscall(SYS_ppoll, nullptr, 0, nullptr, nullptr, 0);
}

struct Anchor {
    pid_t pid;
    void* stack;
};

// The anchor's pid, or -errno.
pid_t startAnchor(Anchor& anchor) {
    anchor.stack = ::mmap(nullptr, kAnchorStack, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1,
                          0);
    if (anchor.stack == MAP_FAILED) return -errno;
    anchor.pid = ::clone(beAnchor, static_cast<char*>(anchor.stack) + kAnchorStack, CLONE_VM | SIGCHLD, nullptr);
    if (anchor.pid < 0) {
        const int error = errno;
        ::munmap(anchor.stack, kAnchorStack);
        return -error;
    }
    // The group exists before the answer goes out.
    if (::setpgid(anchor.pid, anchor.pid) != 0) {
        const int error = errno;
        ::kill(anchor.pid, SIGKILL);
        while (::waitpid(anchor.pid, nullptr, 0) < 0 && errno == EINTR) {
        }
        ::munmap(anchor.stack, kAnchorStack);
        return -error;
    }
    return anchor.pid;
}

void stopAnchor(const Anchor& anchor) {
    ::kill(anchor.pid, SIGKILL);
    while (::waitpid(anchor.pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    ::munmap(anchor.stack, kAnchorStack);
}

[[noreturn]] void watch() {
    Anchor anchors[kMaxGroups];
    int count = 0;
    for (;;) {
        Message m{};
        const ssize_t r = ::recv(kSocketFd, &m, sizeof m, 0);
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) break;  // end of file: the process we watch is gone
        if (r != sizeof m) continue;
        if (m.op == kNewGroup) {
            Message reply{kNewGroup, -EAGAIN};
            if (count < kMaxGroups) {
                reply.id = startAnchor(anchors[count]);
                if (reply.id > 0) ++count;
            }
            while (::send(kSocketFd, &reply, sizeof reply, MSG_NOSIGNAL) < 0 && errno == EINTR) {
            }
        } else if (m.op == kRelease) {
            for (int i = 0; i < count; ++i) {
                if (anchors[i].pid != m.id) continue;
                stopAnchor(anchors[i]);
                anchors[i] = anchors[--count];
                break;
            }
        }
    }
    for (int i = 0; i < count; ++i) ::kill(-anchors[i].pid, SIGKILL);
    ::_exit(0);
}

void closeFrom(int first) {
    if (::close_range(static_cast<unsigned>(first), ~0U, 0) == 0) return;
    rlimit files{};
    const rlim_t end = ::getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur != RLIM_INFINITY ? files.rlim_cur
                                                                                                  : 65536;
    for (rlim_t fd = static_cast<rlim_t>(first); fd < end; ++fd) ::close(static_cast<int>(fd));
}

[[noreturn]] void becomeWatcher(int socket, int devNull) {
    // Its own group: a terminal's Ctrl-C, sent to the foreground group, and a
    // kill of the caller's group pass it by. Its own name (its anchors take
    // it too): ps tells it apart, and `pkill -x orvandel` leaves it to clean up.
    ::setpgid(0, 0);
    ::prctl(PR_SET_NAME, "orvandel-watch");
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    for (int sig = 1; sig < NSIG; ++sig) ::sigaction(sig, &action, nullptr);  // SIGCHLD too: anchors wait to be reaped
    action.sa_handler = SIG_IGN;
    for (const int sig : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGTSTP, SIGTTIN, SIGTTOU}) {
        ::sigaction(sig, &action, nullptr);
    }
    const int high = ::fcntl(socket, F_DUPFD, kSocketFd + 1);
    if (high < 0) ::_exit(127);
    for (int fd = 0; fd < 3; ++fd) ::dup2(devNull, fd);
    ::dup2(high, kSocketFd);
    closeFrom(kSocketFd + 1);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    watch();
}

// --- In this process. ------------------------------------------------------

// In a child forked from this process: the connection is the parent's. Runs
// between fork and exec too, so it only closes and stores. The mutex may have
// been held by another thread of the parent, which does not exist here.
void dropInheritedConnection() {
    State& s = state();
    if (s.socket >= 0) ::close(s.socket);
    s.socket = -1;
    s.watcher = 0;
    new (&s.mutex) std::mutex;
}

void start(State& s, const std::string& program) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) throw LaunchError(program, errno);
    const int devNull = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (devNull < 0) {
        const int error = errno;
        ::close(ends[0]);
        ::close(ends[1]);
        throw LaunchError(program, error);
    }
    // No handler of ours may run in the watcher before it has reset them.
    sigset_t all, old;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &old);
    const pid_t pid = ::fork();
    if (pid == 0) becomeWatcher(ends[1], devNull);
    const int forkError = errno;
    ::pthread_sigmask(SIG_SETMASK, &old, nullptr);
    ::close(ends[1]);
    ::close(devNull);
    if (pid < 0) {
        ::close(ends[0]);
        throw LaunchError(program, forkError);
    }
    s.socket = ends[0];
    s.watcher = pid;
}

// One request and its answer; an errno when the watcher is gone.
int exchange(const State& s, Message& m) {
    ssize_t r;
    while ((r = ::send(s.socket, &m, sizeof m, MSG_NOSIGNAL)) < 0 && errno == EINTR) {
    }
    if (r != sizeof m) return r < 0 ? errno : EPIPE;
    while ((r = ::recv(s.socket, &m, sizeof m, 0)) < 0 && errno == EINTR) {
    }
    if (r != sizeof m) return r < 0 ? errno : EPIPE;
    return 0;
}

}  // namespace

Group::~Group() {
    if (id_ <= 0) return;
    ::kill(-id_, SIGKILL);
    State& s = state();
    const std::lock_guard lock(s.mutex);
    if (s.socket < 0) return;
    const Message m{kRelease, id_};
    while (::send(s.socket, &m, sizeof m, MSG_NOSIGNAL) < 0 && errno == EINTR) {
    }
}

Group& Group::operator=(Group&& other) noexcept {
    if (this != &other) {
        Group released(id_);
        id_ = other.id_;
        other.id_ = 0;
    }
    return *this;
}

Group newGroup(const std::string& program) {
    static std::once_flag forkHandler;
    std::call_once(forkHandler, [] { ::pthread_atfork(nullptr, nullptr, dropInheritedConnection); });
    State& s = state();
    const std::lock_guard lock(s.mutex);
    for (int attempt = 1;; ++attempt) {
        if (s.socket < 0) start(s, program);
        Message m{kNewGroup, 0};
        const int error = exchange(s, m);
        if (error == 0) {
            if (m.id > 0) return Group(m.id);
            throw LaunchError(program, -m.id);
        }
        // The watcher has gone (someone killed it): the groups it held are
        // on their own now; a new watcher takes the next ones.
        ::close(s.socket);
        s.socket = -1;
        while (::waitpid(s.watcher, nullptr, 0) < 0 && errno == EINTR) {
        }
        if (attempt == 2) throw LaunchError(program, error);
    }
}

}  // namespace orvandel::ProcessWatcher

#endif  // __linux__
