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

void ExportCoordinator::begin() {
    inFlight_ = true;
    emit changed();
}

void ExportCoordinator::end() {
    inFlight_ = false;
    finishingToQuit_ = false;
    emit changed();
    if (onFinish_) {
        const auto action = std::exchange(onFinish_, nullptr);
        action();
    }
}

}  // namespace orvandel
