#include "deck/SlideTitles.hpp"

#include "base/Bytes.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/XmlElement.hpp"

namespace orvandel::SlideTitles {

namespace {

// Runs of spaces, tabs and line breaks (NEL, U+2028 and U+2029 too: a title
// is one line) become one space; none at either end.
std::string collapsed(std::string_view text) {
    std::string out;
    bool pendingSpace = false;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t blank = text[i] == ' ' || text[i] == '\t' ? 1 : lineBreakAt(text, i);
        if (blank > 0) {
            pendingSpace = !out.empty();
            i += blank;
            continue;
        }
        if (pendingSpace) out += ' ';
        pendingSpace = false;
        out += text[i++];
    }
    return out;
}

}  // namespace

std::optional<std::string> titleText(std::string_view slideXML) {
    XmlElement slide;
    try {
        slide = XmlElement::parseDocument(slideXML);
    } catch (const XmlParseError&) {
        return std::nullopt;
    }
    std::optional<XmlElement> placeholder;
    slide.walk([&](const XmlElement& e) {
        if (placeholder || !e.is(OOXML::p, "ph")) return;
        const auto type = e.attributeIn("", "type");
        if (type == "ctrTitle" || type == "title") placeholder = e;
    });
    if (!placeholder) return std::nullopt;
    XmlElement shape = placeholder->parent();
    while (shape && !shape.is(OOXML::p, "sp")) shape = shape.parent();
    if (!shape) return std::nullopt;
    std::string text;
    shape.walk([&](const XmlElement& e) {
        if (e.is(OOXML::a, "p") || e.is(OOXML::a, "br")) text += ' ';
        if (!e.is(OOXML::a, "t")) return;
        e.visitChildren([&](XmlElement::NodeKind kind, const XmlElement&, std::string_view t) {
            if (kind == XmlElement::NodeKind::text) text += t;
        });
    });
    text = collapsed(text);
    if (text.empty()) return std::nullopt;
    return text;
}

std::map<std::int64_t, std::string> titlesBySlide(DeckModel& deck) {
    std::map<std::int64_t, std::string> titles;
    std::int64_t displayIndex = 0;
    for (const auto& slide : deck.slideFiles()) {
        ++displayIndex;
        std::optional<std::string> title;
        try {
            title = titleText(deck.part(slide));
        } catch (const PptxArchive::ArchiveError&) {
        }
        if (title) titles.emplace(displayIndex, std::move(*title));
    }
    return titles;
}

std::map<std::int64_t, std::string> titlesBySlide(const std::filesystem::path& pptx) {
    DeckModel deck(pptx);
    return titlesBySlide(deck);
}

}  // namespace orvandel::SlideTitles
