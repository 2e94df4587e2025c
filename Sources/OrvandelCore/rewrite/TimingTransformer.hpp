#pragma once
// Rewrites a slide of bullets so that its whole main sequence plays by itself:
// plans the group starts (UnifiedBulletPlanBuilder), writes the plan into the
// timing tree (MechanicalTransformer), renumbers the time nodes, splices the
// timing back into the slide and writes the slide's automatic transition.
// Only the p:timing element and the transition change; every other byte of
// the slide is kept.
#include <string>
#include <string_view>

#include "rewrite/TimingPlan.hpp"

namespace orvandel::TimingTransformer {

// The slide text in, the rewritten slide out. Throws
// SlideXMLError::fragmentNotFound("p:timing") for a slide without timing, the
// errors of the fragment parser, and MechanicalTransformer::Error.
std::string transformBulletSlide(std::string_view slideXml, const Params& params);

// The text of one p:timing element in, the rewritten element out; no slide,
// no transition.
std::string transformTimingFragment(std::string_view timingXml, const Params& params);

// Named entry points of the same pipeline.
std::string transformSlide4(std::string_view slideXml, const Params& params);
std::string transformSlide11Timing(std::string_view timingXml, const Params& params);
std::string transformSlide11(std::string_view slideXml, const Params& params);

}  // namespace orvandel::TimingTransformer
