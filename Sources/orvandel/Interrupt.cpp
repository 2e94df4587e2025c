#include "Interrupt.hpp"

#include <atomic>
#include <csignal>

namespace orvandel::cli {

namespace {

std::atomic<int> gSignal{0};
std::atomic<std::atomic<bool>*> gFlag{nullptr};
struct sigaction gOldInt, gOldTerm;

extern "C" void onInterrupt(int sig) {
    gSignal.store(sig);
    if (auto* flag = gFlag.load()) flag->store(true);
}

}  // namespace

InterruptGuard::InterruptGuard() {
    gSignal.store(0);
    gFlag.store(token_.rawFlag());
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
}

std::optional<int> InterruptGuard::signal() const {
    const int s = gSignal.load();
    if (s == 0) return std::nullopt;
    return s;
}

int InterruptGuard::exitStatus() const { return 128 + signal().value_or(SIGINT); }

}  // namespace orvandel::cli
