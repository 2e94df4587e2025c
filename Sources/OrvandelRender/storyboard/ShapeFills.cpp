#include "storyboard/ShapeFills.hpp"

#include <set>

#include "container/XmlElement.hpp"

namespace orvandel::ShapeFills {

namespace {

using XmlSpans::Span;

constexpr const char* kNsA = "http://schemas.openxmlformats.org/drawingml/2006/main";
constexpr const char* kNsR = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
// Background style references count from here; below it they are fill styles.
constexpr std::int64_t kFirstBackgroundStyle = 1001;

std::string_view local(const Span& s) { return localName(s.name); }

std::optional<std::int64_t> number(std::string_view xml, const Span& s, std::string_view name) {
    return XmlSpans::integerAttribute(xml, s, name);
}

// The first child of spans[parent] named `name`; -1 for none.
int child(const std::vector<Span>& spans, int parent, std::string_view name) {
    if (parent < 0) return -1;
    for (const int c : XmlSpans::childrenOf(spans, parent)) {
        if (local(spans[std::size_t(c)]) == name) return c;
    }
    return -1;
}

std::string_view text(std::string_view xml, const Span& s) { return xml.substr(s.begin, s.end - s.begin); }

// The theme's fill or background styles, read once.
class ThemeStyles {
public:
    explicit ThemeStyles(std::string_view theme) : theme_(theme) {}
    // Entry `index` (from 0) of the list named `list`, when it is a picture fill; "" otherwise.
    std::string_view pictureFill(std::string_view list, std::int64_t index) {
        if (spans_.empty() && !theme_.empty()) spans_ = XmlSpans::elementSpans(theme_);
        for (std::size_t i = 0; i < spans_.size(); ++i) {
            if (local(spans_[i]) != list) continue;
            const auto entries = XmlSpans::childrenOf(spans_, int(i));
            if (index < 0 || index >= std::int64_t(entries.size())) return "";
            const Span& entry = spans_[std::size_t(entries[std::size_t(index)])];
            return local(entry) == "blipFill" ? text(theme_, entry) : "";
        }
        return "";
    }

private:
    std::string_view theme_;
    std::vector<Span> spans_;
};

std::optional<DrawingColour::Rgba> firstColour(std::string_view xml, const std::vector<Span>& spans, int parent,
                                               const DrawingColour::Scheme& scheme) {
    const auto children = XmlSpans::childrenOf(spans, parent);
    if (children.empty()) return std::nullopt;
    return DrawingColour::colourAt(xml, spans, children.front(), scheme);
}

// The overlay of an a:effectLst: the a:fillOverlay's span, its paint and blend.
void readOverlay(std::string_view xml, const std::vector<Span>& spans, int effects, const DrawingColour::Scheme& scheme,
                 Target& target, bool& unreadable) {
    const int overlay = child(spans, effects, "fillOverlay");
    if (overlay < 0) return;
    const auto blend = BlipEffects::blendNamed(
        XmlSpans::attributeOf(xml, spans[std::size_t(overlay)], "blend").value_or(""));
    const auto fills = XmlSpans::childrenOf(spans, overlay);
    auto paint = fills.empty() || !blend ? std::nullopt : GradientFill::read(xml, spans, fills.front(), scheme);
    if (!paint) {
        unreadable = true;
        return;
    }
    target.overlay = std::move(paint);
    target.blend = *blend;
    target.overlayBegin = spans[std::size_t(overlay)].begin;
    target.overlayEnd = spans[std::size_t(overlay)].end;
}

// Where a fill is inserted into spans[properties] (a p:spPr without one): before the outline and effects.
std::optional<std::size_t> fillPlace(std::string_view xml, const std::vector<Span>& spans, int properties) {
    static const std::set<std::string_view> after{"ln", "effectLst", "effectDag", "scene3d", "sp3d", "extLst"};
    const Span& s = spans[std::size_t(properties)];
    if (s.tagEnd == s.end) return std::nullopt;
    for (const int c : XmlSpans::childrenOf(spans, properties)) {
        if (after.contains(local(spans[std::size_t(c)]))) return spans[std::size_t(c)].begin;
    }
    return xml.rfind('<', s.end - 1);
}

}  // namespace

std::vector<Target> find(std::string_view xml, std::string_view theme, std::int64_t slideWidthEmu,
                         std::int64_t slideHeightEmu, const DrawingColour::Scheme& scheme) {
    static const std::set<std::string_view> fills{"noFill", "solidFill", "gradFill", "blipFill", "pattFill", "grpFill"};
    std::vector<Target> out;
    ThemeStyles styles(theme);
    const auto spans = XmlSpans::elementSpans(xml);
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const Span& s = spans[i];
        const int parent = s.parent;
        const std::string_view parentName = parent < 0 ? "" : local(spans[std::size_t(parent)]);
        Target target;
        auto withPlaceholder = scheme;
        if (local(s) == "bgRef" && parentName == "bg") {
            const auto index = number(xml, s, "idx");
            if (!index || *index < kFirstBackgroundStyle) continue;
            target.fill = styles.pictureFill("bgFillStyleLst", *index - kFirstBackgroundStyle);
            if (target.fill.empty()) continue;
            target.begin = s.begin;
            target.end = s.end;
            target.background = true;
            const auto colon = s.name.find(':');
            target.bgPrefix = colon == std::string_view::npos ? "" : std::string(s.name.substr(0, colon + 1));
            target.fromTheme = true;
            target.placeholder = firstColour(xml, spans, int(i), scheme);
            target.widthEmu = slideWidthEmu;
            target.heightEmu = slideHeightEmu;
            out.push_back(std::move(target));
            continue;
        }
        const bool shape = local(s) == "spPr" && (parentName == "sp" || parentName == "pic");
        if (!shape && !(local(s) == "bgPr" && parentName == "bg")) continue;
        // A picture's fill is its own element, beside its shape properties.
        const int fill = child(spans, parentName == "pic" ? parent : int(i), "blipFill");
        const int style = shape ? child(spans, child(spans, parent, "style"), "fillRef") : -1;
        if (style >= 0) {
            target.placeholder = firstColour(xml, spans, style, scheme);
            if (target.placeholder) withPlaceholder.colours["phClr"] = *target.placeholder;
        }
        bool unreadable = false;
        readOverlay(xml, spans, child(spans, int(i), "effectLst"), withPlaceholder, target, unreadable);
        if (unreadable) continue;
        if (fill >= 0) {
            if (!target.overlay) continue;
            target.fill = text(xml, spans[std::size_t(fill)]);
            target.begin = spans[std::size_t(fill)].begin;
            target.end = spans[std::size_t(fill)].end;
        } else {
            // A shape without a fill of its own takes its style's, which may be one of the theme's pictures.
            bool ownFill = false;
            for (const int c : XmlSpans::childrenOf(spans, int(i)))
                ownFill |= fills.contains(local(spans[std::size_t(c)]));
            const std::int64_t index = style >= 0 ? number(xml, spans[std::size_t(style)], "idx").value_or(0)
                                                  : std::int64_t{0};
            if (ownFill || parentName != "sp" || index < 1 || index >= kFirstBackgroundStyle) continue;
            target.fill = styles.pictureFill("fillStyleLst", index - 1);
            const auto place = fillPlace(xml, spans, int(i));
            if (target.fill.empty() || !place) continue;
            target.fromTheme = true;
            target.begin = target.end = *place;
        }
        if (shape) {
            const int extent = child(spans, child(spans, int(i), "xfrm"), "ext");
            if (extent < 0) continue;
            target.widthEmu = number(xml, spans[std::size_t(extent)], "cx").value_or(0);
            target.heightEmu = number(xml, spans[std::size_t(extent)], "cy").value_or(0);
        } else {
            target.widthEmu = slideWidthEmu;
            target.heightEmu = slideHeightEmu;
        }
        if (target.widthEmu <= 0 || target.heightEmu <= 0) continue;
        out.push_back(std::move(target));
    }
    return out;
}

std::string replacement(const Target& target, std::string_view id) {
    const std::string fill = std::string("<a:blipFill xmlns:a=\"") + kNsA + "\" xmlns:r=\"" + kNsR +
                             "\"><a:blip r:embed=\"" + std::string(id) +
                             "\"/><a:stretch><a:fillRect/></a:stretch></a:blipFill>";
    if (!target.background) return fill;
    return "<" + target.bgPrefix + "bgPr>" + fill + "<a:effectLst xmlns:a=\"" + kNsA + "\"/></" + target.bgPrefix +
           "bgPr>";
}

}  // namespace orvandel::ShapeFills
