#include "rewrite/MediaWriter.hpp"

#include <optional>

#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"
#include "deck/TimingTree.hpp"

namespace orvandel::MediaWriter {

MediaError MediaError::noMainSeqMediaCall() {
    return MediaError(Case::noMainSeqMediaCall, "no mainSeq mediacall effect to convert to autoplay");
}

std::string convertOnClickToAutoplay(std::string xml) {
    const auto timing = SlideXML::parseElement(xml, "p:timing");
    if (!timing) throw MediaError::noMainSeqMediaCall();
    auto call = TimingTree::mainSeqMediaCall(*timing);
    if (!call || call->attribute("nodeType") != "clickEffect") throw MediaError::noMainSeqMediaCall();
    call->replaceAttribute("nodeType", "withEffect");
    TimingTree::ensureMainSeqOnBegin(*timing);
    return SlideXML::replaceElement(std::move(xml), "p:timing", *timing);
}

std::string setAutoplayPreroll(std::string xml, std::int64_t videoPreMs) {
    const auto timing = SlideXML::parseElement(xml, "p:timing");
    if (!timing) return xml;
    for (const auto& node : TimingTree::allCTnInDocumentOrder(*timing)) {
        if (node.attribute("presetClass") != "mediacall" || node.attribute("nodeType") == "clickEffect") continue;
        const auto conditions = TimingTree::firstChild(node, "p:stCondLst");
        auto cond = conditions ? TimingTree::firstChild(*conditions, "p:cond") : std::nullopt;
        if (!cond) return xml;
        cond->replaceAttribute("delay", formatInt(videoPreMs));
        return SlideXML::replaceElement(std::move(xml), "p:timing", *timing);
    }
    return xml;
}

}  // namespace orvandel::MediaWriter
