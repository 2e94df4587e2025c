#pragma once
// One overall share of an export done, and the time it has left, from the
// stages it reports (ExportStage and the fraction of each): every stage
// weighs its usual share of an export's time, and the estimate of the time
// left follows the pace measured so far, refined with every report. Pure:
// the caller says what time it is.
#include <cstdint>
#include <optional>

#include "base/ExportStage.hpp"

namespace orvandel {

class ProgressEstimate {
public:
    // startMs: when the export started, on the caller's steady clock.
    explicit ProgressEstimate(std::int64_t startMs = 0);

    // A stage's progress (fraction in [0, 1], anything else clamped) at nowMs.
    // A stage reported after a later one, or a fraction below an earlier
    // one, never moves the overall share back.
    void report(ExportStage stage, double fraction, std::int64_t nowMs);

    // The share of the whole export done, in thousandths [0, 1000]; only grows.
    int permille() const;
    // The time the export has left at nowMs, in milliseconds, once there is
    // enough done to say (a few seconds and a few percent); nothing before.
    std::optional<std::int64_t> remainingMs(std::int64_t nowMs) const;

private:
    std::int64_t startMs_ = 0;
    int permille_ = 0;
    std::int64_t lastReportMs_ = 0;
};

}  // namespace orvandel
