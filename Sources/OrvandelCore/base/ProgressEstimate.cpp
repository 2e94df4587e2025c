#include "base/ProgressEstimate.hpp"

#include <algorithm>
#include <cmath>

namespace orvandel {

namespace {

// Where each stage starts and ends in thousandths of a headless export.
// A first version: refined against measured exports.
struct Span {
    int from;
    int to;
};

Span spanOf(ExportStage stage) {
    switch (stage) {
        case ExportStage::scan: return {0, 10};
        case ExportStage::prepare: return {10, 30};
        case ExportStage::render: return {30, 950};
        case ExportStage::readPlan: return {30, 50};
        case ExportStage::media: return {50, 80};
        case ExportStage::storyboard: return {80, 100};
        case ExportStage::pdf: return {100, 400};
        case ExportStage::draw: return {400, 550};
        case ExportStage::frames: return {550, 600};
        case ExportStage::encode: return {600, 950};
        case ExportStage::chapters: return {950, 970};
        case ExportStage::readChapters: return {950, 970};
        case ExportStage::package: return {970, 1000};
        case ExportStage::copyMovie: return {970, 1000};
    }
    return {0, 0};
}

}  // namespace

ProgressEstimate::ProgressEstimate(std::int64_t startMs) : startMs_(startMs), lastReportMs_(startMs) {}

void ProgressEstimate::report(ExportStage stage, double fraction, std::int64_t nowMs) {
    if (!(fraction >= 0)) fraction = 0;
    fraction = std::min(fraction, 1.0);
    const Span span = spanOf(stage);
    const int at = span.from + static_cast<int>(std::lround((span.to - span.from) * fraction));
    permille_ = std::clamp(std::max(permille_, at), 0, 1000);
    lastReportMs_ = std::max(lastReportMs_, nowMs);
}

int ProgressEstimate::permille() const { return permille_; }

std::optional<std::int64_t> ProgressEstimate::remainingMs(std::int64_t nowMs) const {
    const std::int64_t elapsed = nowMs - startMs_;
    if (permille_ < 30 || elapsed < 3000) return std::nullopt;
    return elapsed * (1000 - permille_) / permille_;
}

}  // namespace orvandel
