#pragma once
// Writes an element tree back as XML text, to be spliced into a slide in place
// of the element that was cut out. The dialect is deliberately small: elements,
// attributes and text only. No XML declaration, no namespace declarations (the
// fragment relies on those of the slide's root), comments and processing
// instructions dropped, CDATA written as escaped text. Never fails.
#include <string>

#include "container/XmlElement.hpp"

namespace orvandel::XMLEmitter {

struct Options {
    bool sortAttributes = false;       // by qualified name, stable, plain byte order
    bool normalizeWhitespace = false;  // trim text; text left empty is dropped

    static const Options identity;   // both off: what the timing writers use
    static const Options canonical;  // both on

    bool operator==(const Options&) const = default;
};

inline constexpr Options Options::identity{false, false};
inline constexpr Options Options::canonical{true, true};

// An element with nothing to render inside is always written self-closed; an
// empty handle gives empty text.
std::string emit(const XmlElement& element, Options options);

// Text escaped for an attribute value in double quotes: "&", "<", ">" and the
// double quote become entities (apostrophes stay). Also safe as element text.
std::string escapeAttribute(std::string_view text);

}  // namespace orvandel::XMLEmitter
