#pragma once
// One bar for the whole export: each stage reported through
// RenderHooks::progress fills its own share of the bar, in the order the
// stages run, so that the bar only moves forward.
#include <optional>

#include "base/ExportStage.hpp"

namespace orvandel::ExportProgress {

// Thousandths of the whole export done when `stage` is `fraction` (0...1)
// done; nothing for a stage it does not know.
std::optional<int> permille(ExportStage stage, double fraction);

}  // namespace orvandel::ExportProgress
