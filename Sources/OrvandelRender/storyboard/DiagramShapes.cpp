#include "storyboard/DiagramShapes.hpp"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>

#include "base/Numbers.hpp"
#include "container/XMLEmitter.hpp"
#include "container/XmlElement.hpp"
#include "plan/XmlSpans.hpp"
#include "storyboard/FreshName.hpp"

namespace orvandel::DiagramShapes {

namespace {

using XmlSpans::Edit;
using XmlSpans::Span;

const char* const kDrawingMain = "http://schemas.openxmlformats.org/drawingml/2006/main";
const char* const kRelationshipsNs = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
const char* const kDiagramDrawingNs = "http://schemas.microsoft.com/office/drawing/2008/diagram";
constexpr std::int64_t kFullTurn = 21600000;  // 360 degrees in 60000ths

// A part's text and its elements, asked by local name: a drawing may use any
// prefixes for its own elements.
class Tree {
public:
    explicit Tree(std::string_view xml) : xml_(xml), spans_(XmlSpans::elementSpans(xml)) {}

    bool empty() const { return spans_.empty(); }
    std::size_t size() const { return spans_.size(); }
    const Span& at(int i) const { return spans_[static_cast<std::size_t>(i)]; }
    std::string_view local(int i) const { return localName(at(i).name); }
    std::string_view tag(int i) const { return xml_.substr(at(i).begin, at(i).tagEnd - at(i).begin); }
    std::string_view whole(int i) const { return xml_.substr(at(i).begin, at(i).end - at(i).begin); }
    std::optional<std::string> attribute(int i, std::string_view name) const {
        return XmlSpans::attributeOf(xml_, at(i), name);
    }
    // What lies between the start and the end tag; nothing for an empty-element tag.
    std::string_view inner(int i) const {
        const auto& s = at(i);
        if (s.tagEnd == s.end) return {};
        return xml_.substr(s.tagEnd, xml_.rfind('<', s.end - 1) - s.tagEnd);
    }
    // The start tag's attributes as written, each with a space before it, less `except`.
    std::string attributes(int i, std::initializer_list<std::string_view> except = {}) const {
        const auto t = tag(i);
        std::string out;
        for (const auto& a : XmlSpans::attributesOf(t)) {
            if (std::find(except.begin(), except.end(), a.name) != except.end()) continue;
            const auto begin = static_cast<std::size_t>(a.name.data() - t.data());
            const auto end = a.valueEnd < t.size() && (t[a.valueEnd] == '"' || t[a.valueEnd] == '\'') ? a.valueEnd + 1
                                                                                                      : a.valueEnd;
            out += " ";
            out += t.substr(begin, end - begin);
        }
        return out;
    }
    std::vector<int> children(int parent) const { return XmlSpans::childrenOf(spans_, parent); }
    int child(int parent, std::string_view local) const {
        if (parent < 0) return -1;
        for (int c : children(parent)) {
            if (this->local(c) == local) return c;
        }
        return -1;
    }
    // The root's namespace declarations: prefix ("" for the default) -> namespace, as written.
    std::map<std::string, std::string> declarations() const {
        std::map<std::string, std::string> out;
        if (empty()) return out;
        const auto t = tag(0);
        for (const auto& a : XmlSpans::attributesOf(t)) {
            if (a.name != "xmlns" && !a.name.starts_with("xmlns:")) continue;
            out[std::string(a.name.substr(std::min<std::size_t>(a.name.size(), 6)))] = std::string(
                t.substr(a.valueBegin, a.valueEnd - a.valueBegin));
        }
        return out;
    }
    bool hasText(int parent) const {
        for (std::size_t m = std::size_t(parent) + 1; m < size() && spans_[m].begin < at(parent).end; ++m) {
            if (local(int(m)) == "t" && !inner(int(m)).empty()) return true;
        }
        return false;
    }

private:
    std::string_view xml_;
    std::vector<Span> spans_;
};

// Where an a:xfrm (or a dsp:txXfrm) puts its content.
struct Box {
    std::optional<std::int64_t> x, y, cx, cy;
    std::string rot;
    bool operator==(const Box&) const = default;
};

Box boxOf(const Tree& tree, int xfrm) {
    if (xfrm < 0) return {};
    const int off = tree.child(xfrm, "off"), ext = tree.child(xfrm, "ext");
    const auto number = [&](int element, std::string_view name) {
        const auto text = element < 0 ? std::nullopt : tree.attribute(element, name);
        return text ? parseInt64(*text) : std::nullopt;
    };
    return {number(off, "x"), number(off, "y"), number(ext, "cx"), number(ext, "cy"),
            tree.attribute(xfrm, "rot").value_or("0")};
}

// Fresh relationship ids for the slide, and the relationships behind them.
class References {
public:
    References(std::string_view slideRels, const std::string& slidePart) : slidePart_(slidePart) {
        for (const auto& s : XmlSpans::elementSpans(slideRels)) {
            if (localName(s.name) == "Relationship") {
                if (auto id = XmlSpans::attributeOf(slideRels, s, "Id")) used_.insert(std::move(*id));
            }
        }
    }

