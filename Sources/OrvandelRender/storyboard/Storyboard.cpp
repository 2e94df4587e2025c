#include "storyboard/Storyboard.hpp"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <variant>

#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckModel.hpp"
#include "plan/GraphicBuild.hpp"
#include "plan/XmlSpans.hpp"
#include "storyboard/DiagramShapes.hpp"
#include "storyboard/FreshName.hpp"
#include "storyboard/SweptDeck.hpp"
#include "tools/RenderError.hpp"

namespace orvandel::Storyboard {

namespace {

using XmlSpans::Edit;
using XmlSpans::Span;
using XmlSpans::attributeOf;
using XmlSpans::elementSpans;

// How the errors of this stage begin.
const char* const kErrorLead = "writing the storyboard";
const char* const kSlideContentType = "application/vnd.openxmlformats-officedocument.presentationml.slide+xml";

bool isShape(std::string_view name) {
    return name == "p:sp" || name == "p:pic" || name == "p:graphicFrame" || name == "p:grpSp" || name == "p:cxnSp" ||
           name == "p:contentPart";
}

// Moves `element` before `before` (both children of parent), or to the end.
void place(XmlElement& parent, const XmlElement& element, const std::optional<XmlElement>& before) {
    parent.appendChild(element);
    if (!before) return;
    bool moving = false;
    for (const auto& child : parent.childElements()) {
        if (child == *before) moving = true;
        if (moving && !(child == element)) parent.appendChild(child);
    }
}

std::optional<XmlElement> firstOf(const XmlElement& parent, std::initializer_list<std::string_view> names) {
    for (const auto& child : parent.childElements()) {
        if (std::find(names.begin(), names.end(), child.name()) != names.end()) return child;
    }
    return std::nullopt;
}

void removeChildren(const XmlElement& parent, std::initializer_list<std::string_view> names) {
    for (auto child : parent.childElements()) {
        if (std::find(names.begin(), names.end(), child.name()) != names.end()) child.detach();
    }
}

// The first child named `name`, created first in `parent` when missing.
XmlElement firstChildMade(XmlElement& parent, std::string_view name) {
    if (auto child = parent.firstChildElement(name)) return child;
    XmlElement child = parent.createElement(name);
    const auto children = parent.childElements();
    place(parent, child, children.empty() ? std::nullopt : std::optional(children.front()));
    return child;
}

// The paragraph with its bullet off and its runs fully transparent, in place.
std::optional<std::string> hiddenParagraph(std::string_view paragraph) {
    if (paragraph.find("xmlns") != std::string_view::npos) return std::nullopt;  // the emitter would drop it
    XmlElement p;
    try {
        p = SlideXML::parseFragment(paragraph, "a:p");
    } catch (const SlideXMLError&) {
        return std::nullopt;
    }
    XmlElement pPr = firstChildMade(p, "a:pPr");
    removeChildren(pPr, {"a:buNone", "a:buAutoNum", "a:buChar", "a:buBlip"});
    place(pPr, pPr.createElement("a:buNone"), firstOf(pPr, {"a:tabLst", "a:defRPr", "a:extLst"}));
    for (auto run : p.childElements()) {
        if (run.name() != "a:r" && run.name() != "a:fld") continue;
        XmlElement rPr = firstChildMade(run, "a:rPr");
        // Everything drawn in or around the glyphs goes; a transparent fill comes first.
        removeChildren(rPr, {"a:ln", "a:noFill", "a:solidFill", "a:gradFill", "a:blipFill", "a:pattFill", "a:grpFill",
                             "a:effectLst", "a:effectDag", "a:highlight", "a:uLnTx", "a:uLn", "a:uFillTx", "a:uFill"});
        XmlElement fill = rPr.createElement("a:solidFill");
        XmlElement color = rPr.createElement("a:srgbClr");
        color.addAttribute("val", "FFFFFF");
        XmlElement alpha = rPr.createElement("a:alpha");
        alpha.addAttribute("val", "0");
        color.appendChild(alpha);
        fill.appendChild(color);
        const auto children = rPr.childElements();
        place(rPr, fill, children.empty() ? std::nullopt : std::optional(children.front()));
    }
    return XMLEmitter::emit(p, XMLEmitter::Options::identity);
}

struct PresentationParts {
    std::string presentation, rels, types;
};

// Lists each copy right after the slide it copies: a slide id in
// presentation.xml, a relationship, a content type.
void listCopies(PresentationParts& parts, const std::vector<std::pair<std::string, std::vector<std::string>>>& copies) {
    struct Rel {
        std::string type, target;
    };
    std::map<std::string, Rel> rels;
    std::set<std::string> relIds;
    const auto relSpans = elementSpans(parts.rels);
    for (const auto& s : relSpans) {
        if (s.name != "Relationship") continue;
        const auto id = attributeOf(parts.rels, s, "Id");
        if (!id) continue;
        relIds.insert(*id);
        rels.try_emplace(*id, Rel{attributeOf(parts.rels, s, "Type").value_or(""),
                                  attributeOf(parts.rels, s, "Target").value_or("")});
    }
    std::set<std::string> slideIds;
    std::map<std::string, std::pair<const Span*, const Rel*>> listedAs;  // slide part -> its p:sldId, relationship
    const auto slideSpans = elementSpans(parts.presentation);
    for (const auto& s : slideSpans) {
        if (s.name != "p:sldId") continue;
        slideIds.insert(attributeOf(parts.presentation, s, "id").value_or(""));
        const auto rel = rels.find(attributeOf(parts.presentation, s, "r:id").value_or(""));
        if (rel != rels.end()) {
            listedAs.try_emplace(Relationships::resolveEntry(rel->second.target, "ppt/presentation.xml"),
                                 std::pair{&s, &rel->second});
        }
    }
    std::map<std::string, std::string> contentTypes;  // part name -> content type
    const auto typeSpans = elementSpans(parts.types);
    for (const auto& s : typeSpans) {
        if (s.name != "Override") continue;
        if (const auto part = attributeOf(parts.types, s, "PartName")) {
            contentTypes[*part] = attributeOf(parts.types, s, "ContentType").value_or(kSlideContentType);
        }
    }

    std::vector<Edit> inPresentation;
    std::string newRels, newTypes;
    for (const auto& [slide, copyParts] : copies) {
        const auto found = listedAs.find(slide);
        if (found == listedAs.end()) {
            throw RenderError(RenderError::Case::badDeck, ExportStage::storyboard,
                              std::string(kErrorLead) + ": " + slide +
                                  " is not in the slide list of the prepared deck.");
        }
        const auto [listed, rel] = found->second;
        const std::string& relType = rel->type;
        const std::string relFolder = rel->target.substr(0, rel->target.rfind('/') + 1);
        const auto type = contentTypes.find("/" + slide);
        std::string ids;
        for (const auto& part : copyParts) {
            const std::string relId = freshName(relIds, "rId", "", 1);
            const std::string fileName = part.substr(part.rfind('/') + 1);
            ids += "<p:sldId id=\"" + freshName(slideIds, "", "", 256) + "\" r:id=\"" + relId + "\"/>";
            newRels += "<Relationship Id=\"" + relId + "\" Type=\"" + relType + "\" Target=\"" + relFolder + fileName +
                       "\"/>";
            newTypes += "<Override PartName=\"/" + part + "\" ContentType=\"" +
                        (type == contentTypes.end() ? std::string(kSlideContentType) : type->second) + "\"/>";
        }
        inPresentation.push_back({listed->end, listed->end, ids});
    }
    parts.presentation = XmlSpans::applied(parts.presentation, std::move(inPresentation));
    const auto relsEnd = parts.rels.rfind("</Relationships>");
    const auto typesEnd = parts.types.rfind("</Types>");
    if (relsEnd == std::string::npos || typesEnd == std::string::npos) {
        throw RenderError(RenderError::Case::badDeck, ExportStage::storyboard,
                          std::string(kErrorLead) +
                              ": the prepared deck's relationships or content types are damaged.");
    }
    parts.rels.insert(relsEnd, newRels);
    parts.types.insert(typesEnd, newTypes);
}

// The slide's relationships for a copy: the notes stay with the slide itself.
std::string withoutNotes(const std::string& rels) {
    std::vector<Edit> cuts;
    for (const auto& s : elementSpans(rels)) {
        if (s.name == "Relationship" && attributeOf(rels, s, "Type").value_or("").ends_with("/notesSlide")) {
            cuts.push_back({s.begin, s.end, ""});
        }
    }
    return XmlSpans::applied(rels, std::move(cuts));
}

// A compatibility block after the shape tree that holds timing or a transition.
bool animates(std::string_view xml, const Span& block) {
    const auto text = xml.substr(block.begin, block.end - block.begin);
    return text.find("<p:timing") != std::string_view::npos || text.find("<p:transition") != std::string_view::npos;
}

// Hides the wanted paragraphs of the shape's text body, counted from 0. An
// explicitly numbered paragraph that follows hidden ones keeps its number:
// a hidden paragraph has no bullet, which would restart the count.
void hideParagraphs(std::string_view xml, const std::vector<Span>& spans, int shape,
                    const std::set<std::int64_t>& wanted, std::vector<Edit>& edits) {
    struct Count {
        std::string type;
        std::int64_t number = 0;
    };
    // Per level, the list running in the deck and the one the state shows.
    std::map<std::int64_t, Count> deck, shown;
    int body = -1;
    std::int64_t index = 0;
    for (std::size_t m = std::size_t(shape) + 1; m < spans.size() && spans[m].begin < spans[std::size_t(shape)].end;
         ++m) {
        if (spans[m].parent == shape && spans[m].name == "p:txBody") body = static_cast<int>(m);
        if (body < 0 || spans[m].parent != body || spans[m].name != "a:p") continue;
        const bool hide = wanted.contains(index++);
        std::int64_t level = 0;
        const Span* number = nullptr;  // the paragraph's own a:buAutoNum
        for (std::size_t c = m + 1; c < spans.size() && spans[c].begin < spans[m].end; ++c) {
            if (spans[c].parent == int(m) && spans[c].name == "a:pPr") {
                level = parseInt64(attributeOf(xml, spans[c], "lvl").value_or("0")).value_or(0);
            } else if (spans[c].name == "a:buAutoNum" && spans[spans[c].parent].name == "a:pPr") {
                number = &spans[c];
            }
        }
        std::erase_if(deck, [&](const auto& e) { return e.first > level; });
        std::erase_if(shown, [&](const auto& e) { return e.first > level; });
        if (hide) {
            const auto text = xml.substr(spans[m].begin, spans[m].end - spans[m].begin);
            if (auto edited = hiddenParagraph(text)) edits.push_back({spans[m].begin, spans[m].end, *edited});
        }
        if (!number) {
            deck.erase(level);
            shown.erase(level);
            continue;
        }
        const std::string type = attributeOf(xml, *number, "type").value_or("");
        const std::int64_t startAt = parseInt64(attributeOf(xml, *number, "startAt").value_or("1")).value_or(1);
        auto next = [&](std::map<std::int64_t, Count>& lists) {
            const auto running = lists.find(level);
            return running != lists.end() && running->second.type == type ? running->second.number + 1 : startAt;
        };
        const std::int64_t inDeck = next(deck);
        deck[level] = {type, inDeck};
        if (hide) {
            shown.erase(level);
        } else {
            if (next(shown) != inDeck) {
                const auto tag = xml.substr(number->begin, number->tagEnd - number->begin);
                edits.push_back(
                    {number->begin, number->tagEnd, XmlSpans::withAttribute(tag, "startAt", formatInt(inDeck))});
            }
            shown[level] = {type, inDeck};
        }
    }
}

// The copies of the charts that a deck's states show part by part: one per
// chart and set of hidden parts, shared by the states that hide the same
// parts. (A diagram's drawing is drawn in its frame's place instead.)
class GraphicCopies {
public:
    GraphicCopies(SweptDeck& deck, std::set<std::string>& used) : deck_(deck), used_(used) {}

