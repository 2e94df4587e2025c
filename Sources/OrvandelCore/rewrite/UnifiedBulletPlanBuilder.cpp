#include "rewrite/UnifiedBulletPlanBuilder.hpp"

#include <algorithm>

#include "base/Checked.hpp"
#include "base/Numbers.hpp"
#include "deck/TimingPolicy.hpp"
#include "deck/TimingTree.hpp"
#include "rewrite/MechanicalTransformer.hpp"

namespace orvandel::UnifiedBulletPlanBuilder {

std::int64_t openingChainDurationMs(const std::vector<XmlElement>& groupContainers) {
    return TimingPolicy::openingChainMs(groupContainers);
}

TimingPlan buildPlan(const XmlElement& timing, const TimingTransformer::Params& params) {
    const auto mainSeq = TimingTree::firstMainSeq(timing);
    if (!mainSeq) throw MechanicalTransformer::Error::mainSeqNotFound();

    const auto containers = TimingTree::groupContainers(*mainSeq);
    const std::int64_t opening = openingChainDurationMs(containers);

    TimingPlan plan;
    plan.advanceTimeMs = params.advanceTimeMs;
    plan.groups.reserve(containers.size());
    std::int64_t cursor = 0;
    for (const auto& container : containers) {
        if (!TimingTree::clickHead(container)) {
            plan.groups.push_back({});
            continue;
        }
        plan.groups.push_back({checkedAdd(cursor, opening), params.respiroMs});
        const std::int64_t played = checkedAdd(params.respiroMs, TimingTree::entranceDurationMs(container));
        cursor = checkedAdd(cursor, std::max(played, params.espacamentoMs));
    }
    // A one-second effect plays in half a second, as entranceDurationMs counts it.
    plan.durationOverrides = {
        {formatInt(TimingPolicy::ONE_SECOND_EFFECT), formatInt(TimingPolicy::ONE_SECOND_EFFECT_PLAYED)}};
    return plan;
}

}  // namespace orvandel::UnifiedBulletPlanBuilder
