#include "plan/GraphicBuild.hpp"

#include <algorithm>
#include <initializer_list>
#include <map>
#include <set>

#include "base/Numbers.hpp"
#include "container/XmlElement.hpp"
#include "plan/XmlSpans.hpp"

namespace orvandel::GraphicBuild {

namespace {

using XmlSpans::Edit;
using XmlSpans::Span;
using XmlSpans::attributeOf;
using Kind = GraphicPart::Kind;

// A part's text and its elements, asked by local name: charts, drawings and
// data parts come with either namespace set (transitional or strict).
class Part {
public:
    explicit Part(std::string_view xml) : xml_(xml), spans_(XmlSpans::elementSpans(xml)) {}

    std::string_view xml() const { return xml_; }
    bool empty() const { return spans_.empty(); }
    const Span& at(int i) const { return spans_[static_cast<std::size_t>(i)]; }
    std::string_view local(int i) const { return localName(at(i).name); }
    std::optional<std::string> attribute(int i, std::string_view name) const { return attributeOf(xml_, at(i), name); }
    std::string_view text(int i) const { return xml_.substr(at(i).begin, at(i).end - at(i).begin); }

    std::vector<int> children(int parent, std::initializer_list<std::string_view> locals = {}) const {
        std::vector<int> out;
        for (int c : XmlSpans::childrenOf(spans_, parent)) {
            if (locals.size() == 0 || std::find(locals.begin(), locals.end(), local(c)) != locals.end()) {
                out.push_back(c);
            }
        }
        return out;
    }
    int child(int parent, std::string_view name) const {
        const auto found = children(parent, {name});
        return found.empty() ? -1 : found.front();
    }
    // Every element below `parent` with one of these local names.
    std::vector<int> descendants(int parent, std::initializer_list<std::string_view> locals) const {
        std::vector<int> out;
        for (std::size_t m = std::size_t(parent) + 1; m < spans_.size() && spans_[m].begin < at(parent).end; ++m) {
            if (std::find(locals.begin(), locals.end(), localName(spans_[m].name)) != locals.end()) {
                out.push_back(static_cast<int>(m));
            }
        }
        return out;
    }
    std::size_t size() const { return spans_.size(); }

private:
    std::string_view xml_;
    std::vector<Span> spans_;
};

// The chart's series in order (the index a build names) and its plot area.
struct Chart {
    std::string c, a;  // the prefixes with their colon
    int chart = -1, plotArea = -1;
    std::vector<int> series;
    std::map<int, bool> markers;  // series -> of a chart type that draws markers
};

Chart chartOf(const Part& part) {
    Chart out;
    if (part.empty()) return out;
    const std::string root(part.at(0).name);
    out.c = root.find(':') == std::string::npos ? "" : root.substr(0, root.find(':') + 1);
    out.a = attributeOf(part.xml(), part.at(0), "xmlns:a") ? "a:" : "";
    out.chart = part.child(0, "chart");
    out.plotArea = out.chart < 0 ? -1 : part.child(out.chart, "plotArea");
    if (out.plotArea < 0) return out;
    for (int type : part.children(out.plotArea)) {
        const auto name = part.local(type);
        if (!name.ends_with("Chart")) continue;
        const bool markers = name == "lineChart" || name == "line3DChart" || name == "scatterChart" ||
                             name == "radarChart";
        for (int s : part.children(type, {"ser"})) {
            out.series.push_back(s);
            out.markers[s] = markers;
        }
    }
    return out;
}

std::int64_t categoryCount(const Part& part, const Chart& chart) {
    std::int64_t count = 0;
    for (int s : chart.series) {
        for (int n : part.descendants(s, {"ptCount"})) {
            count = std::max(count, parseInt64(part.attribute(n, "val").value_or("0")).value_or(0));
        }
    }
    return count;
}

// Builds the edits of one chart copy.
class ChartEditor {
public:
    ChartEditor(const Part& part, std::string c, std::string a) : p_(part), c_(std::move(c)), a_(std::move(a)) {}

    std::vector<Edit> edits;

