#include "ExportCoordinator.hpp"

namespace orvandel {

ExportCoordinator& ExportCoordinator::shared() {
    static ExportCoordinator coordinator;
    return coordinator;
}

void ExportCoordinator::setFinishingToQuit(bool value) {
    finishingToQuit_ = value;
    emit changed();
}

void ExportCoordinator::begin(std::function<void()> cancel) {
    inFlight_ = true;
    cancel_ = std::move(cancel);
    emit changed();
}

void ExportCoordinator::cancel() const {
    if (inFlight_ && cancel_) cancel_();
}

void ExportCoordinator::end() {
    inFlight_ = false;
    finishingToQuit_ = false;
    cancel_ = nullptr;
    emit changed();
    if (onFinish_) {
        const auto action = std::exchange(onFinish_, nullptr);
        action();
    }
}

}  // namespace orvandel
