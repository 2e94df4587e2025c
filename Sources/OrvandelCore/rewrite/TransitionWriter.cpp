#include "rewrite/TransitionWriter.hpp"

#include <optional>
#include <string_view>

#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"

namespace orvandel::TransitionWriter {

namespace {

// Where the slide's own p:extLst starts when it is the slide's last element
// (after "</p:cSld>", only white space between it and "</p:sld>").
std::optional<std::size_t> trailingExtensionList(std::string_view xml) {
    const std::size_t cSld = xml.find("</p:cSld>");
    const std::size_t sld = cSld == std::string_view::npos ? cSld : xml.find("</p:sld>", cSld);
    if (sld == std::string_view::npos) return std::nullopt;
    std::size_t end = sld;
    while (end > cSld &&
           (xml[end - 1] == ' ' || xml[end - 1] == '\t' || xml[end - 1] == '\r' || xml[end - 1] == '\n')) {
        --end;
    }
    const std::string_view tail = xml.substr(cSld, end - cSld);
    const std::size_t open = tail.rfind("<p:extLst");
    if (open == std::string_view::npos) return std::nullopt;
    const bool closed = tail.ends_with("</p:extLst>");
    const bool selfClosed = tail.ends_with("/>") && tail.find('<', open + 1) == std::string_view::npos;
    if (!closed && !selfClosed) return std::nullopt;
    return cSld + open;
}

}  // namespace

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
    if (const auto extLst = trailingExtensionList(xml)) {
        xml.insert(*extLst, newBlock);
        return xml;
    }
    return SlideXML::insertBeforeClosing(std::move(xml), "p:sld", newBlock);
}

}  // namespace orvandel::TransitionWriter
