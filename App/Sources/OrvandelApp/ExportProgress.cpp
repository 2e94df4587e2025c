#include "ExportProgress.hpp"

#include <algorithm>
#include <cmath>

namespace orvandel::ExportProgress {

namespace {

struct Share {
    ExportStage stage;
    int from;  // permille
    int to;
};

// Roughly how long each stage takes on a typical deck: LibreOffice's
// conversion, the drawing and the encoding dominate.
constexpr Share kShares[] = {
    {ExportStage::scan, 0, 20},        {ExportStage::prepare, 20, 60}, {ExportStage::readPlan, 60, 80},
    {ExportStage::pdf, 80, 450},       {ExportStage::draw, 450, 700},  {ExportStage::encode, 700, 960},
    {ExportStage::package, 960, 1000},
};

}  // namespace

std::optional<int> permille(ExportStage stage, double fraction) {
    for (const auto& share : kShares) {
        if (stage != share.stage) continue;
        const double f = std::isfinite(fraction) ? std::clamp(fraction, 0.0, 1.0) : 0.0;
        return share.from + static_cast<int>(std::lround(f * (share.to - share.from)));
    }
    return std::nullopt;
}

}  // namespace orvandel::ExportProgress