    std::string element(const std::string& name, const std::string& inner) const {
        return "<" + name + ">" + inner + "</" + name + ">";
    }
    std::string noShape() const {
        return element(c_ + "spPr", "<" + a_ + "noFill/>" + element(a_ + "ln", "<" + a_ + "noFill/>"));
    }
    std::string noLine() const { return element(c_ + "spPr", element(a_ + "ln", "<" + a_ + "noFill/>")); }
    std::string noMarker() const { return element(c_ + "marker", "<" + c_ + "symbol val=\"none\"/>"); }
    std::string noLabel(std::int64_t k) const {
        return element(c_ + "dLbl", "<" + c_ + "idx val=\"" + formatInt(k) + "\"/><" + c_ + "delete val=\"1\"/>");
    }
    // The child replaced by text, or text inserted before the first of
    // `before` (or last) when the parent has no such child.
    void setChild(int parent, std::string_view name, const std::string& text,
                  std::initializer_list<std::string_view> before) {
        if (const int existing = p_.child(parent, name); existing >= 0) {
            edits.push_back({p_.at(existing).begin, p_.at(existing).end, text});
            return;
        }
        insert(parent, text, before);
    }

    void insert(int parent, const std::string& text, std::initializer_list<std::string_view> before) {
        const auto following = p_.children(parent, before);
        if (!following.empty()) {
            const std::size_t at = p_.at(following.front()).begin;
            edits.push_back({at, at, text});
        } else if (p_.at(parent).tagEnd == p_.at(parent).end) {  // an empty-element tag
            const auto& s = p_.at(parent);
            std::string tag(p_.xml().substr(s.begin, s.tagEnd - s.begin));
            tag.erase(tag.size() - 2);
            edits.push_back({s.begin, s.end, tag + ">" + text + "</" + std::string(s.name) + ">"});
        } else {
            const std::size_t at = p_.xml().rfind('<', p_.at(parent).end - 1);
            edits.push_back({at, at, text});
        }
    }

    // Every character below `parent` fully transparent, sizes kept.
    void hideText(int parent) {
        const std::string fill = transparentFill();
        for (int r : p_.descendants(parent, {"r"})) {
            if (p_.child(r, "rPr") < 0) edits.push_back({p_.at(r).tagEnd, p_.at(r).tagEnd, element(a_ + "rPr", fill)});
        }
        for (int props : p_.descendants(parent, {"defRPr", "rPr", "endParaRPr"})) {
            const auto& s = p_.at(props);
            std::string tag(p_.xml().substr(s.begin, s.tagEnd - s.begin));
            if (s.tagEnd == s.end) {
                tag.erase(tag.size() - 2);
                edits.push_back({s.begin, s.end, tag + ">" + fill + "</" + std::string(s.name) + ">"});
                continue;
            }
            edits.push_back({s.begin, s.tagEnd, tag + fill});
            for (int f : p_.children(props, {"noFill", "solidFill", "gradFill", "blipFill", "pattFill", "grpFill"})) {
                edits.push_back({p_.at(f).begin, p_.at(f).end, ""});
            }
        }
    }

    std::string transparentFill() const {
        return "<" + a_ + "solidFill><" + a_ + "srgbClr val=\"FFFFFF\"><" + a_ + "alpha val=\"0\"/></" + a_ +
               "srgbClr></" + a_ + "solidFill>";
    }

