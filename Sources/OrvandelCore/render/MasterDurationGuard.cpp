#include "render/MasterDurationGuard.hpp"

#include <cstdlib>

namespace orvandel::MasterDurationGuard {

Verdict check(std::int64_t expectedBaseMs, std::int64_t measuredMs, Band band) {
    if (expectedBaseMs < 1) return Verdict::ok();
    if (band.low > band.high) std::abort();
    const double ratio = static_cast<double>(measuredMs) / static_cast<double>(expectedBaseMs);
    if (band.low <= ratio && ratio <= band.high) return Verdict::ok();
    return Verdict::mismatch(ratio);
}

}  // namespace orvandel::MasterDurationGuard