    // The slide's relationships for a state: each graphic with hidden parts
    // points at its copy.
    std::string relsFor(const std::string& slideFile, std::string_view slideXml, const std::string& rels,
                        const std::vector<PlayoutTarget>& hidden) {
        std::map<std::string, std::vector<GraphicPart>> parts;
        for (const auto& t : hidden) {
            if (t.graphic) parts[t.shapeId].push_back(*t.graphic);
        }
        std::vector<Edit> edits;
        const auto spans = elementSpans(rels);
        for (const auto& [shape, shapeParts] : parts) {
            const auto found = GraphicBuild::locate(deck_.deck(), slideFile, slideXml, shape);
            const auto* source = std::get_if<GraphicBuild::Source>(&found);
            // Not found: shown whole, the plan has said why. A diagram: drawn by DiagramShapes.
            if (!source || source->kind != GraphicBuild::Source::Kind::chart) continue;
            const std::string copy = copyOf(*source, shapeParts);
            for (const auto& r : spans) {
                if (r.name != "Relationship" || attributeOf(rels, r, "Id") != source->relationshipId) continue;
                const std::string target = attributeOf(rels, r, "Target").value_or("");
                const std::string tag = rels.substr(r.begin, r.tagEnd - r.begin);
                edits.push_back({r.begin, r.tagEnd,
                                 XmlSpans::withAttribute(tag, "Target",
                                                         target.substr(0, target.rfind('/') + 1) +
                                                             copy.substr(copy.rfind('/') + 1))});
            }
        }
        return XmlSpans::applied(rels, std::move(edits));
    }