    // The drawing with every attribute in the relationships namespace naming
    // a fresh id of the slide; the drawing's relationship it named, when it
    // has one inside the package, is added under that id.
    std::string remapped(std::string_view xml, const std::string& prefix, const Diagram& diagram) {
        const auto rels = Relationships::byId(diagram.drawingRelationships);
        std::map<std::string, std::string> ids;
        std::vector<Edit> edits;
        for (const auto& s : XmlSpans::elementSpans(xml)) {
            const auto tag = xml.substr(s.begin, s.tagEnd - s.begin);
            for (const auto& a : XmlSpans::attributesOf(tag)) {
                if (!a.name.starts_with(prefix + ":")) continue;
                const std::string old(tag.substr(a.valueBegin, a.valueEnd - a.valueBegin));
                auto [it, isNew] = ids.try_emplace(old);
                if (isNew) {
                    it->second = fresh();
                    const auto rel = rels.find(old);
                    if (rel != rels.end() && !rel->second.external()) add(it->second, rel->second, diagram.drawingPart);
                }
                edits.push_back({s.begin + a.valueBegin, s.begin + a.valueEnd, it->second});
            }
        }
        return XmlSpans::applied(xml, std::move(edits));
    }

    std::string added;  // Relationship elements

private:
    std::string fresh() { return freshName(used_, "rId"); }
    void add(const std::string& id, const Relationship& rel, const std::string& drawingPart) {
        const std::string entry = Relationships::resolveEntry(rel.target, drawingPart);
        const std::string target = Relationships::relativeTarget(entry, slidePart_);
        added += "<Relationship Id=\"" + id + "\" Type=\"" + XMLEmitter::escapeAttribute(rel.type) + "\" Target=\"" +
                 XMLEmitter::escapeAttribute(target) + "\"/>";
    }

    std::string slidePart_;
    std::set<std::string> used_;
};

// Writes a drawing's shapes as slide shapes.
class Writer {
public:
    Writer(const Tree& drawing, std::int64_t& nextId) : d_(drawing), nextId_(nextId) {}

    std::string shapes(int parent) {
        std::string out;
        for (int c : d_.children(parent)) {
            if (d_.local(c) == "sp") out += shape(c);
            if (d_.local(c) == "grpSp") out += group(c);
        }
        return out;
    }

private:
    std::string id() { return formatInt(nextId_++); }

    // The element under another name, its attributes and content as written.
    std::string renamed(int i, const std::string& name) const {
        if (i < 0) return "";
        const auto inner = d_.inner(i);
        return "<" + name + d_.attributes(i) + (inner.empty() ? "/>" : ">" + std::string(inner) + "</" + name + ">");
    }

