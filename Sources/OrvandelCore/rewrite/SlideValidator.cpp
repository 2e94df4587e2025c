#include "rewrite/SlideValidator.hpp"

#include "base/Numbers.hpp"
#include "container/XmlElement.hpp"

namespace orvandel::SlideValidator {

namespace {

std::int64_t occurrences(std::string_view text, std::string_view needle) {
    std::int64_t count = 0;
    for (std::size_t at = text.find(needle); at != std::string_view::npos; at = text.find(needle, at + needle.size())) {
        ++count;
    }
    return count;
}

}  // namespace

std::optional<std::string> validationFailure(std::string_view xml) {
    if (XmlElement::wellFormednessError(xml)) return "not well-formed XML";

    const std::size_t cSld = xml.find("</p:cSld>");
    const std::string_view tail = cSld == std::string_view::npos ? xml : xml.substr(cSld);

    const std::int64_t transitions = occurrences(tail, "<p:transition");
    if (transitions != 2) {
        return "expected exactly one transition (2 <p:transition>), found " + formatInt(transitions);
    }
    const std::int64_t blocks = occurrences(tail, "<mc:AlternateContent");
    if (blocks != 1) return "expected exactly one transition <mc:AlternateContent>, found " + formatInt(blocks);

    const std::size_t timing = tail.find("<p:timing");
    const std::size_t block = tail.find("<mc:AlternateContent");
    if (timing != std::string_view::npos && block != std::string_view::npos && timing < block) {
        return "transition appears after <p:timing> (ECMA-376 order)";
    }
    return std::nullopt;
}

bool isValid(std::string_view xml) { return !validationFailure(xml).has_value(); }

}  // namespace orvandel::SlideValidator