    // Text properties for an element that has none: those it inherits from
    // the chart (so that its text keeps its size), made transparent.
    std::string newText() const {
        if (const int inherited = p_.child(0, "txPr"); inherited >= 0) {
            ChartEditor copy(p_, c_, a_);
            copy.hideText(inherited);
            const auto& s = p_.at(inherited);
            for (auto& edit : copy.edits) edit.begin -= s.begin, edit.end -= s.begin;
            return XmlSpans::applied(p_.xml().substr(s.begin, s.end - s.begin), std::move(copy.edits));
        }
        return element(c_ + "txPr",
                       "<" + a_ + "bodyPr/><" + a_ + "lstStyle/>" +
                           element(a_ + "p", element(a_ + "pPr", element(a_ + "defRPr", transparentFill())) + "<" + a_ +
                                                 "endParaRPr lang=\"en-US\"/>"));
    }

private:
    const Part& p_;
    std::string c_, a_;
};

void hideSeries(const Part& part, const Chart& chart, ChartEditor& e, int series) {
    const std::string c = chart.c;
    e.setChild(series, "spPr", e.noShape(),
               {"invertIfNegative", "pictureOptions", "marker", "dPt", "dLbls", "trendline", "errBars", "cat", "val",
                "xVal", "yVal", "smooth", "shape", "bubbleSize", "bubble3D", "explosion", "extLst"});
    if (chart.markers.at(series)) {
        e.setChild(series, "marker", e.noMarker(),
                   {"dPt", "dLbls", "trendline", "errBars", "cat", "val", "xVal", "yVal", "smooth", "extLst"});
    }
    for (int point : part.children(series, {"dPt"})) {
        e.setChild(point, "spPr", e.noShape(), {"pictureOptions", "extLst"});
        if (part.child(point, "marker") >= 0) e.setChild(point, "marker", e.noMarker(), {});
    }
    e.setChild(series, "dLbls", e.element(c + "dLbls", "<" + c + "delete val=\"1\"/>"),
               {"trendline", "errBars", "cat", "val", "xVal", "yVal", "smooth", "shape", "bubbleSize", "bubble3D",
                "extLst"});
}

void hidePoints(const Part& part, const Chart& chart, ChartEditor& e, int series,
                const std::set<std::int64_t>& points) {
    const std::string c = chart.c;
    std::map<std::int64_t, int> existing;
    for (int point : part.children(series, {"dPt"})) {
        const int idx = part.child(point, "idx");
        if (idx >= 0) existing[parseInt64(part.attribute(idx, "val").value_or("-1")).value_or(-1)] = point;
    }
    for (std::int64_t k : points) {
        if (const auto it = existing.find(k); it != existing.end()) {
            e.setChild(it->second, "spPr", e.noShape(), {"pictureOptions", "extLst"});
            if (chart.markers.at(series)) {
                e.setChild(it->second, "marker", e.noMarker(),
                           {"bubble3D", "explosion", "spPr", "pictureOptions", "extLst"});
            }
            continue;
        }
        e.insert(series,
                 e.element(c + "dPt", "<" + c + "idx val=\"" + formatInt(k) + "\"/>" +
                                          (chart.markers.at(series) ? e.noMarker() : "") + e.noShape()),
                 {"dLbls", "trendline", "errBars", "cat", "val", "xVal", "yVal", "smooth", "shape", "bubbleSize",
                  "bubble3D", "extLst"});
    }
    // The labels of the hidden points go; the others keep what they show.
    std::string labels;
    std::map<std::int64_t, int> labelled;
    const int own = part.child(series, "dLbls");
    if (own >= 0) {
        for (int label : part.children(own, {"dLbl"})) {
            const int idx = part.child(label, "idx");
            if (idx >= 0) labelled[parseInt64(part.attribute(idx, "val").value_or("-1")).value_or(-1)] = label;
        }
    }
    for (std::int64_t k : points) {
        if (const auto it = labelled.find(k); it != labelled.end()) {
            e.edits.push_back({part.at(it->second).begin, part.at(it->second).end, e.noLabel(k)});
        } else {
            labels += e.noLabel(k);
        }
    }
    if (labels.empty()) return;
    if (own >= 0) {
        e.insert(own, labels,
                 {"dLbl", "delete", "numFmt", "spPr", "txPr", "dLblPos", "showLegendKey", "showVal", "showCatName",
                  "showSerName", "showPercent", "showBubbleSize", "separator", "showLeaderLines", "leaderLines",
                  "extLst"});
        return;
    }
    // Without labels of its own the series shows its chart type's, if any.
    const int group = part.child(part.at(series).parent, "dLbls");
    if (group < 0) return;
    std::string inherited;
    if (part.at(group).tagEnd != part.at(group).end) {
        const auto& g = part.at(group);
        inherited = std::string(part.xml().substr(g.tagEnd, part.xml().rfind('<', g.end - 1) - g.tagEnd));
    }
    e.insert(series, e.element(c + "dLbls", labels + inherited),
             {"trendline", "errBars", "cat", "val", "xVal", "yVal", "smooth", "shape", "bubbleSize", "bubble3D",
              "extLst"});
}

void hideBackground(const Part& part, const Chart& chart, ChartEditor& e) {
    const std::string c = chart.c;
    for (int axis : part.children(chart.plotArea, {"catAx", "valAx", "dateAx", "serAx"})) {
        for (int grid : part.children(axis, {"majorGridlines", "minorGridlines"})) {
            e.edits.push_back(
                {part.at(grid).begin, part.at(grid).end, e.element(std::string(part.at(grid).name), e.noLine())});
        }
        e.setChild(axis, "spPr", e.noShape(),
                   {"txPr", "crossAx", "crosses", "crossesAt", "crossBetween", "auto", "lblAlgn", "lblOffset",
                    "tickLblSkip", "tickMarkSkip", "noMultiLvlLbl", "majorUnit", "minorUnit", "dispUnits", "extLst"});
        if (const int text = part.child(axis, "txPr"); text >= 0) {
            e.hideText(text);
        } else {
            e.insert(axis, e.newText(),
                     {"crossAx", "crosses", "crossesAt", "crossBetween", "auto", "lblAlgn", "lblOffset", "tickLblSkip",
                      "tickMarkSkip", "noMultiLvlLbl", "majorUnit", "minorUnit", "dispUnits", "extLst"});
        }
        if (const int title = part.child(axis, "title"); title >= 0) e.hideText(title);
    }
    // A 3-D chart draws its walls and floor even when it does not list them.
    const bool threeD = part.child(chart.chart, "view3D") >= 0;
    const std::vector<std::string_view> walls{"floor", "sideWall", "backWall", "plotArea"};
    for (std::size_t w = 0; w + 1 < walls.size(); ++w) {
        if (const int wall = part.child(chart.chart, walls[w]); wall >= 0) {
            e.setChild(wall, "spPr", e.noShape(), {"pictureOptions", "extLst"});
        } else if (threeD) {
            int next = -1;
            for (std::size_t later = w + 1; next < 0; ++later) next = part.child(chart.chart, walls[later]);
            const std::size_t at = part.at(next).begin;
            e.edits.push_back({at, at, e.element(c + std::string(walls[w]), e.noShape())});
        }
    }
    if (const int legend = part.child(chart.chart, "legend"); legend >= 0) {
        e.setChild(legend, "spPr", e.noShape(), {"txPr", "extLst"});
        if (const int text = part.child(legend, "txPr"); text >= 0) {
            e.hideText(text);
        } else {
            e.insert(legend, e.newText(), {"extLst"});
        }
    }
}

// The model ids whose drawing shapes show each diagram element: the element,
// the connection that leads to it, and their presentation points.
std::map<std::string, std::set<std::string>> shownBy(std::string_view dataXml, const std::set<std::string>& elements) {
    const Part data(dataXml);
    std::map<std::string, std::set<std::string>> out;
    for (const auto& element : elements) out[element].insert(element);
    for (std::size_t i = 0; i < data.size(); ++i) {
        const int cxn = static_cast<int>(i);
        if (data.local(cxn) != "cxn" || data.attribute(cxn, "type").value_or("parOf") != "parOf") continue;
        const auto it = out.find(data.attribute(cxn, "destId").value_or(""));
        if (it == out.end()) continue;
        for (const char* transition : {"parTransId", "sibTransId"}) {
            if (const auto id = data.attribute(cxn, transition)) it->second.insert(*id);
        }
    }
    for (std::size_t i = 0; i < data.size(); ++i) {
        const int pt = static_cast<int>(i);
        if (data.local(pt) != "pt" || data.attribute(pt, "type") != "pres") continue;
        const int set = data.child(pt, "prSet");
        const auto of = set >= 0 ? data.attribute(set, "presAssocID") : std::nullopt;
        const auto model = data.attribute(pt, "modelId");
        if (!of || !model) continue;
        for (auto& [element, ids] : out) {
            if (ids.contains(*of)) ids.insert(*model);
        }
    }
    return out;
}

std::set<std::string> elementsOf(const std::vector<GraphicPart>& parts) {
    std::set<std::string> out;
    for (const auto& part : parts) {
        if (part.kind == Kind::diagramElement) out.insert(part.element);
    }
    return out;
}

// The drawing's shapes (at any depth) with their model ids.
std::vector<std::pair<int, std::string>> drawingShapes(const Part& drawing) {
    std::vector<std::pair<int, std::string>> out;
    for (std::size_t i = 0; i < drawing.size(); ++i) {
        const int sp = static_cast<int>(i);
        if (drawing.local(sp) != "sp") continue;
        if (auto model = drawing.attribute(sp, "modelId")) out.emplace_back(sp, std::move(*model));
    }
    return out;
}

}  // namespace

std::variant<Source, std::string> locate(DeckModel& deck, const std::string& slideFile, std::string_view slideXml,
                                         const std::string& shapeId) {
    const Part slide(slideXml);
    int frame = -1;
    for (std::size_t i = 0; i < slide.size() && frame < 0; ++i) {
        const int id = static_cast<int>(i);
        if (slide.local(id) != "cNvPr" || slide.attribute(id, "id") != shapeId || slide.at(id).parent < 0) continue;
        const int shape = slide.at(slide.at(id).parent).parent;
        if (shape >= 0 && slide.local(shape) == "graphicFrame") frame = shape;
    }
    if (frame < 0) return "shape " + shapeId + " is not a chart or diagram frame";
    Source source;
    for (int e : slide.descendants(frame, {"chart", "relIds", "oleObj"})) {
        if (slide.local(e) == "oleObj") return std::string("an embedded OLE chart or object");
        if (slide.local(e) == "chart" && slide.attribute(e, "r:id")) {
            source = {Source::Kind::chart, *slide.attribute(e, "r:id"), "", ""};
        } else if (slide.local(e) == "relIds" && slide.attribute(e, "r:dm")) {
            source = {Source::Kind::diagram, "", "", *slide.attribute(e, "r:dm")};
        }
        break;
    }
    if (source.relationshipId.empty() && source.dataPart.empty())
        return "shape " + shapeId + " is not a chart or diagram";

    std::map<std::string, Relationship> rels;
    try {
        rels = Relationships::byId(deck.relationships(slideFile));
    } catch (const XmlParseError&) {
        // Unreadable relationships: no part can be found behind the frame.
    }
    const auto partOf = [&](const std::string& id) -> std::optional<std::string> {
        const auto it = rels.find(id);
        if (it == rels.end() || it->second.external()) return std::nullopt;
        const std::string part = Relationships::resolveEntry(it->second.target, slideFile);
        return deck.contains(part) ? std::optional(part) : std::nullopt;
    };
    if (source.kind == Source::Kind::chart) {
        const auto part = partOf(source.relationshipId);
        if (!part) return "the chart's part is missing";
        source.part = *part;
        return source;
    }
    const auto data = partOf(source.dataPart);
    if (!data) return "the diagram's data part is missing";
    source.dataPart = *data;
    const std::string& dataXml = deck.part(*data);
    const Part dataPart(dataXml);
    for (std::size_t i = 0; i < dataPart.size(); ++i) {
        const int ext = static_cast<int>(i);
        if (dataPart.local(ext) != "dataModelExt") continue;
        const auto id = dataPart.attribute(ext, "relId");
        const auto drawing = id ? partOf(*id) : std::nullopt;
        if (!drawing) break;
        source.relationshipId = *id;
        source.part = *drawing;
        return source;
    }
    return std::string("the diagram has no drawing of its own");
}

std::vector<std::string> drawnDiagrams(DeckModel& deck, const std::string& slideFile, std::string_view slideXml) {
    const Part slide(slideXml);
    std::vector<std::string> out;
    for (std::size_t i = 0; i < slide.size(); ++i) {
        const int frame = static_cast<int>(i);
        if (slide.local(frame) != "graphicFrame") continue;
        const auto ids = slide.descendants(frame, {"relIds"});
        const int nv = slide.child(frame, "nvGraphicFramePr");
        const int c = nv < 0 ? -1 : slide.child(nv, "cNvPr");
        const auto id = c < 0 ? std::nullopt : slide.attribute(c, "id");
        if (ids.empty() || !id) continue;
        const auto found = locate(deck, slideFile, slideXml, *id);
        const auto* source = std::get_if<Source>(&found);
        if (!source || source->kind != Source::Kind::diagram) continue;
        // PowerPoint saves some drawings empty: LibreOffice lays those diagrams out.
        const Part drawing(deck.part(source->part));
        for (std::size_t k = 0; k < drawing.size(); ++k) {
            if (drawing.local(static_cast<int>(k)) != "sp") continue;
            out.push_back(*id);
            break;
        }
    }
    return out;
}

std::optional<std::string> whyNot(const Source& source, std::string_view partXml, std::string_view dataXml,
                                  const std::vector<GraphicPart>& parts) {
    for (const auto& part : parts) {
        if (part.kind == Kind::oleChartElement) return std::string("an embedded OLE chart");
    }
    const Part part(partXml);
    if (source.kind == Source::Kind::diagram) {
        std::set<std::string> drawn;
        for (const auto& [sp, model] : drawingShapes(part)) drawn.insert(model);
        for (const auto& [element, ids] : shownBy(dataXml, elementsOf(parts))) {
            if (std::none_of(ids.begin(), ids.end(), [&](const std::string& id) { return drawn.contains(id); })) {
                return "the diagram's drawing shows no shape of element " + element;
            }
        }
        return std::nullopt;
    }
    const Chart chart = chartOf(part);
    if (chart.plotArea < 0) return std::string("the chart part has no plot area");
    if (chart.c.empty() || chart.a.empty()) return std::string("the chart part's XML uses unexpected prefixes");
    const auto series = static_cast<std::int64_t>(chart.series.size());
    const std::int64_t categories = categoryCount(part, chart);
    for (const auto& p : parts) {
        if (p.kind == Kind::diagramElement) return std::string("a diagram element names a chart");
        if ((p.kind == Kind::chartSeries || p.kind == Kind::chartPoint) && p.series >= series) {
            return "the chart has no series " + formatInt(p.series + 1);
        }
        if ((p.kind == Kind::chartCategory || p.kind == Kind::chartPoint) && p.category >= categories) {
            return "the chart has no category " + formatInt(p.category + 1);
        }
    }
    return std::nullopt;
}

std::string chartInState(std::string_view chartXml, const std::vector<GraphicPart>& hidden) {
    const Part part(chartXml);
    const Chart chart = chartOf(part);
    if (chart.plotArea < 0) return std::string(chartXml);
    ChartEditor editor(part, chart.c, chart.a);
    std::set<std::int64_t> wholeSeries, categories;
    std::map<std::int64_t, std::set<std::int64_t>> points;
    bool background = false;
    for (const auto& p : hidden) {
        switch (p.kind) {
            case Kind::chartBackground: background = true; break;
            case Kind::chartData:
                for (std::size_t s = 0; s < chart.series.size(); ++s) wholeSeries.insert(std::int64_t(s));
                break;
            case Kind::chartSeries: wholeSeries.insert(p.series); break;
            case Kind::chartCategory: categories.insert(p.category); break;
            case Kind::chartPoint: points[p.series].insert(p.category); break;
            case Kind::diagramElement:
            case Kind::oleChartElement: break;
        }
    }
    for (std::size_t s = 0; s < chart.series.size(); ++s) {
        const auto index = static_cast<std::int64_t>(s);
        if (wholeSeries.contains(index)) {
            hideSeries(part, chart, editor, chart.series[s]);
            continue;
        }
        std::set<std::int64_t> shown = categories;
        if (const auto it = points.find(index); it != points.end()) shown.insert(it->second.begin(), it->second.end());
        if (!shown.empty()) hidePoints(part, chart, editor, chart.series[s], shown);
    }
    if (background) hideBackground(part, chart, editor);
    return XmlSpans::applied(chartXml, std::move(editor.edits));
}

std::string drawingInState(std::string_view drawingXml, std::string_view dataXml,
                           const std::vector<GraphicPart>& hidden) {
    std::set<std::string> gone;
    for (const auto& [element, ids] : shownBy(dataXml, elementsOf(hidden))) gone.insert(ids.begin(), ids.end());
    const Part drawing(drawingXml);
    std::vector<Edit> edits;
    for (const auto& [sp, model] : drawingShapes(drawing)) {
        if (gone.contains(model)) edits.push_back({drawing.at(sp).begin, drawing.at(sp).end, ""});
    }
    return XmlSpans::applied(drawingXml, std::move(edits));
}

}  // namespace orvandel::GraphicBuild
