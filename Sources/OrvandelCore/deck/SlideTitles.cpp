#include "deck/SlideTitles.hpp"

#include "base/Bytes.hpp"
#include "base/Regex.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "deck/DeckScanner.hpp"

namespace orvandel::SlideTitles {

namespace {

const Regex& titlePlaceholderPattern() {
    static const Regex re(R"re(<p:ph\b[^>]*\btype="(?:ctrTitle|title)")re", Regex::Options{.dotAll = true});
    return re;
}

// The shape around offset `at`: from its "<p:sp" start tag to its "</p:sp>".
std::optional<std::string_view> shapeAround(std::string_view xml, std::size_t at) {
    std::size_t start = std::string_view::npos;
    for (std::size_t from = at; from != 0;) {
        const auto found = xml.rfind("<p:sp", from - 1);
        if (found == std::string_view::npos) break;
        const char next = found + 5 < xml.size() ? xml[found + 5] : '\0';
        // Not <p:spPr> or <p:spTree>.
        if (next == '>' || next == ' ' || next == '\t' || next == '\n' || next == '\r') {
            start = found;
            break;
        }
        from = found;
    }
    if (start == std::string_view::npos) return std::nullopt;
    static constexpr std::string_view close = "</p:sp>";
    const auto end = xml.find(close, at);
    if (end == std::string_view::npos) return std::nullopt;
    return xml.substr(start, end + close.size() - start);
}

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
    std::string text;
    try {
        const auto placeholder = titlePlaceholderPattern().firstMatch(slideXML);
        if (!placeholder) return std::nullopt;
        const auto shape = shapeAround(slideXML, placeholder->groups[0]->first);
        if (!shape) return std::nullopt;
        SlideXML::parseFragment(*shape, "p:sp").walk([&](const XmlElement& e) {
            const auto name = e.name();
            if (name == "a:p" || name == "a:br") text += ' ';
            if (name != "a:t") return;
            e.visitChildren([&](XmlElement::NodeKind kind, const XmlElement&, std::string_view t) {
                if (kind == XmlElement::NodeKind::text) text += t;
            });
        });
    } catch (const SlideXMLError&) {
        return std::nullopt;
    } catch (const RegexError&) {
        return std::nullopt;
    }
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
