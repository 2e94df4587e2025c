#include "Interrupt.hpp"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "base/Leftovers.hpp"

namespace orvandel::cli {

namespace {

std::atomic<int> gSignal{0};
std::atomic<int> gCount{0};
std::atomic<int> gHurryPipe{-1};
std::atomic<std::atomic<bool>*> gFlag{nullptr};
struct sigaction gOldInt, gOldTerm;

// Only lock-free stores and write(2): both are safe in a signal handler.
extern "C" void onInterrupt(int sig) {
    gSignal.store(sig);
    if (auto* flag = gFlag.load()) flag->store(true);
    if (gCount.fetch_add(1) >= 1) {
        const int fd = gHurryPipe.load();
        const char byte = static_cast<char>(sig);
        if (fd >= 0) (void)!::write(fd, &byte, 1);
    }
}

}  // namespace

InterruptGuard::InterruptGuard() {
    gSignal.store(0);
    gCount.store(0);
    gFlag.store(token_.rawFlag());
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) == 0) {
        hurryRead_ = fds[0];
        hurryWrite_ = fds[1];
        gHurryPipe.store(hurryWrite_);
        // A second signal while the first is still being handled: the user
        // wants out now. Kill the children, remove the scratch, and go.
        hurry_ = std::thread([fd = hurryRead_] {
            char sig = 0;
            if (::read(fd, &sig, 1) != 1) return;  // the guard closed the pipe: the work is over
            std::fputs("\norvandel: interrupted again; stopping at once\n", stderr);
            Leftovers::cleanUpNow();
            std::_Exit(128 + sig);
        });
    }
    struct sigaction sa {};
    sa.sa_handler = onInterrupt;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, &gOldInt);
    sigaction(SIGTERM, &sa, &gOldTerm);
}

InterruptGuard::~InterruptGuard() {
    sigaction(SIGINT, &gOldInt, nullptr);
    sigaction(SIGTERM, &gOldTerm, nullptr);
    gFlag.store(nullptr);
    gHurryPipe.store(-1);
    if (hurryWrite_ >= 0) ::close(hurryWrite_);
    if (hurry_.joinable()) hurry_.join();
    if (hurryRead_ >= 0) ::close(hurryRead_);
}

std::optional<int> InterruptGuard::signal() const {
    const int s = gSignal.load();
    if (s == 0) return std::nullopt;
    return s;
}

int InterruptGuard::exitStatus() const { return 128 + signal().value_or(SIGINT); }

}  // namespace orvandel::cli