    std::vector<std::pair<std::string, Bytes>> added;
    std::vector<std::pair<std::string, std::string>> partOf;  // copy -> the part it copies

private:
    std::string copyOf(const GraphicBuild::Source& source, std::vector<GraphicPart> parts) {
        std::sort(parts.begin(), parts.end());
        auto [it, isNew] = copies_.try_emplace({source.part, parts});
        if (!isNew) return it->second;
        const std::string content = GraphicBuild::chartInState(deck_.text(source.part), parts);
        std::string stem = source.part.substr(0, source.part.rfind('.'));
        while (!stem.empty() && std::isdigit(static_cast<unsigned char>(stem.back()))) stem.pop_back();
        it->second = freshName(used_, stem, ".xml", 1);
        added.emplace_back(it->second, toBytes(content));
        // Its relationships are relative to the same folder: they carry over.
        if (const auto rels = Relationships::relsPath(source.part); deck_.contains(rels)) {
            added.emplace_back(Relationships::relsPath(it->second), deck_.bytes(rels));
        }
        partOf.emplace_back(it->second, source.part);
        return it->second;
    }

    SweptDeck& deck_;
    std::set<std::string>& used_;
    std::map<std::pair<std::string, std::vector<GraphicPart>>, std::string> copies_;
};

// The slide's diagrams that are drawn from their saved shapes, whole; the
// drawings as the sweep leaves them.
class SlideDiagrams {
public:
    SlideDiagrams(SweptDeck& deck, const RenderSlide& slide, std::string_view slideXml) : file_(slide.file) {
        for (const auto& id : slide.drawnDiagrams) {
            const auto found = GraphicBuild::locate(deck.deck(), slide.file, slideXml, id);
            const auto* source = std::get_if<GraphicBuild::Source>(&found);
            if (!source) continue;
            const std::string rels = Relationships::relsPath(source->part);
            std::vector<Relationship> relationships;
            try {
                if (deck.contains(rels)) relationships = Relationships::parse(deck.text(rels));
            } catch (const XmlParseError&) {
                // Unreadable relationships: its pictures are drawn as missing ones.
            }
            whole_.push_back({id, source->part, deck.text(source->part), std::move(relationships)});
            data_.push_back(deck.text(source->dataPart));
        }
    }

