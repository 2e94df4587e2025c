#include "deck/DeckFonts.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>

#include "base/Error.hpp"
#include "container/XmlElement.hpp"

namespace orvandel::DeckFonts {

namespace {

constexpr std::string_view kNsA = "http://schemas.openxmlformats.org/drawingml/2006/main";

// A theme's font scheme: what "+mj-lt" and its siblings stand for, and every
// name it defines (the script variants among them).
struct ThemeFonts {
    std::map<std::string, std::string> references;
    std::vector<std::string> defined;
};

std::optional<XmlElement> parsedPart(DeckModel& deck, const std::string& part) {
    if (part.empty() || !deck.contains(part)) return std::nullopt;
    try {
        return XmlElement::parseDocument(deck.part(part));
    } catch (const Error&) {
        return std::nullopt;  // advice only: a damaged part names no fonts
    }
}

// The first internal relationship of `part` whose type ends in "/kind", resolved; "" when none.
std::string linkedPart(DeckModel& deck, const std::string& part, std::string_view kind) {
    if (part.empty()) return {};
    try {
        for (const auto& r : deck.relationships(part)) {
            const auto slash = r.type.rfind('/');
            if (!r.external() && slash != std::string::npos && r.type.substr(slash + 1) == kind) {
                return Relationships::resolveEntry(r.target, part);
            }
        }
    } catch (const Error&) {
    }
    return {};
}

ThemeFonts readTheme(DeckModel& deck, const std::string& part) {
    ThemeFonts theme;
    const auto root = parsedPart(deck, part);
    if (!root) return theme;
    root->walk([&](const XmlElement& e) {
        const bool major = e.is(kNsA, "majorFont");
        if (!major && !e.is(kNsA, "minorFont")) return;
        for (const auto& child : e.childElements()) {
            if (child.namespaceName() != kNsA) continue;
            const auto typeface = child.attribute("typeface").value_or("");
            if (typeface.empty()) continue;
            const auto local = child.localName();
            const char* script = local == "latin" ? "lt" : local == "ea" ? "ea" : local == "cs" ? "cs" : nullptr;
            if (script) theme.references[std::string(major ? "+mj-" : "+mn-") + script] = typeface;
            if (script || local == "font") theme.defined.push_back(typeface);
        }
    });
    return theme;
}

// A typeface as a part writes it, and whether it is named for Latin text
// or symbols (a:latin, a:sym), not only for East Asian or complex scripts.
struct Named {
    std::string typeface;
    bool latin = false;
};

// Every typeface a part names as written, theme references included; a
// shape style's a:fontRef stands for the theme reference it picks.
std::vector<Named> typefacesIn(DeckModel& deck, const std::string& part) {
    std::vector<Named> out;
    const auto root = parsedPart(deck, part);
    if (!root) return out;
    root->walk([&](const XmlElement& e) {
        if (e.namespaceName() != kNsA) return;
        const auto local = e.localName();
        if (local == "latin" || local == "ea" || local == "cs" || local == "sym") {
            if (auto typeface = e.attribute("typeface"); typeface && !typeface->empty()) {
                out.push_back({*typeface, local == "latin" || local == "sym"});
            }
        } else if (local == "fontRef") {
            const auto idx = e.attribute("idx").value_or("");
            if (idx == "major" || idx == "minor") {
                for (const char* script : {"lt", "ea", "cs"}) {
                    out.push_back({std::string(idx == "major" ? "+mj-" : "+mn-") + script, script[0] == 'l'});
                }
            }
        }
    });
    return out;
}

}  // namespace

Fonts read(DeckModel& deck) {
    std::map<std::string, Typeface> firstUse;
    const auto note = [&](const std::string& name, std::int64_t slide, bool latin) {
        auto [it, added] = firstUse.emplace(name, Typeface{name, slide, latin && slide > 0});
        if (added) return;
        if (slide > 0 && (it->second.firstSlide == 0 || slide < it->second.firstSlide)) it->second.firstSlide = slide;
        if (slide > 0 && latin) it->second.latin = true;
    };
    // Layouts, masters and themes are shared by many slides: each read once.
    std::map<std::string, std::vector<Named>> partTypefaces;
    std::map<std::string, ThemeFonts> themes;
    std::map<std::pair<std::string, std::string>, std::string> links;
    const auto linked = [&](const std::string& part, const char* kind) -> const std::string& {
        const auto key = std::make_pair(part, std::string(kind));
        auto it = links.find(key);
        if (it == links.end()) it = links.emplace(key, linkedPart(deck, part, kind)).first;
        return it->second;
    };

    for (const auto& slide : deck.slides()) {
        const std::string& layout = linked(slide.file, "slideLayout");
        const std::string& master = linked(layout, "slideMaster");
        const std::string& themePart = linked(master, "theme");
        auto theme = themes.find(themePart);
        if (theme == themes.end()) theme = themes.emplace(themePart, readTheme(deck, themePart)).first;
        for (const auto& name : theme->second.defined) note(name, 0, false);
        const std::int64_t user = slide.hidden ? 0 : slide.number;
        for (const std::string& part : {slide.file, layout, master}) {
            if (part.empty()) continue;
            auto names = partTypefaces.find(part);
            if (names == partTypefaces.end()) names = partTypefaces.emplace(part, typefacesIn(deck, part)).first;
            for (const auto& [written, latin] : names->second) {
                if (written.front() != '+') {
                    note(written, user, latin);
                } else if (const auto ref = theme->second.references.find(written);
                           ref != theme->second.references.end()) {
                    note(ref->second, user, latin);
                }
            }
        }
    }

    Fonts fonts;
    for (const auto& [name, typeface] : firstUse) fonts.typefaces.push_back(typeface);
    std::stable_sort(fonts.typefaces.begin(), fonts.typefaces.end(), [](const Typeface& a, const Typeface& b) {
        const auto rank = [](std::int64_t s) { return s == 0 ? std::numeric_limits<std::int64_t>::max() : s; };
        return rank(a.firstSlide) < rank(b.firstSlide);
    });
    return fonts;
}

}  // namespace orvandel::DeckFonts
