#pragma once
// One overall share of an export done, and the time it has left, from the
// stages it reports (ExportStage and the fraction of each): every stage
// weighs its usual share of a headless export's time, and the estimate of
// the time left follows the pace measured so far, refined with every report.
// Pure: the caller says what time it is.
//
// The weights only give the shape: a re-export that takes its stills and
// encoded slides from the cache runs through the drawing and encoding
// stages at once, and the pace (the time taken per thousandth so far) then
// says the rest is quick. The estimate moves towards each new reading over a
// few seconds rather than jumping to it, and counts down between reports.
#include <cstdint>
#include <optional>

#include "base/ExportStage.hpp"

namespace orvandel {

class ProgressEstimate {
public:
    // Nothing is said of the time left before this much time has passed and
    // this much is done: the first seconds tell too little of the pace.
    static constexpr std::int64_t kFirstEstimateAfterMs = 3000;
    static constexpr int kFirstEstimateAfterPermille = 30;

    // startMs: when the export started, on the caller's steady clock.
    explicit ProgressEstimate(std::int64_t startMs = 0);

    // A stage's progress (fraction in [0, 1], anything else clamped; NaN is 0)
    // at nowMs. A stage reported after a later one, a fraction below an
    // earlier one, or a time before an earlier one never moves anything back.
    void report(ExportStage stage, double fraction, std::int64_t nowMs);

    // The share of the whole export done, in thousandths [0, 1000]; only grows.
    int permille() const;
    // The time the export has left at nowMs, in milliseconds, once there is
    // enough done to say (see above); nothing before. 0 once it is done.
    std::optional<std::int64_t> remainingMs(std::int64_t nowMs) const;

private:
    std::int64_t startMs_ = 0;
    int permille_ = 0;
    std::int64_t lastReportMs_ = 0;
    // The smoothed time left as of estimateAtMs_; none until the first estimate.
    std::optional<std::int64_t> estimateMs_;
    std::int64_t estimateAtMs_ = 0;
};

// The part of an export done, in thousandths, at the start and the end of
// `stage` (to < from never; each within [0, 1000]).
struct StageSpan {
    int from;
    int to;
};
StageSpan stageSpan(ExportStage stage);

}  // namespace orvandel