    // p:cNvPr with a fresh id, then p:<kind> and p:nvPr.
    std::string nonVisual(int nv, const std::string& kind) {
        const int c = d_.child(nv, "cNvPr");
        std::string out = "<p:cNvPr id=\"" + id() + "\" name=\"" + (c < 0 ? "" : d_.attribute(c, "name").value_or("")) +
                          "\"" + (c < 0 ? "" : d_.attributes(c, {"id", "name"}));
        const auto inner = c < 0 ? std::string_view() : d_.inner(c);
        out += inner.empty() ? "/>" : ">" + std::string(inner) + "</p:cNvPr>";
        const int k = d_.child(nv, kind);
        return out + (k < 0 ? "<p:" + kind + "/>" : renamed(k, "p:" + kind)) + "<p:nvPr/>";
    }

    std::string shape(int sp) {
        const int spPr = d_.child(sp, "spPr"), style = d_.child(sp, "style"), body = d_.child(sp, "txBody");
        const int textXfrm = d_.child(sp, "txXfrm");
        const Box shapeBox = boxOf(d_, d_.child(spPr, "xfrm")), textBox = boxOf(d_, textXfrm);
        // The text's turn is counted from the shape's: an arrow turned round
        // with its text turned back shows the text upright.
        const auto turn = [](const std::string& rot) { return parseInt64(rot).value_or(0); };
        const std::int64_t textTurn = turn(textBox.rot) % kFullTurn;
        const std::string shown = formatInt(((turn(shapeBox.rot) + textTurn) % kFullTurn + kFullTurn) % kFullTurn);
        const bool elsewhere = textTurn != 0 || textBox.x != shapeBox.x || textBox.y != shapeBox.y ||
                               textBox.cx != shapeBox.cx || textBox.cy != shapeBox.cy;
        const bool apart = body >= 0 && textXfrm >= 0 && d_.hasText(body) && elsewhere;
        std::string out = "<p:sp><p:nvSpPr>" + nonVisual(d_.child(sp, "nvSpPr"), "cNvSpPr") + "</p:nvSpPr>" +
                          (spPr < 0 ? "<p:spPr/>" : renamed(spPr, "p:spPr")) + renamed(style, "p:style") +
                          (apart ? "" : renamed(body, "p:txBody")) + "</p:sp>";
        if (!apart) return out;
        // The text alone over its own rectangle: the style still gives its font and colour.
        return out + "<p:sp><p:nvSpPr><p:cNvPr id=\"" + id() + "\" name=\"\"/><p:cNvSpPr txBox=\"1\"/><p:nvPr/>" +
               "</p:nvSpPr><p:spPr><a:xfrm" + (shown == "0" ? "" : " rot=\"" + shown + "\"") + ">" +
               std::string(d_.inner(textXfrm)) +
               "</a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom><a:noFill/><a:ln><a:noFill/></a:ln>"
               "<a:effectLst/></p:spPr>" +
               renamed(style, "p:style") + renamed(body, "p:txBody") + "</p:sp>";
    }

    std::string group(int g) {
        const int spPr = d_.child(g, "grpSpPr");
        return "<p:grpSp><p:nvGrpSpPr>" + nonVisual(d_.child(g, "nvGrpSpPr"), "cNvGrpSpPr") + "</p:nvGrpSpPr>" +
               (spPr < 0 ? "<p:grpSpPr/>" : renamed(spPr, "p:grpSpPr")) + shapes(g) + "</p:grpSp>";
    }