    bool empty() const { return whole_.empty(); }

    // The slide of a state: each diagram without the elements the state hides.
    DiagramShapes::Slide inState(std::string_view stateXml, std::string_view rels,
                                 const std::vector<PlayoutTarget>& hidden) const {
        auto diagrams = whole_;
        for (std::size_t k = 0; k < diagrams.size(); ++k) {
            std::vector<GraphicPart> parts;
            for (const auto& t : hidden) {
                if (t.graphic && t.shapeId == diagrams[k].frameId) parts.push_back(*t.graphic);
            }
            if (!parts.empty()) {
                diagrams[k].drawingXml = GraphicBuild::drawingInState(diagrams[k].drawingXml, data_[k], parts);
            }
        }
        return DiagramShapes::drawn(stateXml, rels, file_, diagrams);
    }

private:
    std::string file_;
    std::vector<DiagramShapes::Diagram> whole_;
    std::vector<std::string> data_;
};

// The content types listed for the copies: those of the parts they copy.
std::string copiedContentTypes(const std::string& types,
                               const std::vector<std::pair<std::string, std::string>>& partOf) {
    std::map<std::string, std::string> contentTypes;
    for (const auto& s : elementSpans(types)) {
        if (s.name != "Override") continue;
        const auto part = attributeOf(types, s, "PartName");
        const auto type = attributeOf(types, s, "ContentType");
        if (part && type) contentTypes[*part] = *type;
    }
    std::string out;
    for (const auto& [copy, original] : partOf) {
        if (const auto it = contentTypes.find("/" + original); it != contentTypes.end()) {
            out += "<Override PartName=\"/" + copy + "\" ContentType=\"" + it->second + "\"/>";
        }
    }
    return out;
}

// The slide with its slide-number fields made plain runs of `number`:
// LibreOffice numbers a storyboard's slides by their place in it, which is
// not the slide's place in the deck once a slide has several states or the
// storyboard lists only some of its pages.
std::string withSlideNumber(std::string_view xml, std::int64_t number) {
    if (xml.find("slidenum") == std::string_view::npos) return std::string(xml);
    const auto spans = elementSpans(xml);
    std::vector<Edit> edits;
    for (std::size_t k = 0; k < spans.size(); ++k) {
        if (spans[k].name != "a:fld" || attributeOf(xml, spans[k], "type") != "slidenum") continue;
        std::string run = "<a:r>";
        if (const auto rPr = XmlSpans::firstChild(spans, static_cast<int>(k), "a:rPr")) {
            const Span& props = spans[static_cast<std::size_t>(*rPr)];
            run += xml.substr(props.begin, props.end - props.begin);
        }
        edits.push_back({spans[k].begin, spans[k].end, run + "<a:t>" + formatInt(number) + "</a:t></a:r>"});
    }
    return XmlSpans::applied(xml, std::move(edits));
}

// The number the deck's first slide shows (presentation.xml's firstSlideNum,
// 1 when it says none or one out of PowerPoint's range).
std::int64_t firstSlideNumber(std::string_view presentation) {
    const auto spans = elementSpans(presentation);
    if (spans.empty()) return 1;
    const auto first = XmlSpans::integerAttribute(presentation, spans.front(), "firstSlideNum").value_or(1);
    return first >= 0 && first <= 9999 ? first : 1;
}

// The hidden targets with `more` as well, sorted, without duplicates.
std::vector<PlayoutTarget> withTargets(std::vector<PlayoutTarget> hidden, const std::vector<PlayoutTarget>& more) {
    hidden.insert(hidden.end(), more.begin(), more.end());
    std::sort(hidden.begin(), hidden.end());
    hidden.erase(std::unique(hidden.begin(), hidden.end()), hidden.end());
    return hidden;
}

// The states with the shapes `ids` hidden in each as well.
std::vector<PlayoutState> withoutShapes(std::vector<PlayoutState> states, const std::vector<std::string>& ids) {
    std::vector<PlayoutTarget> shapes;
    for (const auto& id : ids) shapes.push_back({id, std::nullopt});
    for (auto& state : states) state.hidden = withTargets(std::move(state.hidden), shapes);
    return states;
}

}  // namespace

Layout layout(const RenderPlan& plan, bool steps, const std::map<std::string, DrawnEffect>& transitions,
              const std::map<std::int64_t, std::vector<std::string>>& drawnGifs) {
    Layout out;
    for (const auto& slide : plan.slides) {
        const int firstPage = static_cast<int>(out.pages.size()) + 1;
        out.pages.push_back({slide.displayIndex, {}});
        if (slide.hidden) continue;
        const std::size_t firstShot = out.shots.size();
        std::vector<PlayoutState> withoutGifs;
        const auto gifs = drawnGifs.find(slide.displayIndex);
        if (gifs != drawnGifs.end()) withoutGifs = withoutShapes(slide.playout.states, gifs->second);
        const auto& states = gifs == drawnGifs.end() ? slide.playout.states : withoutGifs;
        if (!steps || states.empty()) {
            if (slide.advanceTimeMs > 0) out.shots.push_back({firstPage, slide.advanceTimeMs});
        } else {
            out.pages.back().hidden = states.front().hidden;
            out.pages.back().held = states.front().held;
            using Look = std::pair<std::vector<PlayoutTarget>, std::vector<HeldChange>>;
            std::map<Look, int> pageOf{{{states.front().hidden, states.front().held}, firstPage}};
            // The page that shows a look, shared by the states that look alike.
            const auto pageFor = [&](Look look) {
                const auto [it, isNew] = pageOf.try_emplace(look, static_cast<int>(out.pages.size()) + 1);
                if (isNew) out.pages.push_back({slide.displayIndex, std::move(look.first), std::move(look.second)});
                return it->second;
            };
            const auto& playout = slide.playout;
            for (std::size_t k = 0; k < states.size() && states[k].startMs < slide.advanceTimeMs; ++k) {
                const std::int64_t end = k + 1 < states.size() ? std::min(states[k + 1].startMs, slide.advanceTimeMs)
                                                               : slide.advanceTimeMs;
                const int page = pageFor({states[k].hidden, states[k].held});
                const DrawnEffect effect = k < playout.effects.size() ? playout.effects[k] : DrawnEffect{};
                Shot shot{page, end - states[k].startMs, effect};
                const bool lifted = effect.role == DrawnEffect::Role::emphasis ||
                                    effect.role == DrawnEffect::Role::path;
                if (lifted && k > 0 && k < playout.effectTargets.size() && !playout.effectTargets[k].empty()) {
                    shot.withoutPage = pageFor(
                        {withTargets(states[k - 1].hidden, playout.effectTargets[k]), states[k - 1].held});
                }
                out.shots.push_back(shot);
            }
        }
        if (firstShot < out.shots.size()) {
            Shot& opening = out.shots[firstShot];
            opening.opensSlide = true;
            const auto own = transitions.find(slide.file);
            if (firstShot > 0 && own != transitions.end()) opening.effect = own->second;
        }
    }
    return out;
}

std::string slideInState(std::string_view slideXmlAsSaved, const std::vector<PlayoutTarget>& hidden,
                         const std::vector<HeldChange>& held, const HeldShapes::Context& context,
                         std::optional<std::int64_t> slideNumber) {
    // Numbered first, so that a held style or a hidden paragraph takes the frozen run as it took the field.
    const std::string numbered = slideNumber ? withSlideNumber(slideXmlAsSaved, *slideNumber) : std::string();
    const std::string_view saved = slideNumber ? std::string_view(numbered) : slideXmlAsSaved;
    // Drawn first: hiding a paragraph then clears whatever colour its runs got.
    const std::string withHeld = held.empty() ? std::string() : HeldShapes::drawn(saved, held, context);
    const std::string_view slideXml = held.empty() ? saved : std::string_view(withHeld);
    std::set<std::string> shapes;
    std::map<std::string, std::set<std::int64_t>> paragraphs;
    for (const auto& t : hidden) {
        if (t.graphic) continue;  // drawn by the graphic's own copy
        if (t.paragraph) {
            paragraphs[t.shapeId].insert(*t.paragraph);
        } else {
            shapes.insert(t.shapeId);
        }
    }
    std::vector<Edit> edits;
    const auto spans = elementSpans(slideXml);
    const auto at = [&](int i) -> const Span& { return spans[static_cast<std::size_t>(i)]; };
    for (std::size_t k = 0; k < spans.size(); ++k) {
        // Nothing animates or advances in a storyboard: its slides are stills.
        if (spans[k].parent == 0 && (spans[k].name == "p:timing" || spans[k].name == "p:transition" ||
                                     (spans[k].name == "mc:AlternateContent" && animates(slideXml, spans[k])))) {
            edits.push_back({spans[k].begin, spans[k].end, ""});
        }
        if (spans[k].name != "p:cNvPr" || spans[k].parent < 0 || at(spans[k].parent).parent < 0) continue;
        const int shapeIndex = at(spans[k].parent).parent;
        if (!isShape(at(shapeIndex).name)) continue;
        const std::string id = attributeOf(slideXml, spans[k], "id").value_or("");
        if (shapes.contains(id)) {
            edits.push_back({at(shapeIndex).begin, at(shapeIndex).end, ""});
        } else if (const auto wanted = paragraphs.find(id); wanted != paragraphs.end()) {
            hideParagraphs(slideXml, spans, shapeIndex, wanted->second, edits);
        }
    }
    // An edit inside a removed shape is dropped.
    return XmlSpans::applied(slideXml, std::move(edits));
}

void write(DeckModel& preparedDeck, const RenderPlan& plan, const Layout& layout, const std::filesystem::path& out,
           const LinkSweep::Sweep& sweep) {
    SweptDeck deck(preparedDeck, sweep);
    const auto names = preparedDeck.archive().entryNames();
    std::set<std::string> used(names.begin(), names.end());
    for (const auto& [part, bytes] : sweep.added) used.insert(part);
    std::map<std::int64_t, std::vector<const Page*>> pagesOf;
    for (const auto& page : layout.pages) pagesOf[page.displayIndex].push_back(&page);

    std::map<std::string, Bytes> replaced;
    std::vector<std::pair<std::string, Bytes>> added;
    std::vector<std::pair<std::string, std::vector<std::string>>> copies;  // slide part -> its copies, in order
    GraphicCopies graphics(deck, used);
    const std::int64_t firstNumber = firstSlideNumber(deck.text("ppt/presentation.xml"));
    for (const auto& slide : plan.slides) {
        const auto& pages = pagesOf[slide.displayIndex];
        if (pages.empty()) continue;
        const std::string xml = deck.text(slide.file);
        const std::string relsPart = Relationships::relsPath(slide.file);
        // A slide without relationships: its copies have none either.
        const std::string ownRels = deck.contains(relsPart) ? deck.text(relsPart) : "";
        const SlideDiagrams diagrams(deck, slide, xml);
        HeldShapes::Context context{plan.slideWidthEmu, plan.slideHeightEmu, {}};
        if (std::any_of(pages.begin(), pages.end(), [](const Page* p) { return !p->held.empty(); })) {
            const std::string layoutPart = deck.related(slide.file, "slideLayout");
            const std::string masterPart = layoutPart.empty() ? "" : deck.related(layoutPart, "slideMaster");
            const std::string layoutXml = layoutPart.empty() ? "" : deck.textOrEmpty(layoutPart);
            const std::string masterXml = masterPart.empty() ? "" : deck.textOrEmpty(masterPart);
            context = HeldShapes::contextOf(xml, layoutXml, masterXml, plan.slideWidthEmu, plan.slideHeightEmu);
        }
        // The slide and its relationships in one state.
        const auto inState = [&](const std::string& rels, const Page& page) {
            const auto& hidden = page.hidden;
            DiagramShapes::Slide out{slideInState(xml, hidden, page.held, context,
                                                  slide.displayIndex + firstNumber - 1),
                                     rels.empty() ? "" : graphics.relsFor(slide.file, xml, rels, hidden)};
            return diagrams.empty() ? out : diagrams.inState(out.xml, out.rels, hidden);
        };
        const auto first = inState(ownRels, *pages.front());
        replaced[slide.file] = toBytes(first.xml);
        if (first.rels != ownRels) replaced[relsPart] = toBytes(first.rels);
        if (pages.size() == 1) continue;
        const std::string rels = ownRels.empty() ? "" : withoutNotes(ownRels);
        const std::string folder = slide.file.substr(0, slide.file.rfind('/') + 1);
        copies.push_back({slide.file, {}});
        for (std::size_t k = 1; k < pages.size(); ++k) {
            const std::string part = freshName(used, folder + "slide", ".xml", 1);
            const auto state = inState(rels, *pages[k]);
            added.emplace_back(part, toBytes(state.xml));
            if (!rels.empty()) added.emplace_back(Relationships::relsPath(part), toBytes(state.rels));
            copies.back().second.push_back(part);
        }
    }
    for (auto& entry : graphics.added) added.push_back(std::move(entry));
    if (!copies.empty() || !graphics.partOf.empty()) {
        PresentationParts parts{deck.text("ppt/presentation.xml"), deck.text("ppt/_rels/presentation.xml.rels"),
                                deck.text("[Content_Types].xml")};
        const std::string graphicTypes = copiedContentTypes(parts.types, graphics.partOf);
        listCopies(parts, copies);
        parts.types.insert(parts.types.rfind("</Types>"), graphicTypes);
        replaced["ppt/presentation.xml"] = toBytes(parts.presentation);
        replaced["ppt/_rels/presentation.xml.rels"] = toBytes(parts.rels);
        replaced["[Content_Types].xml"] = toBytes(parts.types);
    }

    for (const auto& [part, bytes] : sweep.replaced) replaced.try_emplace(part, bytes);
    added.insert(added.end(), sweep.added.begin(), sweep.added.end());
    // The untouched entries, media included, are copied as they lie in the file.
    ZipArchive::rewrite(preparedDeck.archive(), replaced, out, added);
}

}  // namespace orvandel::Storyboard
