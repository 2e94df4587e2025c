#include "rewrite/UnifiedBulletPlanBuilder.hpp"

#include <algorithm>

#include "base/Checked.hpp"
#include "base/Numbers.hpp"
#include "deck/TimingPolicy.hpp"
#include "deck/TimingTree.hpp"
#include "rewrite/MechanicalTransformer.hpp"

namespace orvandel::UnifiedBulletPlanBuilder {

std::int64_t openingChainDurationMs(const std::vector<XmlElement>& groupContainers) {
    std::int64_t base = 0, end = 0, result = 0;
    for (const auto& container : groupContainers) {
        if (TimingTree::clickHead(container)) break;
        for (const auto& effect : TimingTree::effectChildren(container)) {
            if (effect.attribute("nodeType") == "afterEffect") base = end;
            base = checkedAdd(base, TimingTree::effectStartDelayMs(effect));
            end = checkedAdd(base, TimingTree::effectDurationMs(effect));
            result = std::max(result, end);
        }
    }
    return result;
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
