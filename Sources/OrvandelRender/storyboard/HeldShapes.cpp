#include "storyboard/HeldShapes.hpp"

#include <algorithm>
#include <cctype>
#include <functional>
#include <initializer_list>
#include <optional>

#include "base/Numbers.hpp"
#include "plan/XmlSpans.hpp"

namespace orvandel::HeldShapes {

namespace {

using XmlSpans::Edit;
using XmlSpans::Span;
using XmlSpans::attributeOf;
using XmlSpans::childrenOf;
using XmlSpans::elementSpans;
using XmlSpans::firstChild;
using XmlSpans::withAttribute;

// Bounds that keep the arithmetic below far from overflow whatever the deck writes.
constexpr std::int64_t kLargestEmu = std::int64_t{1} << 36;
constexpr std::int64_t kLargestShare = 100'000'000;  // a thousand slide widths, or a thousand times the size
constexpr std::int64_t kFullCircle = 21'600'000;
constexpr std::int64_t kWhole = 100'000;

const std::initializer_list<std::string_view> kFills{"a:noFill",   "a:solidFill", "a:gradFill",
                                                     "a:blipFill", "a:pattFill",  "a:grpFill"};
const std::initializer_list<std::string_view> kColours{"a:srgbClr", "a:schemeClr", "a:prstClr",
                                                       "a:sysClr",  "a:scrgbClr",  "a:hslClr"};

bool isShape(std::string_view name) {
    return name == "p:sp" || name == "p:pic" || name == "p:graphicFrame" || name == "p:grpSp" || name == "p:cxnSp";
}

bool among(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool isEmptyElement(std::string_view xml, const Span& s) {
    return s.end == s.tagEnd && xml.substr(s.begin, s.tagEnd - s.begin).ends_with("/>");
}

std::int64_t bounded(std::optional<std::int64_t> v, std::int64_t limit, std::int64_t fallback = 0) {
    return std::clamp(v.value_or(fallback), -limit, limit);
}

// Puts `content` into element s: at `at` (a place within it), or first; an
// empty element is opened for it.
void insertInto(std::string_view xml, const Span& s, std::optional<std::size_t> at, const std::string& content,
                std::vector<Edit>& edits) {
    if (isEmptyElement(xml, s)) {
        std::string tag(xml.substr(s.begin, s.tagEnd - s.begin - 2));
        while (!tag.empty() && std::isspace(static_cast<unsigned char>(tag.back()))) tag.pop_back();
        edits.push_back({s.begin, s.end, tag + ">" + content + "</" + std::string(s.name) + ">"});
    } else {
        edits.push_back({at.value_or(s.tagEnd), at.value_or(s.tagEnd), content});
    }
}

// The end of the last child of `parent` named among `names`; nothing for none.
std::optional<std::size_t> afterLast(const std::vector<Span>& spans, int parent,
                                     std::initializer_list<std::string_view> names) {
    std::optional<std::size_t> at;
    for (int c : childrenOf(spans, parent)) {
        if (among(spans[std::size_t(c)].name, names)) at = spans[std::size_t(c)].end;
    }
    return at;
}

// A colour of the theme ("scheme:accent2") stays one, for LibreOffice to look up.
std::string solid(const std::string& colour) {
    if (colour.starts_with("scheme:"))
        return "<a:solidFill><a:schemeClr val=\"" + colour.substr(7) + "\"/></a:solidFill>";
    return "<a:solidFill><a:srgbClr val=\"" + colour + "\"/></a:solidFill>";
}

// The element's fill replaced by a solid one (where its fill stands, or after `before`).
void setFill(std::string_view xml, const std::vector<Span>& spans, int element, const std::string& colour,
             std::initializer_list<std::string_view> before, std::vector<Edit>& edits) {
    for (int c : childrenOf(spans, element)) {
        const Span& s = spans[std::size_t(c)];
        if (among(s.name, kFills)) {
            edits.push_back({s.begin, s.end, solid(colour)});
            return;
        }
    }
    insertInto(xml, spans[std::size_t(element)], afterLast(spans, element, before), solid(colour), edits);
}

// The shape's own properties: its p:spPr, or a group's p:grpSpPr.
std::optional<int> propertiesOf(const std::vector<Span>& spans, int shape) {
    return firstChild(spans, shape, spans[std::size_t(shape)].name == "p:grpSp" ? "p:grpSpPr" : "p:spPr");
}

// Every element below `shape`, in document order.
template <typename F>
void forEachInside(const std::vector<Span>& spans, int shape, F f) {
    const Span& s = spans[std::size_t(shape)];
    for (std::size_t k = std::size_t(shape) + 1; k < spans.size() && spans[k].begin < s.end; ++k) f(int(k));
}

// The text runs (a:r, a:fld) of the shape, or of its paragraph `paragraph`
// (0-based in its text body) when the change is to one.
std::vector<int> runsOf(const std::vector<Span>& spans, int shape, std::optional<std::int64_t> paragraph) {
    std::optional<Span> within;
    if (paragraph) {
        const auto body = firstChild(spans, shape, "p:txBody");
        if (!body) return {};
        std::int64_t index = 0;
        for (int c : childrenOf(spans, *body)) {
            if (spans[std::size_t(c)].name != "a:p") continue;
            if (index++ == *paragraph) within = spans[std::size_t(c)];
        }
        if (!within) return {};
    }
    std::vector<int> runs;
    forEachInside(spans, shape, [&](int k) {
        const Span& run = spans[std::size_t(k)];
        if (run.name != "a:r" && run.name != "a:fld") return;
        if (within && (run.begin < within->begin || run.end > within->end)) return;
        runs.push_back(k);
    });
    return runs;
}

void recolour(std::string_view xml, const std::vector<Span>& spans, int shape, const HeldChange& c,
              std::vector<Edit>& edits) {
    const auto props = propertiesOf(spans, shape);
    if (!c.fillColour.empty() && props) {
        setFill(xml, spans, *props, c.fillColour, {"a:xfrm", "a:custGeom", "a:prstGeom"}, edits);
    }
    if (!c.textColour.empty()) {
        for (int k : runsOf(spans, shape, c.target.paragraph)) {
            if (const auto rPr = firstChild(spans, k, "a:rPr")) {
                setFill(xml, spans, *rPr, c.textColour, {"a:ln"}, edits);
            } else {
                insertInto(xml, spans[std::size_t(k)], std::nullopt, "<a:rPr>" + solid(c.textColour) + "</a:rPr>",
                           edits);
            }
        }
    }
}

// Apart from the rest: a line and a fill inserted into one empty element would clash.
void reline(std::string_view xml, const std::vector<Span>& spans, int shape, const HeldChange& c,
            std::vector<Edit>& edits) {
    const auto props = propertiesOf(spans, shape);
    if (c.lineColour.empty() || !props || spans[std::size_t(shape)].name == "p:grpSp") return;
    if (const auto ln = firstChild(spans, *props, "a:ln")) {
        setFill(xml, spans, *ln, c.lineColour, {}, edits);
    } else {
        insertInto(xml, spans[std::size_t(*props)],
                   afterLast(spans, *props,
                             {"a:xfrm", "a:custGeom", "a:prstGeom", "a:noFill", "a:solidFill", "a:gradFill",
                              "a:blipFill", "a:pattFill", "a:grpFill"}),
                   "<a:ln>" + solid(c.lineColour) + "</a:ln>", edits);
    }
}

// An element holding `attribute` as a share, multiplied by the opacity.
void fade(std::string_view xml, const std::vector<Span>& spans, int parent, std::string_view element,
          std::string_view attribute, std::int64_t opacity, std::vector<Edit>& edits) {
    const auto scaled = [&](std::int64_t was) {
        return "<" + std::string(element) + " " + std::string(attribute) + "=\"" +
               formatInt(std::clamp<std::int64_t>(was, 0, kWhole) * opacity / kWhole) + "\"/>";
    };
    if (const auto own = firstChild(spans, parent, element)) {
        const Span& s = spans[std::size_t(*own)];
        edits.push_back({s.begin, s.end, scaled(XmlSpans::integerAttribute(xml, s, attribute).value_or(kWhole))});
    } else {
        insertInto(xml, spans[std::size_t(parent)], std::nullopt, scaled(kWhole), edits);
    }
}

void makeTransparent(std::string_view xml, const std::vector<Span>& spans, int shape, const HeldChange& c,
                     std::vector<Edit>& edits) {
    const std::int64_t opacity = std::clamp<std::int64_t>(c.opacity, 0, kWhole);
    if (opacity == kWhole) return;
    forEachInside(spans, shape, [&](int k) {
        const Span& s = spans[std::size_t(k)];
        if (among(s.name, kColours) && s.parent >= 0 &&
            among(spans[std::size_t(s.parent)].name, {"a:solidFill", "a:gs"})) {
            fade(xml, spans, k, "a:alpha", "val", opacity, edits);
        } else if (s.name == "a:blip") {
            fade(xml, spans, k, "a:alphaModFix", "amt", opacity, edits);
        }
    });
}

bool restyles(const HeldChange& c) {
    return c.bold || c.italic || c.underline || !c.typeface.empty() || c.fontScale != kWhole;
}

// The size the shape's own list style gives its first level; nothing when it gives none.
std::optional<std::int64_t> ownSize(std::string_view xml, const std::vector<Span>& spans, int shape) {
    const auto body = firstChild(spans, shape, "p:txBody");
    const auto list = body ? firstChild(spans, *body, "a:lstStyle") : std::nullopt;
    const auto level = list ? firstChild(spans, *list, "a:lvl1pPr") : std::nullopt;
    const auto defaults = level ? firstChild(spans, *level, "a:defRPr") : std::nullopt;
    return defaults ? XmlSpans::integerAttribute(xml, spans[std::size_t(*defaults)], "sz") : std::nullopt;
}

std::string escaped(std::string_view text) {
    std::string out;
    for (const char ch : text) {
        if (ch == '&') out += "&amp;";
        else if (ch == '<') out += "&lt;";
        else if (ch == '>') out += "&gt;";
        else if (ch == '"') out += "&quot;";
        else out += ch;
    }
    return out;
}

void restyle(std::string_view xml, const std::vector<Span>& spans, int shape, const std::string& id,
             const HeldChange& c, const Context& context, std::vector<Edit>& edits) {
    constexpr std::int64_t kDefaultSize = 1800;  // a run's size when nothing states one
    const auto inherited = context.sizes.find(id);
    const std::int64_t fallbackSize =
        ownSize(xml, spans, shape).value_or(inherited != context.sizes.end() ? inherited->second : kDefaultSize);
    const std::string latin = c.typeface.empty() ? "" : "<a:latin typeface=\"" + escaped(c.typeface) + "\"/>";
    for (int k : runsOf(spans, shape, c.target.paragraph)) {
        const auto rPr = firstChild(spans, k, "a:rPr");
        std::string tag = rPr ? std::string(
                                    xml.substr(spans[std::size_t(*rPr)].begin,
                                               spans[std::size_t(*rPr)].tagEnd - spans[std::size_t(*rPr)].begin))
                              : "<a:rPr/>";
        if (c.bold) tag = withAttribute(tag, "b", *c.bold ? "1" : "0");
        if (c.italic) tag = withAttribute(tag, "i", *c.italic ? "1" : "0");
        if (c.underline) tag = withAttribute(tag, "u", *c.underline ? "sng" : "none");
        if (c.fontScale != kWhole) {
            const auto written = parseInt64(XmlSpans::attributeOf(tag, "sz").value_or(""));
            const std::int64_t size = std::clamp<std::int64_t>(written.value_or(fallbackSize), 100, 400000);
            tag = withAttribute(tag, "sz",
                                formatInt(std::clamp<std::int64_t>(
                                    size * std::clamp<std::int64_t>(c.fontScale, 1, kLargestShare) / kWhole, 100,
                                    400000)));
        }
        if (!rPr) {
            // A run without properties gets them first.
            tag.resize(tag.size() - 2);
            const Span& run = spans[std::size_t(k)];
            edits.push_back({run.tagEnd, run.tagEnd, tag + (latin.empty() ? "/>" : ">" + latin + "</a:rPr>")});
            continue;
        }
        const Span& props = spans[std::size_t(*rPr)];
        const auto own = firstChild(spans, *rPr, "a:latin");
        if (latin.empty() || own) {
            edits.push_back({props.begin, props.tagEnd, tag});
            if (own && !latin.empty())
                edits.push_back({spans[std::size_t(*own)].begin, spans[std::size_t(*own)].end, latin});
        } else if (isEmptyElement(xml, props)) {
            tag.resize(tag.size() - 2);
            edits.push_back({props.begin, props.end, tag + ">" + latin + "</a:rPr>"});
        } else {
            // a:latin comes after the fills, effects and underline styles, before ea, cs, sym and links.
            std::optional<std::size_t> at;
            for (int ch : childrenOf(spans, *rPr)) {
                if (!at && among(spans[std::size_t(ch)].name,
                                 {"a:ea", "a:cs", "a:sym", "a:hlinkClick", "a:hlinkMouseOver", "a:rtl", "a:extLst"}))
                    at = spans[std::size_t(ch)].begin;
            }
            edits.push_back({props.begin, props.tagEnd, tag});
            edits.push_back({at.value_or(props.end - std::string_view("</a:rPr>").size()),
                             at.value_or(props.end - std::string_view("</a:rPr>").size()), latin});
        }
    }
}

std::string offAndExt(const Box& b) {
    return "<a:off x=\"" + formatInt(b.x) + "\" y=\"" + formatInt(b.y) + "\"/><a:ext cx=\"" + formatInt(b.cx) +
           "\" cy=\"" + formatInt(b.cy) + "\"/>";
}

void place(std::string_view xml, const std::vector<Span>& spans, int shape, const std::string& id, const HeldChange& c,
           const Context& context, std::vector<Edit>& edits) {
    const bool frame = spans[std::size_t(shape)].name == "p:graphicFrame";
    const auto props = frame ? std::optional(shape) : propertiesOf(spans, shape);
    if (!props) return;
    const auto xfrm = firstChild(spans, *props, frame ? "p:xfrm" : "a:xfrm");
    const auto off = xfrm ? firstChild(spans, *xfrm, "a:off") : std::nullopt;
    const auto ext = xfrm ? firstChild(spans, *xfrm, "a:ext") : std::nullopt;
    const bool own = off && ext;
    const Span &x = spans[std::size_t(xfrm.value_or(0))], &o = spans[std::size_t(off.value_or(0))],
               &e = spans[std::size_t(ext.value_or(0))];
    Box box;
    std::string tag = frame ? "<p:xfrm>" : "<a:xfrm>";
    if (own) {
        box = {bounded(XmlSpans::integerAttribute(xml, o, "x"), kLargestEmu),
               bounded(XmlSpans::integerAttribute(xml, o, "y"), kLargestEmu),
               bounded(XmlSpans::integerAttribute(xml, e, "cx"), kLargestEmu),
               bounded(XmlSpans::integerAttribute(xml, e, "cy"), kLargestEmu)};
        tag = std::string(xml.substr(x.begin, x.tagEnd - x.begin));
    } else if (const auto inherited = context.inherited.find(id); !xfrm && inherited != context.inherited.end()) {
        box = inherited->second;
    } else {
        return;  // nowhere to start from: left where LibreOffice puts it
    }
    const std::int64_t width = std::clamp<std::int64_t>(context.slideWidthEmu, 0, kLargestEmu);
    const std::int64_t height = std::clamp<std::int64_t>(context.slideHeightEmu, 0, kLargestEmu);
    const std::int64_t scaleX = std::clamp(c.scaleX, -kLargestShare, kLargestShare);
    const std::int64_t scaleY = std::clamp(c.scaleY, -kLargestShare, kLargestShare);
    // Scaled about its centre, the centre moved.
    const std::int64_t centreX = box.x + box.cx / 2 + std::clamp(c.dx, -kLargestShare, kLargestShare) * width / kWhole;
    const std::int64_t centreY = box.y + box.cy / 2 + std::clamp(c.dy, -kLargestShare, kLargestShare) * height / kWhole;
    Box moved;
    moved.cx = std::abs(box.cx * scaleX / kWhole);
    moved.cy = std::abs(box.cy * scaleY / kWhole);
    moved.x = centreX - moved.cx / 2;
    moved.y = centreY - moved.cy / 2;
    const auto written = [&](std::string_view name) { return XmlSpans::attributeOf(tag, name).value_or("0"); };
    const std::int64_t rotation = (bounded(parseInt64(written("rot")), kLargestEmu) +
                                   std::clamp(c.rotation, -kLargestEmu, kLargestEmu)) %
                                  kFullCircle;
    if (c.rotation != 0) tag = withAttribute(tag, "rot", formatInt((rotation + kFullCircle) % kFullCircle));
    const auto flipped = [&](std::string_view name, bool turn) {
        const std::string was = written(name);
        if (turn) tag = withAttribute(tag, name, was == "1" || was == "true" ? "0" : "1");
    };
    flipped("flipH", scaleX < 0);
    flipped("flipV", scaleY < 0);
    if (own) {
        edits.push_back({x.begin, x.tagEnd, tag});
        const std::string both = offAndExt(moved);
        const auto split = both.find("<a:ext");
        edits.push_back({o.begin, o.end, both.substr(0, split)});
        edits.push_back({e.begin, e.end, both.substr(split)});
    } else {
        insertInto(xml, spans[std::size_t(*props)], std::nullopt,
                   tag + offAndExt(moved) + (frame ? "</p:xfrm>" : "</a:xfrm>"), edits);
    }
}

// The index of the shape whose p:cNvPr has `id`; nothing when there is none.
std::optional<int> shapeWithId(std::string_view xml, const std::vector<Span>& spans, const std::string& id) {
    for (std::size_t k = 0; k < spans.size(); ++k) {
        if (spans[k].name != "p:cNvPr" || spans[k].parent < 0) continue;
        const int shape = spans[std::size_t(spans[k].parent)].parent;
        if (shape >= 0 && isShape(spans[std::size_t(shape)].name) && attributeOf(xml, spans[k], "id") == id) {
            return shape;
        }
    }
    return std::nullopt;
}

using Pass = std::function<void(std::string_view, const std::vector<Span>&, int, std::vector<Edit>&)>;

// The slide with one pass of edits made on the shape (spans taken afresh, as
// the pass before may have moved everything).
std::string withPass(std::string xml, const std::string& id, const Pass& pass) {
    const auto spans = elementSpans(xml);
    const auto shape = shapeWithId(xml, spans, id);
    if (!shape) return xml;
    std::vector<Edit> edits;
    pass(xml, spans, *shape, edits);
    return XmlSpans::applied(xml, std::move(edits));
}

// A placeholder of a part: its ph's type and idx and, if it has one, its box.
struct Placeholder {
    std::string id, type, idx;
    bool hasXfrm = false;
    std::optional<Box> box;
    std::optional<std::int64_t> size;  // its list style's first level
};

std::vector<Placeholder> placeholdersOf(std::string_view xml) {
    std::vector<Placeholder> out;
    const auto spans = elementSpans(xml);
    for (std::size_t k = 0; k < spans.size(); ++k) {
        if (spans[k].name != "p:sp") continue;
        const auto nv = firstChild(spans, int(k), "p:nvSpPr");
        const auto nvPr = nv ? firstChild(spans, *nv, "p:nvPr") : std::nullopt;
        const auto ph = nvPr ? firstChild(spans, *nvPr, "p:ph") : std::nullopt;
        if (!ph) continue;
        Placeholder p;
        const auto cNvPr = firstChild(spans, *nv, "p:cNvPr");
        if (cNvPr) p.id = attributeOf(xml, spans[std::size_t(*cNvPr)], "id").value_or("");
        p.type = attributeOf(xml, spans[std::size_t(*ph)], "type").value_or("body");
        p.idx = attributeOf(xml, spans[std::size_t(*ph)], "idx").value_or("");
        p.size = ownSize(xml, spans, int(k));
        const auto props = firstChild(spans, int(k), "p:spPr");
        const auto xfrm = props ? firstChild(spans, *props, "a:xfrm") : std::nullopt;
        p.hasXfrm = xfrm.has_value();
        const auto off = xfrm ? firstChild(spans, *xfrm, "a:off") : std::nullopt;
        const auto ext = xfrm ? firstChild(spans, *xfrm, "a:ext") : std::nullopt;
        if (off && ext) {
            const Span &o = spans[std::size_t(*off)], &e = spans[std::size_t(*ext)];
            p.box = Box{bounded(XmlSpans::integerAttribute(xml, o, "x"), kLargestEmu),
                        bounded(XmlSpans::integerAttribute(xml, o, "y"), kLargestEmu),
                        bounded(XmlSpans::integerAttribute(xml, e, "cx"), kLargestEmu),
                        bounded(XmlSpans::integerAttribute(xml, e, "cy"), kLargestEmu)};
        }
        out.push_back(std::move(p));
    }
    return out;
}

// The master's placeholders are one per kind: a layout's kinds map onto them.
std::string masterType(const std::string& type) {
    if (type == "ctrTitle") return "title";
    if (type == "subTitle" || type == "obj") return "body";
    return type;
}

// The first level's size of one of the master's text styles.
std::optional<std::int64_t> styleSize(std::string_view xml, const std::vector<Span>& spans, std::string_view style) {
    for (std::size_t k = 0; k < spans.size(); ++k) {
        if (spans[k].name != style || spans[k].parent < 0 || spans[std::size_t(spans[k].parent)].name != "p:txStyles")
            continue;
        const auto level = firstChild(spans, int(k), "a:lvl1pPr");
        const auto defaults = level ? firstChild(spans, *level, "a:defRPr") : std::nullopt;
        return defaults ? XmlSpans::integerAttribute(xml, spans[std::size_t(*defaults)], "sz") : std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

std::string drawn(std::string_view slideXml, const std::vector<HeldChange>& held, const Context& context) {
    std::string xml(slideXml);
    for (HeldChange c : held) {
        const std::string& id = c.target.shapeId;
        if (c.target.paragraph && (c.scaleX != kWhole || c.scaleY != kWhole)) {
            // A paragraph grows or shrinks as its text does; the shape keeps its size.
            const std::int64_t by = std::clamp<std::int64_t>(std::abs(c.scaleY), 1, kLargestShare);
            c.fontScale = std::clamp<std::int64_t>(c.fontScale * by / kWhole, 1, kLargestShare);
            c.scaleX = c.scaleY = kWhole;
        }
        xml = withPass(std::move(xml), id,
                       [&](auto x, const auto& s, int shape, auto& e) { recolour(x, s, shape, c, e); });
        xml = withPass(std::move(xml), id,
                       [&](auto x, const auto& s, int shape, auto& e) { reline(x, s, shape, c, e); });
        xml = withPass(std::move(xml), id,
                       [&](auto x, const auto& s, int shape, auto& e) { makeTransparent(x, s, shape, c, e); });
        if (restyles(c)) {
            xml = withPass(std::move(xml), id,
                           [&](auto x, const auto& s, int shape, auto& e) { restyle(x, s, shape, id, c, context, e); });
        }
        if (c.dx != 0 || c.dy != 0 || c.scaleX != kWhole || c.scaleY != kWhole || c.rotation != 0) {
            xml = withPass(std::move(xml), id,
                           [&](auto x, const auto& s, int shape, auto& e) { place(x, s, shape, id, c, context, e); });
        }
    }
    return xml;
}

Context contextOf(std::string_view slideXml, std::string_view layoutXml, std::string_view masterXml,
                  std::int64_t slideWidthEmu, std::int64_t slideHeightEmu) {
    Context out{slideWidthEmu, slideHeightEmu, {}, {}};
    const auto layout = placeholdersOf(layoutXml);
    const auto master = placeholdersOf(masterXml);
    const auto masterSpans = elementSpans(masterXml);
    const auto find = [](const std::vector<Placeholder>& in, auto matches) -> const Placeholder* {
        for (const auto& p : in) {
            if (matches(p)) return &p;
        }
        return nullptr;
    };
    for (const auto& p : placeholdersOf(slideXml)) {
        if (p.id.empty()) continue;
        const Placeholder* from = nullptr;
        if (!p.idx.empty()) from = find(layout, [&](const Placeholder& l) { return l.idx == p.idx; });
        if (!from) from = find(layout, [&](const Placeholder& l) { return l.type == p.type; });
        const std::string type = masterType(from ? from->type : p.type);
        const auto* top = find(master, [&](const Placeholder& m) { return masterType(m.type) == type; });
        if (!p.hasXfrm) {
            if (from && from->box) {
                out.inherited[p.id] = *from->box;
            } else if (top && top->box) {
                out.inherited[p.id] = *top->box;
            }
        }
        std::optional<std::int64_t> size = from ? from->size : std::nullopt;
        if (!size && top) size = top->size;
        if (!size) {
            size = styleSize(masterXml, masterSpans,
                             type == "title"  ? "p:titleStyle"
                             : type == "body" ? "p:bodyStyle"
                                              : "p:otherStyle");
        }
        if (size) out.sizes[p.id] = std::clamp<std::int64_t>(*size, 100, 400000);
    }
    return out;
}

}  // namespace orvandel::HeldShapes
