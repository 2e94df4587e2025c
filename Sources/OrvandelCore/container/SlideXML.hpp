#pragma once
// Text surgery on slide XML. A slide part is never re-serialised whole: one
// element is found by plain, case-sensitive substring search (no nesting, no
// word boundary, namespaces ignored), cut out, parsed on its own when needed,
// and replacement text is spliced back. Every byte outside the touched range
// stays as it was. Editing operations return the whole new text or throw;
// the input is never half-edited.
//
// Ranges are half-open byte offsets into the text: [first, second).
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Error.hpp"
#include "container/XmlElement.hpp"

namespace orvandel {

// The namespace names that fragments cut out of a slide are parsed against.
namespace OOXML {
inline constexpr std::string_view p = "http://schemas.openxmlformats.org/presentationml/2006/main";
inline constexpr std::string_view a = "http://schemas.openxmlformats.org/drawingml/2006/main";
inline constexpr std::string_view r = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
inline constexpr std::string_view p14 = "http://schemas.microsoft.com/office/powerpoint/2010/main";
inline constexpr std::string_view mc = "http://schemas.openxmlformats.org/markup-compatibility/2006";
}  // namespace OOXML

class SlideXMLError : public Error {
public:
    enum class Case { fragmentNotFound, parseFailed };

    // The tag or closing tag that was searched for.
    static SlideXMLError fragmentNotFound(const std::string& tag);
    // The parser's own message, or the message saying the root was not found.
    static SlideXMLError parseFailed(const std::string& message);

    // The same error, its description led by the part it was found in:
    // "ppt/slides/slide3.xml: expected '>' (line 1)".
    SlideXMLError inPart(const std::string& part) const;

    Case errorCase() const { return case_; }
    const std::string& detail() const { return detail_; }
    // The part named by inPart; empty otherwise.
    const std::string& part() const { return part_; }

private:
    SlideXMLError(Case c, std::string detail, const std::string& description)
        : Error(description, c == Case::parseFailed ? detail : std::string()), case_(c), detail_(std::move(detail)) {}

    Case case_;
    std::string detail_;
    std::string part_;
};

namespace SlideXML {

using Range = std::pair<std::size_t, std::size_t>;

// From the first "<" + tag to the end of the first "</" + tag + ">" after it.
// A self-closing element with no later closing tag of that name is absent.
std::optional<Range> elementRange(std::string_view xml, std::string_view tag);

// Throw SlideXMLError::fragmentNotFound(tag) when elementRange is absent.
std::string extractElement(std::string_view xml, std::string_view tag);
std::string replaceElement(std::string xml, std::string_view tag, std::string_view with);

// Inserts block right before the first "<" + tag; absent: fragmentNotFound(tag).
std::string insertBefore(std::string xml, std::string_view tag, std::string_view block);
// Inserts block right before the first "</" + tag + ">"; absent:
// fragmentNotFound("</" + tag + ">").
std::string insertBeforeClosing(std::string xml, std::string_view tag, std::string_view block);

// The slide's transition after "</p:cSld>", including its mc:AlternateContent
// wrapper when one stands between the two.
std::optional<Range> transitionBlockRange(std::string_view xml);

// The longest fragment parseFragment parses, in bytes of text.
inline constexpr std::size_t kLargestFragment = std::size_t(64) << 20;

// Parses a fragment inside a wrapper element that declares the prefixes p, a,
// r, p14 and mc, and returns the wrapper's first child named expectedRoot.
// Whitespace text and CDATA are kept. Throws SlideXMLError::parseFailed, also
// for a fragment longer than kLargestFragment.
XmlElement parseFragment(std::string_view fragment, std::string_view expectedRoot);

// The slide's first element `tag` (found as elementRange finds it) parsed
// into a tree, or nothing when the slide has no such element. Throws
// parseFailed like parseFragment.
std::optional<XmlElement> parseElement(std::string_view xml, std::string_view tag);

// The slide with its element `tag` replaced by `tree` written back with the
// identity options: the edit of a writer that cut the element out, changed it
// as a tree and splices it back. Throws fragmentNotFound(tag) when the
// element is gone.
std::string replaceElement(std::string xml, std::string_view tag, const XmlElement& tree);

// Whether the shape whose p:cNvPr has this id holds a video or audio file.
// Throws fragmentNotFound("p:spTree") and the errors of parseFragment.
bool shapeIsMedia(std::string_view xml, std::string_view spid);
// The same question on an already parsed p:spTree, for callers that ask it
// many times about one slide.
bool shapeIsMedia(const XmlElement& spTree, std::string_view spid);

}  // namespace SlideXML

}  // namespace orvandel
