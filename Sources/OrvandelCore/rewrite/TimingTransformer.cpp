#include "rewrite/TimingTransformer.hpp"

#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"
#include "deck/TimingTree.hpp"
#include "rewrite/MechanicalTransformer.hpp"
#include "rewrite/TransitionWriter.hpp"
#include "rewrite/UnifiedBulletPlanBuilder.hpp"

namespace orvandel::TimingTransformer {

std::string transformTimingFragment(std::string_view timingXml, const Params& params) {
    const XmlElement timing = SlideXML::parseFragment(timingXml, "p:timing");
    const TimingPlan plan = UnifiedBulletPlanBuilder::buildPlan(timing, params);
    MechanicalTransformer::apply(plan, timing);
    TimingTree::renumber(timing);
    return XMLEmitter::emit(timing, XMLEmitter::Options::identity);
}

std::string transformBulletSlide(std::string_view slideXml, const Params& params) {
    const std::string timing = SlideXML::extractElement(slideXml, "p:timing");
    std::string slide = SlideXML::replaceElement(std::string(slideXml), "p:timing",
                                                 transformTimingFragment(timing, params));
    return TransitionWriter::insert(std::move(slide), params.advanceTimeMs);
}

std::string transformSlide4(std::string_view slideXml, const Params& params) {
    return transformBulletSlide(slideXml, params);
}

std::string transformSlide11Timing(std::string_view timingXml, const Params& params) {
    return transformTimingFragment(timingXml, params);
}

std::string transformSlide11(std::string_view slideXml, const Params& params) {
    return transformBulletSlide(slideXml, params);
}

}  // namespace orvandel::TimingTransformer
