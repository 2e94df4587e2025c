#include "plan/SlideTransitions.hpp"

#include <vector>

#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"
#include "plan/XmlSpans.hpp"

namespace orvandel::SlideTransitions {

namespace {

using Kind = DrawnEffect::Kind;
using Side = DrawnEffect::Side;

// The kinds drawn as themselves (a cut draws nothing); any other is unknown
// to us and is either replaced by the fallback's or drawn as a fade.
std::optional<Kind> knownKind(std::string_view name) {
    if (name == "p:fade") return Kind::fade;
    if (name == "p:wipe") return Kind::wipe;
    if (name == "p:cover") return Kind::fly;
    if (name == "p:push") return Kind::push;
    if (name == "p:pull") return Kind::uncover;
    if (name == "p:zoom") return Kind::zoom;
    if (name == "p:cut") return Kind::cut;
    return std::nullopt;
}

// The transition's effect: its first child that is not its sound or an
// extension list.
std::optional<std::size_t> effectOf(const std::vector<XmlSpans::Span>& spans, std::size_t transition) {
    for (const int child : XmlSpans::childrenOf(spans, static_cast<int>(transition))) {
        const auto& name = spans[static_cast<std::size_t>(child)].name;
        if (name != "p:sndAc" && name != "p:extLst") return static_cast<std::size_t>(child);
    }
    return std::nullopt;
}

// `dir` names where things move ("l", or "lu" for a diagonal, whose first
// letter is taken); absent or unreadable, they move left. The new slide comes
// from the other side; an uncovering one is left by the old slide moving that way.
Side sideOf(Kind kind, const std::optional<std::string>& dir) {
    const char towards = dir && !dir->empty() ? (*dir)[0] : 'l';
    const Side moving = towards == 'r'   ? Side::right
                        : towards == 'u' ? Side::top
                        : towards == 'd' ? Side::bottom
                                         : Side::left;
    if (kind == Kind::uncover) return moving;
    switch (moving) {
        case Side::left: return Side::right;
        case Side::right: return Side::left;
        case Side::top: return Side::bottom;
        case Side::bottom: return Side::top;
    }
    return Side::right;
}

std::optional<std::int64_t> exactMs(const std::optional<std::string>& text) {
    if (!text) return std::nullopt;
    const auto ms = parseInt64(*text);
    if (!ms || *ms < 0) return std::nullopt;
    return ms;
}

std::int64_t speedMs(const std::optional<std::string>& spd) {
    if (spd == "med") return 750;
    if (spd == "slow") return 1000;
    return 500;
}

}  // namespace

std::optional<DrawnEffect> read(std::string_view slideXml) {
    const auto range = SlideXML::transitionBlockRange(slideXml);
    if (!range) return std::nullopt;
    return readMarkup(slideXml.substr(range->first, range->second - range->first));
}

std::optional<DrawnEffect> readMarkup(std::string_view block) {
    // Read as text: a prefix such as p15 may be declared only on the slide's root.
    const auto spans = XmlSpans::elementSpans(block);
    std::vector<std::size_t> transitions;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        if (spans[i].name == "p:transition") transitions.push_back(i);
    }
    if (transitions.empty()) return std::nullopt;
    // The first is the richer choice; the one after it, the fallback for
    // readers that do not know its effect.
    const std::size_t preferred = transitions.front();
    const auto effect = effectOf(spans, preferred);
    if (!effect) return std::nullopt;

    DrawnEffect out;
    std::size_t drawn = *effect;
    if (const auto kind = knownKind(spans[drawn].name)) {
        out.kind = *kind;
    } else {
        out.kind = Kind::fade;
        if (transitions.size() > 1) {
            if (const auto fallback = effectOf(spans, transitions[1])) {
                if (const auto kind = knownKind(spans[*fallback].name)) {
                    out.kind = *kind;
                    drawn = *fallback;
                }
            }
        }
    }
    if (out.kind == Kind::cut) return std::nullopt;
    if (out.kind == Kind::wipe || out.kind == Kind::fly || out.kind == Kind::push || out.kind == Kind::uncover) {
        out.side = sideOf(out.kind, XmlSpans::attributeOf(block, spans[drawn], "dir"));
    }

    auto attribute = [&](std::string_view name) {
        for (const std::size_t t : transitions) {
            if (auto value = XmlSpans::attributeOf(block, spans[t], name)) return value;
        }
        return std::optional<std::string>();
    };
    const auto exact = exactMs(attribute("p14:dur"));
    out.durationMs = exact ? *exact : speedMs(attribute("spd"));
    if (!out.drawn()) return std::nullopt;
    return out;
}

std::map<std::string, DrawnEffect> ofMarkup(const std::map<std::string, std::string>& markupBySlide) {
    std::map<std::string, DrawnEffect> out;
    for (const auto& [file, markup] : markupBySlide) {
        if (auto effect = readMarkup(markup)) out.emplace(file, *effect);
    }
    return out;
}

}  // namespace orvandel::SlideTransitions
