#include "base/ProgressEstimate.hpp"

#include <algorithm>
#include <cmath>

namespace orvandel {

namespace {

// How quickly the estimate follows a new reading: after this long it has
// gone half the way. Short enough to catch up with a cached re-export within
// seconds, long enough that one quick stage does not halve it at once.
constexpr std::int64_t kHalfWayMs = 4000;

std::int64_t countedDown(std::int64_t estimateMs, std::int64_t sinceMs) {
    return std::max<std::int64_t>(0, estimateMs - std::max<std::int64_t>(0, sinceMs));
}

// After this long without a report the old estimate says nothing any more
// (and the smoothing below stays far from overflowing).
constexpr std::int64_t kLongSilenceMs = 3'600'000;

}  // namespace

// Measured on the example deck and corpus decks without the cache (15 s and
// 8 s on two cores): reading the deck, probing its media and laying out the
// storyboard take about a third, LibreOffice's PDF under a tenth, drawing
// the stills a quarter, encoding a third; scanning, preparing and writing
// the package a few hundred milliseconds between them.
StageSpan stageSpan(ExportStage stage) {
    switch (stage) {
        case ExportStage::scan: return {0, 10};
        case ExportStage::prepare: return {10, 30};
        case ExportStage::render: return {30, 980};
        case ExportStage::readPlan: return {30, 280};
        case ExportStage::media: return {280, 310};
        case ExportStage::storyboard: return {310, 330};
        case ExportStage::pdf: return {330, 410};
        case ExportStage::draw: return {410, 650};
        case ExportStage::frames: return {650, 660};
        case ExportStage::encode: return {660, 980};
        case ExportStage::chapters: return {980, 990};
        case ExportStage::readChapters: return {980, 990};
        case ExportStage::package: return {990, 1000};
        case ExportStage::copyMovie: return {990, 1000};
    }
    return {0, 0};
}

ProgressEstimate::ProgressEstimate(std::int64_t startMs) : startMs_(startMs), lastReportMs_(startMs) {}

void ProgressEstimate::report(ExportStage stage, double fraction, std::int64_t nowMs) {
    if (!(fraction >= 0)) fraction = 0;  // NaN too
    fraction = std::min(fraction, 1.0);
    const StageSpan span = stageSpan(stage);
    const int at = span.from + static_cast<int>(std::lround((span.to - span.from) * fraction));
    permille_ = std::clamp(std::max(permille_, at), 0, 1000);
    nowMs = std::max(lastReportMs_, nowMs);
    lastReportMs_ = nowMs;

    // Bounded so that the pace below cannot overflow, whatever times are given.
    const std::int64_t elapsed = std::min<std::int64_t>(nowMs - startMs_, std::int64_t{1} << 40);
    if (permille_ < kFirstEstimateAfterPermille || elapsed < kFirstEstimateAfterMs) return;
    // The pace so far, carried over what is left.
    const std::int64_t reading = elapsed * (1000 - permille_) / permille_;
    if (!estimateMs_ || nowMs - estimateAtMs_ > kLongSilenceMs) {
        estimateMs_ = reading;
    } else {
        // Exponential smoothing in time: reports come at any rate, and many
        // quick ones must not weigh more than one slow one.
        const std::int64_t since = nowMs - estimateAtMs_;
        const std::int64_t before = countedDown(*estimateMs_, since);
        const std::int64_t step = since + kHalfWayMs;
        estimateMs_ = before + (reading - before) * since / step;
    }
    estimateAtMs_ = nowMs;
}

int ProgressEstimate::permille() const { return permille_; }

std::optional<std::int64_t> ProgressEstimate::remainingMs(std::int64_t nowMs) const {
    if (permille_ >= 1000) return 0;
    if (!estimateMs_) return std::nullopt;
    return countedDown(*estimateMs_, nowMs - estimateAtMs_);
}

}  // namespace orvandel
