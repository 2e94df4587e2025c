#pragma once
// Text surgery on a part's XML, for the storyboard's writers: where each
// element lies, an attribute of a start tag as written, and edits spliced
// into the text. A tree written back would lose what no writer meant to
// touch (namespace declarations deep inside a part, the bytes around an
// edit); here every byte outside an edit stays as it was.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvandel::XmlSpans {

// Where one element of a part's text lies: [begin, end), its start tag ending
// at tagEnd (tagEnd == end for an empty-element tag), and the index of its
// parent (-1 for the root).
struct Span {
    std::string_view name;
    std::size_t begin = 0, tagEnd = 0, end = 0;
    int parent = -1;
};

// Every element of a well-formed text, in document order. Comments, CDATA,
// processing instructions and declarations are skipped; quotes are honoured
// inside start tags (a ">" may stand in an attribute value).
std::vector<Span> elementSpans(std::string_view xml);

// One attribute of a start tag: its name as written and where its value
// lies in the tag, between the quotes. An unquoted value (no XML has one, but
// LibreOffice's reader of legacy VML drawings takes it) runs to the next
// space or ">".
struct Attribute {
    std::string_view name;
    std::size_t valueBegin = 0, valueEnd = 0;
};
std::vector<Attribute> attributesOf(std::string_view tag);

// An attribute of a start tag as written (entities not decoded).
std::optional<std::string> attributeOf(std::string_view tag, std::string_view name);
std::optional<std::string> attributeOf(std::string_view xml, const Span& span, std::string_view name);
// The attribute as a whole decimal integer; nothing when absent or not one.
std::optional<std::int64_t> integerAttribute(std::string_view xml, const Span& span, std::string_view name);

// The element's children, in order (indices into spans).
std::vector<int> childrenOf(const std::vector<Span>& spans, int parent);
// The first child named `name` (qualified, as written); nothing when none is.
std::optional<int> firstChild(const std::vector<Span>& spans, int parent, std::string_view name);

// The start tag with the attribute set to `value` (replaced where it is
// written, else added last).
std::string withAttribute(std::string_view tag, std::string_view name, std::string_view value);

// The text [begin, end) becomes text; begin == end inserts.
struct Edit {
    std::size_t begin, end;
    std::string text;
};

// The text with the edits made. An edit inside another one is dropped (the
// outer one rewrote it); insertions at one place keep their order and come
// before an edit that starts there.
std::string applied(std::string_view xml, std::vector<Edit> edits);

}  // namespace orvandel::XmlSpans
