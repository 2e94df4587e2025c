#include "container/SlideXML.hpp"

#include "container/XMLEmitter.hpp"

#include <array>
#include <functional>
#include <vector>

namespace orvandel {

SlideXMLError SlideXMLError::fragmentNotFound(const std::string& tag) {
    return SlideXMLError(Case::fragmentNotFound, tag, "fragment not found: " + tag);
}

SlideXMLError SlideXMLError::parseFailed(const std::string& message) {
    return SlideXMLError(Case::parseFailed, message, "parse failed: " + message);
}

SlideXMLError SlideXMLError::inPart(const std::string& part) const {
    SlideXMLError e(case_, detail_, part + ": " + (case_ == Case::parseFailed ? detail_ : std::string(what())));
    e.part_ = part;
    return e;
}

namespace SlideXML {

namespace {

constexpr std::array<std::string_view, 5> shapeKinds{"p:sp", "p:pic", "p:graphicFrame", "p:cxnSp", "p:grpSp"};
constexpr std::array<std::string_view, 2> mediaMarkers{"a:videoFile", "a:audioFile"};

template <std::size_t N>
bool isOneOf(const std::string& name, const std::array<std::string_view, N>& names) {
    for (auto n : names) {
        if (name == n) return true;
    }
    return false;
}

std::string concat(std::string_view a, std::string_view b, std::string_view c = {}) {
    std::string out;
    out.reserve(a.size() + b.size() + c.size());
    out.append(a).append(b).append(c);
    return out;
}

std::string spliced(std::string_view xml, std::size_t from, std::size_t to, std::string_view with) {
    std::string out;
    out.reserve(xml.size() - (to - from) + with.size());
    out.append(xml.substr(0, from)).append(with).append(xml.substr(to));
    return out;
}

// Pre-order: the element itself, then its children in document order. An
// explicit stack keeps deep trees off the call stack.
std::optional<XmlElement> firstDescendant(const XmlElement& element,
                                          const std::function<bool(const XmlElement&)>& where) {
    std::vector<XmlElement> stack{element};
    while (!stack.empty()) {
        XmlElement e = std::move(stack.back());
        stack.pop_back();
        if (where(e)) return e;
        auto children = e.childElements();
        stack.insert(stack.end(), std::make_move_iterator(children.rbegin()), std::make_move_iterator(children.rend()));
    }
    return std::nullopt;
}

}  // namespace

std::optional<Range> elementRange(std::string_view xml, std::string_view tag) {
    const std::size_t start = xml.find(concat("<", tag));
    if (start == std::string_view::npos) return std::nullopt;
    const std::string closing = concat("</", tag, ">");
    const std::size_t end = xml.find(closing, start);
    if (end == std::string_view::npos) return std::nullopt;
    return Range{start, end + closing.size()};
}

std::string extractElement(std::string_view xml, std::string_view tag) {
    const auto range = elementRange(xml, tag);
    if (!range) throw SlideXMLError::fragmentNotFound(std::string(tag));
    return std::string(xml.substr(range->first, range->second - range->first));
}

std::string replaceElement(std::string xml, std::string_view tag, std::string_view with) {
    const auto range = elementRange(xml, tag);
    if (!range) throw SlideXMLError::fragmentNotFound(std::string(tag));
    return spliced(xml, range->first, range->second, with);
}

std::string insertBefore(std::string xml, std::string_view tag, std::string_view block) {
    const std::size_t at = xml.find(concat("<", tag));
    if (at == std::string::npos) throw SlideXMLError::fragmentNotFound(std::string(tag));
    xml.insert(at, block);
    return xml;
}

std::string insertBeforeClosing(std::string xml, std::string_view tag, std::string_view block) {
    const std::string closing = concat("</", tag, ">");
    const std::size_t at = xml.find(closing);
    if (at == std::string::npos) throw SlideXMLError::fragmentNotFound(closing);
    xml.insert(at, block);
    return xml;
}

std::optional<Range> transitionBlockRange(std::string_view xml) {
    constexpr std::string_view cSldEnd = "</p:cSld>";
    constexpr std::string_view mcOpen = "<mc:AlternateContent";
    constexpr std::string_view mcClose = "</mc:AlternateContent>";
    constexpr std::string_view transitionClose = "</p:transition>";

    const std::size_t cSld = xml.find(cSldEnd);
    if (cSld == std::string_view::npos) return std::nullopt;
    const std::size_t afterCSld = cSld + cSldEnd.size();
    const std::size_t transition = xml.find("<p:transition", afterCSld);
    if (transition == std::string_view::npos) return std::nullopt;

    const std::string_view between = xml.substr(afterCSld, transition - afterCSld);
    if (const std::size_t mc = between.find(mcOpen); mc != std::string_view::npos) {
        const std::size_t mcStart = afterCSld + mc;
        const std::size_t close = xml.find(mcClose, mcStart);
        if (close == std::string_view::npos) return std::nullopt;
        return Range{mcStart, close + mcClose.size()};
    }

    const std::size_t gt = xml.find('>', transition);
    if (gt == std::string_view::npos) return std::nullopt;
    if (xml[gt - 1] == '/') return Range{transition, gt + 1};
    const std::size_t close = xml.find(transitionClose, transition);
    if (close == std::string_view::npos) return std::nullopt;
    return Range{transition, close + transitionClose.size()};
}

std::optional<XmlElement> parseElement(std::string_view xml, std::string_view tag) {
    const auto range = elementRange(xml, tag);
    if (!range) return std::nullopt;
    return parseFragment(xml.substr(range->first, range->second - range->first), tag);
}

std::string replaceElement(std::string xml, std::string_view tag, const XmlElement& tree) {
    return replaceElement(std::move(xml), tag, XMLEmitter::emit(tree, XMLEmitter::Options::identity));
}

XmlElement parseFragment(std::string_view fragment, std::string_view expectedRoot) {
    // A fragment cut out of a slide uses prefixes declared on the slide's
    // root; the wrapper declares them again so that it parses by itself.
    static const std::string open = [] {
        std::string s = "<orvandel-wrap";
        const std::pair<std::string_view, std::string_view> decls[] = {
            {"p", OOXML::p}, {"a", OOXML::a}, {"r", OOXML::r}, {"p14", OOXML::p14}, {"mc", OOXML::mc}};
        for (const auto& [prefix, uri] : decls)
            s.append(" xmlns:").append(prefix).append("=\"").append(uri).append("\"");
        return s + ">";
    }();
    static constexpr std::string_view close = "</orvandel-wrap>";
    // A tree costs several times its text; a fragment this large is damage.
    if (fragment.size() > kLargestFragment) {
        throw SlideXMLError::parseFailed("the <" + std::string(expectedRoot) + "> element is " +
                                         std::to_string((fragment.size() + (1 << 20) - 1) >> 20) +
                                         " MiB of text, more than the " + std::to_string(kLargestFragment >> 20) +
                                         " MiB one element of a slide may take");
    }

    std::string wrapped;
    wrapped.reserve(open.size() + fragment.size() + close.size());
    wrapped.append(open).append(fragment).append(close);

    XmlElement wrapper;
    try {
        wrapper = XmlElement::parseDocument(wrapped);
    } catch (const XmlParseError& e) {
        throw SlideXMLError::parseFailed(e.what());
    }
    if (auto root = wrapper.firstChildElement(expectedRoot)) return root;
    throw SlideXMLError::parseFailed(concat("could not locate <", expectedRoot, "> in wrapped fragment"));
}

bool shapeIsMedia(std::string_view xml, std::string_view spid) {
    const auto range = elementRange(xml, "p:spTree");
    if (!range) throw SlideXMLError::fragmentNotFound("p:spTree");
    const XmlElement spTree = parseFragment(xml.substr(range->first, range->second - range->first), "p:spTree");
    return shapeIsMedia(spTree, spid);
}

bool shapeIsMedia(const XmlElement& spTree, std::string_view spid) {
    const auto cNvPr = firstDescendant(spTree, [&](const XmlElement& e) {
        return e.name() == "p:cNvPr" && e.attribute("id") == spid;
    });
    if (!cNvPr) return false;
    XmlElement shape = *cNvPr;
    while (shape && !isOneOf(shape.name(), shapeKinds)) shape = shape.parent();
    if (!shape) return false;
    return firstDescendant(shape, [](const XmlElement& e) { return isOneOf(e.name(), mediaMarkers); }).has_value();
}

}  // namespace SlideXML

}  // namespace orvandel
