#include "ExportProgress.hpp"

#include <algorithm>
#include <cmath>

#include "HeadlessRenderer.hpp"
#include "package/OrvExporter.hpp"

namespace orvandel::ExportProgress {

namespace {

struct Share {
    const char* stage;
    int from;  // permille
    int to;
};

// Roughly how long each stage takes on a typical deck: LibreOffice's
// conversion, the drawing and the encoding dominate.
constexpr Share kShares[] = {
    {OrvExporter::kStageScan, 0, 20},
    {OrvExporter::kStagePrepare, 20, 60},
    {HeadlessRenderer::kStageRead, 60, 80},
    {HeadlessRenderer::kStagePdf, 80, 450},
    {HeadlessRenderer::kStageDraw, 450, 700},
    {HeadlessRenderer::kStageEncode, 700, 960},
    {OrvExporter::kStagePackage, 960, 1000},
};

}  // namespace

std::optional<int> permille(const std::string& stage, double fraction) {
    for (const auto& share : kShares) {
        if (stage != share.stage) continue;
        const double f = std::isfinite(fraction) ? std::clamp(fraction, 0.0, 1.0) : 0.0;
        return share.from + static_cast<int>(std::lround(f * (share.to - share.from)));
    }
    return std::nullopt;
}

}  // namespace orvandel::ExportProgress
