#pragma once
// Cancellation and progress for long operations (rendering, child processes).
// A token is a cheap shared handle over one atomic flag; cancel() may be called
// from any thread and from a signal handler (it only stores to a lock-free atomic).
#include <atomic>
#include <functional>
#include <memory>

#include "base/Error.hpp"
#include "base/ExportStage.hpp"

namespace orvandel {

class CancellationToken {
public:
    CancellationToken() : flag_(std::make_shared<std::atomic<bool>>(false)) {}
    void cancel() const noexcept { flag_->store(true, std::memory_order_relaxed); }
    bool isCancelled() const noexcept { return flag_->load(std::memory_order_relaxed); }
    // The raw flag, for a signal handler that must not touch shared_ptr.
    std::atomic<bool>* rawFlag() const noexcept { return flag_.get(); }

private:
    std::shared_ptr<std::atomic<bool>> flag_;
};

// Thrown when work stops because its token was cancelled.
class CancelledError : public Error {
public:
    CancelledError() : Error("cancelled") {}
};

// fraction: 0...1 within the stage.
using ProgressCallback = std::function<void(ExportStage stage, double fraction)>;

}  // namespace orvandel
