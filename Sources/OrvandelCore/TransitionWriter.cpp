#include "TransitionWriter.hpp"

#include "Numbers.hpp"
#include "SlideXML.hpp"

namespace orvandel::TransitionWriter {

std::string block(std::int64_t advanceTimeMs) {
    const std::string t = formatInt(advanceTimeMs);
    std::string out;
    out.reserve(420);
    out.append("<mc:AlternateContent xmlns:mc=\"")
        .append(OOXML::mc)
        .append("\"><mc:Choice xmlns:p14=\"")
        .append(OOXML::p14)
        .append("\" Requires=\"p14\"><p:transition p14:dur=\"0\" advClick=\"0\" advTm=\"")
        .append(t)
        .append("\"/></mc:Choice><mc:Fallback><p:transition advClick=\"0\" advTm=\"")
        .append(t)
        .append("\"/></mc:Fallback></mc:AlternateContent>");
    return out;
}

std::string insert(std::string xml, std::int64_t advanceTimeMs) {
    const std::string newBlock = block(advanceTimeMs);
    if (const auto range = SlideXML::transitionBlockRange(xml)) {
        xml.replace(range->first, range->second - range->first, newBlock);
        return xml;
    }
    // The transition must come before the timing and before the slide's
    // extension list; a self-closed <p:timing/> counts as a timing too.
    if (xml.find("<p:timing") != std::string::npos) return SlideXML::insertBefore(std::move(xml), "p:timing", newBlock);
    if (const auto cSld = xml.find("</p:cSld>"); cSld != std::string::npos) {
        const auto extLst = xml.find("<p:extLst", cSld);
        const auto end = xml.find("</p:sld>", cSld);
        if (extLst != std::string::npos && (end == std::string::npos || extLst < end)) {
            xml.insert(extLst, newBlock);
            return xml;
        }
    }
    return SlideXML::insertBeforeClosing(std::move(xml), "p:sld", newBlock);
}

}  // namespace orvandel::TransitionWriter
