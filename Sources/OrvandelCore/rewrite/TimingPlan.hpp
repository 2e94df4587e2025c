#pragma once
// When each group of a slide's main sequence must start, as pure data:
// computed by UnifiedBulletPlanBuilder, written into the timing tree by
// MechanicalTransformer. All times are milliseconds.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvandel {

namespace TimingTransformer {

struct Params {
    std::int64_t advanceTimeMs = 0;
    std::int64_t respiroMs = 0;      // pause after each bullet's entrance
    std::int64_t espacamentoMs = 0;  // least spacing between two bullet starts

    bool operator==(const Params&) const = default;
};

}  // namespace TimingTransformer

// One per group container of the main sequence, in container order. Both
// values are absent for a group without a click head: it already starts by
// itself with or after another group and is left as it is.
struct GroupPlan {
    std::optional<std::int64_t> startDelayMs;   // from the start of the main sequence
    std::optional<std::int64_t> headRespiroMs;  // delay of the head once it follows its group

    bool operator==(const GroupPlan&) const = default;
};

struct TimingPlan {
    std::int64_t advanceTimeMs = 0;
    std::vector<GroupPlan> groups;
    // dur text -> replacement dur text, applied to every p:cTn of the timing.
    std::map<std::string, std::string> durationOverrides;

    bool operator==(const TimingPlan&) const = default;
};

}  // namespace orvandel
