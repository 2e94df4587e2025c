#pragma once
// Ctrl-C and SIGTERM during long work: the handler only records the signal
// and cancels a token (both lock-free atomic stores); the work notices the
// token, kills its child processes, cleans up on its normal unwinding path
// and the command exits with 128 + the signal number. A second signal before
// that is done ends the process at once: a watcher thread kills the children
// and removes the scratch folders and temporary files (Leftovers) first.
#include <optional>
#include <thread>

#include "base/Cancellation.hpp"

namespace orvandel::cli {

class InterruptGuard {
public:
    // Installs the handlers for SIGINT and SIGTERM; the previous ones come back
    // when the guard goes out of scope.
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

    const CancellationToken& token() const { return token_; }
    // The signal that arrived, if any.
    std::optional<int> signal() const;
    // 130 for SIGINT, 143 for SIGTERM.
    int exitStatus() const;

private:
    CancellationToken token_;
    int hurryRead_ = -1;
    int hurryWrite_ = -1;
    std::thread hurry_;
};

}  // namespace orvandel::cli
