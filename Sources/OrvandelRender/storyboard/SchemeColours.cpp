#include "storyboard/SchemeColours.hpp"

#include "container/XmlElement.hpp"

namespace orvandel::SchemeColours {

namespace {

using XmlSpans::Span;

std::string_view local(const Span& s) { return localName(s.name); }

// The colour map's entries written on the first element named `name` whose
// parent is named `parent` ("" for any).
void mapFrom(std::string_view xml, std::string_view name, std::string_view parent,
             std::map<std::string, std::string, std::less<>>& map) {
    const auto spans = XmlSpans::elementSpans(xml);
    for (const auto& s : spans) {
        if (local(s) != name) continue;
        if (!parent.empty() && (s.parent < 0 || local(spans[std::size_t(s.parent)]) != parent)) continue;
        const auto tag = xml.substr(s.begin, s.tagEnd - s.begin);
        for (const auto& a : XmlSpans::attributesOf(tag)) {
            if (a.name.find(':') != std::string_view::npos) continue;  // namespace declarations
            map[std::string(a.name)] = std::string(tag.substr(a.valueBegin, a.valueEnd - a.valueBegin));
        }
        return;
    }
}

}  // namespace

DrawingColour::Scheme schemeOf(std::string_view theme, std::string_view master,
                               const std::vector<std::string_view>& overriding) {
    DrawingColour::Scheme scheme;
    {
        const auto spans = XmlSpans::elementSpans(theme);
        for (std::size_t i = 0; i < spans.size(); ++i) {
            const auto& s = spans[i];
            if (local(s) != "clrScheme" || s.parent < 0 || local(spans[std::size_t(s.parent)]) != "themeElements") {
                continue;
            }
            for (const int entry : XmlSpans::childrenOf(spans, int(i))) {
                const auto colour = XmlSpans::childrenOf(spans, entry);
                if (colour.empty()) continue;
                if (const auto c = DrawingColour::colourAt(theme, spans, colour.front(), {})) {
                    scheme.colours[std::string(local(spans[std::size_t(entry)]))] = *c;
                }
            }
            break;
        }
    }
    mapFrom(master, "clrMap", "", scheme.map);
    for (const auto part : overriding) mapFrom(part, "overrideClrMapping", "clrMapOvr", scheme.map);
    return scheme;
}

}  // namespace orvandel::SchemeColours