    const Tree& d_;
    std::int64_t& nextId_;
};

// The frame of the slide whose p:cNvPr has this id, not yet taken.
int frameOf(const Tree& slide, const std::string& id, const std::set<int>& taken) {
    for (std::size_t i = 0; i < slide.size(); ++i) {
        const int frame = static_cast<int>(i);
        if (slide.local(frame) != "graphicFrame" || taken.contains(frame)) continue;
        const int c = slide.child(slide.child(frame, "nvGraphicFramePr"), "cNvPr");
        if (c >= 0 && slide.attribute(c, "id") == id) return frame;
    }
    return -1;
}

// The group that stands for the frame, or nothing when it cannot.
std::optional<std::string> groupFor(const Tree& slide, int frame, const Diagram& diagram,
                                    const std::map<std::string, std::string>& slideNamespaces, References& references,
                                    std::int64_t& nextId) {
    const int nv = slide.child(frame, "nvGraphicFramePr");
    const int xfrm = slide.child(frame, "xfrm");
    const Box place = boxOf(slide, xfrm);
    if (!place.x || !place.y || !place.cx || !place.cy || *place.cx <= 0 || *place.cy <= 0) return std::nullopt;

    const Tree saved(diagram.drawingXml);
    if (saved.empty() || saved.child(0, "spTree") < 0) return std::nullopt;
    const auto namespaces = saved.declarations();
    const auto a = namespaces.find("a");
    if (a == namespaces.end() || a->second != kDrawingMain || !slideNamespaces.contains("a") ||
        slideNamespaces.at("a") != kDrawingMain) {
        return std::nullopt;
    }
    std::string prefix = "r";
    for (const auto& [p, uri] : namespaces) {
        if (uri == kRelationshipsNs && !p.empty()) prefix = p;
    }
    const std::string xml = references.remapped(diagram.drawingXml, prefix, diagram);
    const Tree drawing(xml);

    // The drawing's own prefixes that the slide does not declare alike.
    std::string declared;
    for (const auto& [p, uri] : namespaces) {
        if (p.empty() || p == "a" || p == "p" || uri == kDiagramDrawingNs) continue;
        const auto same = slideNamespaces.find(p);
        if (same == slideNamespaces.end() || same->second != uri) declared += " xmlns:" + p + "=\"" + uri + "\"";
    }
    const int frameNv = slide.child(nv, "cNvPr");
    const auto whole = [&](int i) { return i < 0 ? std::string() : std::string(slide.whole(i)); };
    const std::string cx = formatInt(*place.cx), cy = formatInt(*place.cy);
    // Not a placeholder: the shapes' text takes nothing from the layout's body.
    std::string out = "<p:grpSp" + declared + "><p:nvGrpSpPr>" + whole(frameNv) + "<p:cNvGrpSpPr/><p:nvPr/>" +
                      "</p:nvGrpSpPr><p:grpSpPr><a:xfrm" + slide.attributes(xfrm) + "><a:off x=\"" +
                      formatInt(*place.x) + "\" y=\"" + formatInt(*place.y) + "\"/><a:ext cx=\"" + cx + "\" cy=\"" +
                      cy + "\"/><a:chOff x=\"0\" y=\"0\"/><a:chExt cx=\"" + cx + "\" cy=\"" + cy +
                      "\"/></a:xfrm></p:grpSpPr>";
    return out + Writer(drawing, nextId).shapes(drawing.child(0, "spTree")) + "</p:grpSp>";
}

}  // namespace

Slide drawn(std::string_view slideXml, std::string_view slideRels, const std::string& slidePart,
            const std::vector<Diagram>& diagrams) {
    const Tree slide(slideXml);
    std::int64_t nextId = 1;
    for (std::size_t i = 0; i < slide.size(); ++i) {
        if (slide.local(int(i)) != "cNvPr") continue;
        const auto id = slide.attribute(int(i), "id");
        if (const auto n = id ? parseInt64(*id) : std::nullopt; n && *n >= nextId) nextId = *n + 1;
    }
    const auto namespaces = slide.declarations();
    References references(slideRels, slidePart);
    std::vector<Edit> edits;
    std::set<int> taken;
    for (const auto& diagram : diagrams) {
        const int frame = frameOf(slide, diagram.frameId, taken);
        if (frame < 0) continue;
        taken.insert(frame);
        if (auto group = groupFor(slide, frame, diagram, namespaces, references, nextId)) {
            edits.push_back({slide.at(frame).begin, slide.at(frame).end, std::move(*group)});
        }
    }
    Slide out{XmlSpans::applied(slideXml, std::move(edits)), std::string(slideRels)};
    if (const auto end = out.rels.rfind("</Relationships>"); end != std::string::npos) {
        out.rels.insert(end, references.added);
    }
    return out;
}

}  // namespace orvandel::DiagramShapes
