#pragma once
// Lays the click groups of a slide's main sequence one after the other: the
// first starts when the groups that open the slide by themselves have played,
// each next one when the previous entrance plus a pause has played, but never
// sooner than the least spacing. Pure: the tree is only read.
#include <cstdint>
#include <vector>

#include "container/XmlElement.hpp"
#include "rewrite/TimingPlan.hpp"

namespace orvandel::UnifiedBulletPlanBuilder {

// The parsed p:timing element in. Throws MechanicalTransformer::Error
// (mainSeqNotFound) when it has no main sequence. Sums are checked.
TimingPlan buildPlan(const XmlElement& timing, const TimingTransformer::Params& params);

// How long the groups before the first click group run, on one timeline
// across those groups; durations are taken as written (no 1000 -> 500).
std::int64_t openingChainDurationMs(const std::vector<XmlElement>& groupContainers);

}  // namespace orvandel::UnifiedBulletPlanBuilder
