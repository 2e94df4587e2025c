#include "plan/PlayoutTimeline.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <tuple>

#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"
#include "deck/TimingTree.hpp"
#include "plan/EffectBehaviours.hpp"
#include "plan/MotionPath.hpp"

namespace orvandel::PlayoutTimeline {

namespace {

using TimingTree::firstChild;

// Times come from the file: sums saturate instead of aborting, and a time at
// kNever is one that never comes.
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
// A chain of references deeper than this is treated as never resolving (it
// keeps a hostile file from exhausting the stack).
constexpr int kMaxDepth = 500;
// A paragraph range is followed for at most this many paragraphs.
constexpr std::int64_t kMaxParagraphs = 1000;

std::int64_t plus(std::int64_t a, std::int64_t b) {
    if (a == kNever || b == kNever) return kNever;
    std::int64_t r;
    if (__builtin_add_overflow(a, b, &r)) return b > 0 ? kNever : std::numeric_limits<std::int64_t>::min();
    return r;
}

std::string textOf(const XmlElement& element) {
    std::string text;
    element.visitChildren([&](XmlElement::NodeKind kind, const XmlElement&, std::string_view t) {
        if (kind == XmlElement::NodeKind::text) text.append(t);
    });
    return text;
}

std::int64_t intAttribute(const XmlElement& element, std::string_view name, std::int64_t fallback) {
    const auto text = element.attribute(name);
    const auto value = text ? parseInt64(*text) : std::nullopt;
    return value.value_or(fallback);
}

struct Condition {
    enum class Kind { afterParent, onBegin, onEnd } kind;
    std::string node;  // the referenced id (onBegin, onEnd)
    std::int64_t delayMs = 0;
};

// A shape, a paragraph, a part of a graphic, or a part of a shape
// (characters, a graphic shown whole) that stands for the whole shape.
struct Target {
    PlayoutTarget target;
    bool part = false;
};

// What an effect or a p:set does to the visibility of its targets, and
// whether it does so when it ends (an exit) rather than when it begins.
struct Visibility {
    std::vector<Target> targets;
    bool visible = false;
    bool atEnd = false;
    DrawnEffect drawn{};  // an effect's; a plain p:set's is a cut
};

struct Node {
    XmlElement cTn;
    int parent = -1;
    int previous = -1;  // the sibling before it, when the parent is a sequence
    bool inSequence = false;
    int conditionCount = 0;             // the p:cond elements of its p:stCondLst
    std::vector<Condition> conditions;  // those that can resolve without a click
    // An effect timed within its group: it follows the effects before it.
    bool chained = false;
    bool afterPrevious = false;
    std::int64_t effectDurationMs = 0;
    // A click group whose first effect is an exit made to follow the one
    // before: it starts with the group before it, its delay counted from there.
    bool withPreviousGroup = false;
    std::optional<std::int64_t> durMs;  // kNever for "indefinite"
    std::vector<int> children;
    std::vector<Target> targets;  // a behaviour's
    std::optional<Visibility> visibility;
    std::optional<std::string> playsShape;
    // An effect of a drawn class (entr, exit, emph, path): how it is drawn,
    // and the targets of the behaviours below it.
    std::optional<DrawnEffect> effect;
    std::vector<Target> effectTargets;
    // Memos, absent until computed; busy while being computed (a cycle).
    std::optional<std::int64_t> begin, end;
    bool beginBusy = false, endBusy = false;
};

// The p:cTn of a time element: its own for containers, the behaviour's for
// animations and commands, the media node's for audio and video.
std::optional<XmlElement> timeNodeOf(const XmlElement& element) {
    const std::string name = element.name();
    if (name == "p:par" || name == "p:seq" || name == "p:excl") return firstChild(element, "p:cTn");
    if (name == "p:audio" || name == "p:video") {
        const auto media = firstChild(element, "p:cMediaNode");
        return media ? firstChild(*media, "p:cTn") : std::nullopt;
    }
    const auto behaviour = firstChild(element, "p:cBhvr");
    return behaviour ? firstChild(*behaviour, "p:cTn") : std::nullopt;
}

std::vector<Condition> conditionsOf(const XmlElement& cTn, int& count) {
    std::vector<Condition> out;
    const auto list = firstChild(cTn, "p:stCondLst");
    if (!list) return out;
    for (const auto& cond : list->childElements("p:cond")) {
        ++count;
        const auto delayText = cond.attribute("delay");
        if (delayText == "indefinite") continue;  // waits for the user
        const std::int64_t delay = delayText ? parseInt64(*delayText).value_or(0) : 0;
        const std::string evt = cond.attribute("evt").value_or("");
        const auto tn = firstChild(cond, "p:tn");
        const std::string ref = tn ? tn->attribute("val").value_or("") : "";
        if (evt.empty()) {
            if (!tn && !firstChild(cond, "p:rtn") && !firstChild(cond, "p:tgtEl")) {
                out.push_back({Condition::Kind::afterParent, "", delay});
            }
        } else if ((evt == "onBegin" || evt == "begin") && !ref.empty()) {
            out.push_back({Condition::Kind::onBegin, ref, delay});
        } else if ((evt == "onEnd" || evt == "end") && !ref.empty()) {
            out.push_back({Condition::Kind::onEnd, ref, delay});
        }
        // Clicks, "next", "prev", mouse and media events never come.
    }
    return out;
}

// The part of a graphic a p:spTgt names, when it is one a build shows alone.
std::optional<GraphicPart> graphicPartOf(const XmlElement& element) {
    using Kind = GraphicPart::Kind;
    if (element.name() == "p:oleChartEl") return GraphicPart{Kind::oleChartElement, 0, 0, {}};
    if (element.name() != "p:graphicEl") return std::nullopt;
    if (const auto diagram = firstChild(element, "a:dgm")) {
        const auto id = diagram->attribute("id");
        return id ? std::optional(GraphicPart{Kind::diagramElement, 0, 0, *id}) : std::nullopt;
    }
    const auto chart = firstChild(element, "a:chart");
    if (!chart) return std::nullopt;
    const std::string step = chart->attribute("bldStep").value_or("");
    const std::int64_t series = intAttribute(*chart, "seriesIdx", -1),
                       category = intAttribute(*chart, "categoryIdx", -1);
    if (step == "gridLegend") return GraphicPart{Kind::chartBackground, 0, 0, {}};
    if (step == "allPts") return GraphicPart{Kind::chartData, 0, 0, {}};
    if (step == "series" && series >= 0) return GraphicPart{Kind::chartSeries, series, 0, {}};
    if (step == "category" && category >= 0) return GraphicPart{Kind::chartCategory, 0, category, {}};
    if ((step == "ptInSeries" || step == "ptInCategory") && series >= 0 && category >= 0) {
        return GraphicPart{Kind::chartPoint, series, category, {}};
    }
    return std::nullopt;
}

std::vector<Target> targetsOf(const XmlElement& behaviour, const std::set<std::string>& shownWhole) {
    std::vector<Target> out;
    const auto tgtEl = firstChild(behaviour, "p:tgtEl");
    const auto spTgt = tgtEl ? firstChild(*tgtEl, "p:spTgt") : std::nullopt;
    const auto spid = spTgt ? spTgt->attribute("spid") : std::nullopt;
    if (!spid) return out;
    const auto parts = spTgt->childElements();
    const auto range = !parts.empty() && parts.front().name() == "p:txEl" ? firstChild(parts.front(), "p:pRg")
                                                                          : std::nullopt;
    if (range) {
        const std::int64_t first = std::max<std::int64_t>(0, intAttribute(*range, "st", 0));
        const std::int64_t last = std::min(intAttribute(*range, "end", first), plus(first, kMaxParagraphs - 1));
        for (std::int64_t p = first; p <= last; ++p) out.push_back(Target{PlayoutTarget{*spid, p}, false});
    } else {
        // The background of a shape is the shape; a graphic's part is its
        // own target unless the caller wants the graphic whole; anything
        // finer is a part.
        Target whole;
        whole.target.shapeId = *spid;
        if (!parts.empty() && parts.front().name() != "p:bg") {
            whole.target.graphic = shownWhole.contains(*spid) ? std::nullopt : graphicPartOf(parts.front());
            whole.part = !whole.target.graphic;
        }
        out.push_back(std::move(whole));
    }
    return out;
}

// A p:set of style.visibility to "visible" or "hidden".
std::optional<bool> setsVisibility(const XmlElement& set, const XmlElement& behaviour) {
    const auto names = firstChild(behaviour, "p:attrNameLst");
    const auto attr = names ? firstChild(*names, "p:attrName") : std::nullopt;
    const auto to = firstChild(set, "p:to");
    const auto value = to ? firstChild(*to, "p:strVal") : std::nullopt;
    const auto val = value ? value->attribute("val") : std::nullopt;
    if (!attr || textOf(*attr) != "style.visibility" || (val != "visible" && val != "hidden")) return std::nullopt;
    return val == "visible";
}

// What a behaviour does that the play-out follows: its targets, a visibility
// change, a play command.
void readBehaviour(const XmlElement& element, Node& node, const std::set<std::string>& shownWhole) {
    const auto behaviour = firstChild(element, "p:cBhvr");
    if (!behaviour) return;
    node.targets = targetsOf(*behaviour, shownWhole);
    if (node.targets.empty()) return;
    const std::string name = element.name();
    if (name == "p:set") {
        if (const auto visible = setsVisibility(element, *behaviour))
            node.visibility = Visibility{node.targets, *visible};
    } else if (name == "p:cmd" && element.attribute("type") == "call") {
        const std::string command = element.attribute("cmd").value_or("");
        if (command == "play" || command.starts_with("playFrom")) node.playsShape = node.targets.front().target.shapeId;
    }
}

class Graph {
public:
    Graph(const XmlElement& timing, const std::set<std::string>& shownWhole, const EffectBehaviours::TargetText& textOf)
        : shownWhole_(shownWhole), textOf_(textOf) {
        const auto list = firstChild(timing, "p:tnLst");
        if (!list) return;
        int previous = -1;
        for (const auto& element : list->childElements()) previous = add(element, -1, false, previous);
    }

    const std::vector<Node>& nodes() const { return nodes_; }

    std::optional<std::int64_t> begin(int i, int depth = 0) {
        Node& n = nodes_[static_cast<std::size_t>(i)];
        if (n.begin) return *n.begin == kNever ? std::nullopt : n.begin;
        if (n.beginBusy || depth > kMaxDepth) return std::nullopt;
        n.beginBusy = true;
        const std::int64_t t = computeBegin(n, i, depth + 1);
        n.beginBusy = false;
        n.begin = t;
        return t == kNever ? std::nullopt : std::optional(t);
    }

    // kNever when the node never starts or never ends.
    std::int64_t end(int i, int depth = 0) {
        Node& n = nodes_[static_cast<std::size_t>(i)];
        if (n.end) return *n.end;
        if (n.endBusy || depth > kMaxDepth) return kNever;
        n.endBusy = true;
        const std::int64_t t = computeEnd(i, depth + 1);
        n.endBusy = false;
        n.end = t;
        return t;
    }

private:
    // Adds the time element and everything below it; returns its index, or
    // `previous` when it has no time node.
    int add(const XmlElement& element, int parent, bool inSequence, int previous) {
        const auto cTn = timeNodeOf(element);
        if (!cTn) return previous;
        const int index = static_cast<int>(nodes_.size());
        Node node;
        node.cTn = *cTn;
        node.parent = parent;
        node.inSequence = inSequence;
        node.previous = inSequence ? previous : -1;
        node.conditions = conditionsOf(*cTn, node.conditionCount);
        const std::string nodeType = cTn->attribute("nodeType").value_or("");
        // An effect (it has a preset class; containers may carry a nodeType
        // too) with one plain delay; a click or another event leaves it to the
        // general rules, and so waiting.
        node.chained = !inSequence && cTn->attribute("presetClass") &&
                       (nodeType == "clickEffect" || nodeType == "withEffect" || nodeType == "afterEffect") &&
                       node.conditionCount <= 1 && node.conditions.size() == std::size_t(node.conditionCount) &&
                       (node.conditions.empty() || node.conditions.front().kind == Condition::Kind::afterParent);
        if (node.chained) {
            node.afterPrevious = nodeType == "afterEffect";
            node.effectDurationMs = TimingTree::effectDurationMs(*cTn);
        }
        if (const auto dur = cTn->attribute("dur")) {
            node.durMs = *dur == "indefinite" ? std::optional(kNever) : parseInt64(*dur);
        }
        readBehaviour(element, node, shownWhole_);
        if (const auto id = cTn->attribute("id")) ids_.try_emplace(*id, index);
        nodes_.push_back(std::move(node));
        if (parent >= 0) nodes_[static_cast<std::size_t>(parent)].children.push_back(index);

        const bool sequence = element.name() == "p:seq";
        int last = -1;
        for (const char* listName : {"p:childTnLst", "p:subTnLst"}) {
            const auto list = firstChild(*cTn, listName);
            if (!list) continue;
            for (const auto& child : list->childElements()) last = add(child, index, sequence, last);
        }
        // The conversion of click-started exits leaves each exit in a group
        // that still waits for a click, headed by an afterEffect whose delay
        // (500, 2000, 3500...) counts from the start of the main sequence, as
        // the advance time and the cues count it: a slideshow plays such an
        // effect by itself.
        if (inSequence && node.conditionCount >= 1 && nodes_[std::size_t(index)].conditions.empty()) {
            const auto head = std::find_if(nodes_.begin() + index + 1, nodes_.end(),
                                           [](const Node& n) { return n.chained; });
            nodes_[std::size_t(index)].withPreviousGroup = head != nodes_.end() && head->afterPrevious &&
                                                           head->cTn.attribute("presetClass") == "exit";
        }
        // An entrance shows its targets when it begins, an exit hides them
        // when it ends, whatever its behaviours do on the way; the nodes
        // below it are the ones added since.
        const auto presetClass = cTn->attribute("presetClass");
        const bool shows = presetClass == "entr" || presetClass == "exit";
        if (shows || presetClass == "emph" || presetClass == "path") {
            DrawnEffect drawn = EffectBehaviours::read(*cTn, textOf_);
            std::vector<Target> targets;
            for (std::size_t below = std::size_t(index) + 1; below < nodes_.size(); ++below) {
                for (const auto& target : nodes_[below].targets) {
                    const auto same = [&](const Target& t) { return t.target == target.target; };
                    if (std::none_of(targets.begin(), targets.end(), same)) targets.push_back(target);
                }
                if (shows) nodes_[below].visibility.reset();
            }
            Node& effect = nodes_[std::size_t(index)];
            if (shows && !targets.empty())
                effect.visibility = Visibility{targets, presetClass == "entr", presetClass == "exit", drawn};
            effect.effect = std::move(drawn);
            effect.effectTargets = std::move(targets);
        }
        return index;
    }

    // The nodes are all added before any time is computed, so references into
    // nodes_ stay valid while the memos fill in.
    std::int64_t computeBegin(const Node& n, int index, int depth) {
        if (n.chained && n.parent >= 0) return chainedBegin(n.parent, index, depth);
        std::int64_t parentBegin = 0;
        if (n.parent >= 0) {
            const auto b = begin(n.parent, depth);
            if (!b) return kNever;
            parentBegin = *b;
        }
        if (n.withPreviousGroup) {
            if (n.previous < 0) return parentBegin;
            const auto b = begin(n.previous, depth);
            return b ? *b : kNever;
        }
        // In a sequence a node follows the one before it; elsewhere its parent.
        const std::int64_t base = n.inSequence && n.previous >= 0 ? end(n.previous, depth) : parentBegin;
        if (n.conditionCount == 0) return base;
        std::int64_t best = kNever;
        for (const auto& c : n.conditions) {
            std::int64_t t = kNever;
            if (c.kind == Condition::Kind::afterParent) {
                t = plus(base, c.delayMs);
            } else if (const auto it = ids_.find(c.node); it != ids_.end()) {
                const auto at = c.kind == Condition::Kind::onBegin ? begin(it->second, depth) : end(it->second, depth);
                if (at && *at != kNever) t = plus(*at, c.delayMs);
            }
            best = std::min(best, t);
        }
        return best == kNever ? kNever : std::max(best, parentBegin);
    }

    // The effects of a group one after the other, as the timing rewrite lays
    // them out: an afterEffect starts when the effect before it has ended,
    // any other where the effect before it started; then its own delay. The
    // begins of the other effects of the group are kept as well.
    std::int64_t chainedBegin(int parent, int wanted, int depth) {
        const auto groupBegin = begin(parent, depth);
        if (!groupBegin) return kNever;
        std::int64_t base = *groupBegin, previousEnd = *groupBegin, result = kNever;
        for (int child : nodes_[static_cast<std::size_t>(parent)].children) {
            Node& effect = nodes_[static_cast<std::size_t>(child)];
            if (!effect.chained) continue;
            if (effect.afterPrevious) base = previousEnd;
            base = plus(base, effect.conditions.empty() ? 0 : effect.conditions.front().delayMs);
            previousEnd = plus(base, effect.effectDurationMs);
            if (child == wanted) {
                result = base;
            } else if (!effect.begin && !effect.beginBusy) {
                effect.begin = base;
            }
        }
        return result;
    }

    std::int64_t computeEnd(int i, int depth) {
        const auto b = begin(i, depth);
        if (!b) return kNever;
        const Node& n = nodes_[static_cast<std::size_t>(i)];
        if (n.durMs) return plus(*b, *n.durMs);
        std::int64_t e = *b;
        for (int child : n.children) {
            if (begin(child, depth)) e = std::max(e, end(child, depth));
        }
        return e;
    }

    const std::set<std::string>& shownWhole_;
    const EffectBehaviours::TargetText& textOf_;
    std::vector<Node> nodes_;
    std::map<std::string, int> ids_;  // the first node with each id
};

// The text of a shape, or of one paragraph of its text body, read from the
// slide's shape tree (parsed once, when an effect first asks).
EffectBehaviours::TargetText shapeTexts(std::string_view slideXml) {
    auto tree = std::make_shared<std::optional<std::optional<XmlElement>>>();
    return [slideXml, tree](const std::string& shapeId, std::optional<std::int64_t> paragraph) -> std::string {
        if (!*tree) *tree = SlideXML::parseElement(slideXml, "p:spTree");
        if (!**tree) return {};
        std::optional<XmlElement> shape;
        (***tree).walk([&](const XmlElement& e) {
            if (!shape && e.name() == "p:cNvPr" && e.attribute("id") == shapeId) {
                const auto nv = e.parent();
                if (nv) shape = nv.parent();
            }
        });
        if (!shape || !*shape) return {};
        std::vector<XmlElement> paragraphs;
        if (paragraph) {
            const auto body = firstChild(*shape, "p:txBody");
            if (!body) return {};
            const auto all = body->childElements("a:p");
            if (*paragraph < 0 || *paragraph >= std::int64_t(all.size())) return {};
            paragraphs.push_back(all[std::size_t(*paragraph)]);
        } else {
            shape->walk([&](const XmlElement& e) {
                if (e.name() == "a:p") paragraphs.push_back(e);
            });
        }
        std::string text;
        for (const auto& p : paragraphs) {
            if (!text.empty()) text += '\n';
            p.walk([&](const XmlElement& e) {
                if (e.name() == "a:t") text += textOf(e);
                if (e.name() == "a:br") text += '\n';
            });
        }
        return text;
    };
}

constexpr std::int64_t kFull = 100000;
constexpr std::int64_t kLargest = std::int64_t(1) << 40;  // bounds what held changes add up to
constexpr std::int64_t kLargestScale = 10000 * kFull;

std::int64_t boundedSum(std::int64_t a, std::int64_t b) { return std::clamp(a + b, -kLargest, kLargest); }

// What an emphasis or a motion path that holds leaves on a target; false
// when it leaves nothing (it returns to the start, or does not hold).
bool applyHeld(const DrawnEffect& effect, HeldChange& held) {
    if (effect.fallback) return false;
    bool changed = false;
    for (const auto& b : effect.behaviours) {
        if (!b.holds || b.timing.autoReverse) continue;
        using Kind = EffectBehaviour::Kind;
        switch (b.kind) {
            case Kind::scale:
                // Relative to the size it started from: two grows by 150% make 225%.
                // (Sizes stay within ten thousand times, so the product fits.)
                held.scaleX = std::clamp(b.fromX ? held.scaleX * b.toX / b.fromX : b.toX, -kLargestScale,
                                         kLargestScale);
                held.scaleY = std::clamp(b.fromY ? held.scaleY * b.toY / b.fromY : b.toY, -kLargestScale,
                                         kLargestScale);
                changed = true;
                break;
            case Kind::rotate:
                held.rotation = boundedSum(held.rotation, b.by);
                changed = true;
                break;
            case Kind::motion:
                if (const auto end = MotionPath::end(b.path)) {
                    const auto units = [](double v) {
                        return static_cast<std::int64_t>(std::llround(std::clamp(v, -1e6, 1e6) * kFull));
                    };
                    held.dx = boundedSum(held.dx, units(end->first));
                    held.dy = boundedSum(held.dy, units(end->second));
                    changed = true;
                }
                break;
            case Kind::value:
                if (b.property == "style.opacity" && !b.keys.empty()) {
                    const auto v = parseDouble(b.keys.back().value);
                    if (v && std::isfinite(*v)) {
                        held.opacity = std::llround(std::clamp(*v, 0.0, 1.0) * kFull);
                        changed = true;
                    }
                }
                break;
            case Kind::colour:
                if (b.colour.empty()) break;
                if (b.property == "style.color") {
                    held.textColour = b.colour;
                } else if (b.property == "stroke.color") {
                    held.lineColour = b.colour;
                } else {
                    held.fillColour = b.colour;
                }
                changed = true;
                break;
            case Kind::restyle: {
                if (b.keys.empty()) break;
                const std::string& v = b.keys.back().value;
                if (b.property == "style.fontWeight") {
                    held.bold = v == "bold";
                } else if (b.property == "style.fontStyle") {
                    held.italic = v == "italic";
                } else if (b.property == "style.textDecorationUnderline") {
                    held.underline = v == "true";
                } else if (b.property == "style.fontFamily") {
                    if (v.empty()) break;
                    held.typeface = v;
                } else {
                    const auto factor = parseDouble(v);
                    if (!factor || !std::isfinite(*factor) || *factor <= 0) break;
                    held.fontScale = std::clamp<std::int64_t>(
                        held.fontScale * std::llround(std::min(*factor, 100.0) * kFull) / kFull, 1, kLargestScale);
                }
                changed = true;
                break;
            }
            case Kind::reveal: break;
        }
    }
    return changed;
}

}  // namespace

SlidePlayout evaluate(std::string_view slideXml, const std::set<std::string>& shownWhole) {
    SlidePlayout out;
    out.states.push_back({});
    out.effects.push_back({});
    out.effectTargets.push_back({});
    const auto timing = SlideXML::parseElement(slideXml, "p:timing");
    if (!timing) return out;
    const auto texts = shapeTexts(slideXml);
    Graph graph(*timing, shownWhole, texts);

    struct Event {
        std::int64_t atMs;  // kNever: never happens
        std::size_t order;  // the node's index, in document order
        Target target;
        bool visible;
        DrawnEffect drawn;
        bool holds = false;  // an emphasis or a motion path ending: no visibility change
    };
    std::vector<Event> events;
    for (std::size_t i = 0; i < graph.nodes().size(); ++i) {
        const Node& node = graph.nodes()[i];
        const int index = static_cast<int>(i);
        if (node.visibility) {
            const std::int64_t at = node.visibility->atEnd ? graph.end(index) : graph.begin(index).value_or(kNever);
            for (const auto& target : node.visibility->targets)
                events.push_back({at, i, target, node.visibility->visible, node.visibility->drawn});
        } else if (node.playsShape) {
            if (const auto at = graph.begin(index)) out.media.push_back({*node.playsShape, *at});
        }
        // An emphasis or a motion path changes what it holds when its drawing
        // ends (repeats and reversals included), as an exit does.
        if (node.effect && !node.visibility && node.effect->drawnBeforeChange() &&
            node.effect->role != DrawnEffect::Role::exit) {
            if (const auto begin = graph.begin(index)) {
                const std::int64_t at = plus(*begin, node.effect->durationMs);
                for (const auto& target : node.effectTargets)
                    events.push_back({at, i, target, true, *node.effect, true});
            }
        }
    }
    std::stable_sort(out.media.begin(), out.media.end(),
                     [](const MediaStart& a, const MediaStart& b) { return a.startMs < b.startMs; });

    // A graphic built part by part appears with its first part and leaves
    // with its last, if every part leaves.
    std::map<std::string, std::int64_t> lastPartExit;
    for (const auto& e : events) {
        if (e.target.part && !e.visible && !e.holds) {
            auto [it, isNew] = lastPartExit.try_emplace(e.target.target.shapeId, e.atMs);
            if (!isNew) it->second = it->second == kNever || e.atMs == kNever ? kNever : std::max(it->second, e.atMs);
        }
    }
    std::erase_if(events, [&](const Event& e) {
        return e.target.part && !e.visible && !e.holds && e.atMs != lastPartExit[e.target.target.shapeId];
    });
    std::sort(events.begin(), events.end(),
              [](const Event& a, const Event& b) { return std::tie(a.atMs, a.order) < std::tie(b.atMs, b.order); });

    // A target whose first change shows it is hidden when the slide opens.
    std::set<PlayoutTarget> seen, hidden;
    for (const auto& e : events) {
        if (!e.holds && seen.insert(e.target.target).second && e.visible) hidden.insert(e.target.target);
    }
    std::map<PlayoutTarget, HeldChange> held;
    const auto heldNow = [&] {
        std::vector<HeldChange> now;
        for (const auto& [target, change] : held) {
            if (change != HeldChange{target}) now.push_back(change);
        }
        return now;
    };
    // The state each effect's change went into, and the effect each state is drawn with.
    std::map<std::size_t, std::size_t> stateOf;
    std::set<std::size_t> drawers;
    auto& states = out.states;
    states.front().hidden.assign(hidden.begin(), hidden.end());
    for (std::size_t i = 0; i < events.size() && events[i].atMs != kNever;) {
        const std::int64_t at = events[i].atMs;
        const std::size_t first = i;
        std::optional<std::size_t> drawer;
        bool forced = false;
        for (; i < events.size() && events[i].atMs == at; ++i) {
            const Event& e = events[i];
            if (!drawer && e.drawn.drawn()) drawer = i;
            if (e.holds) {
                forced = forced || e.drawn.drawn();
                auto [it, isNew] = held.try_emplace(e.target.target, HeldChange{e.target.target});
                applyHeld(e.drawn, it->second);
            } else if (e.visible) {
                hidden.erase(e.target.target);
            } else {
                hidden.insert(e.target.target);
            }
        }
        std::vector<PlayoutTarget> now(hidden.begin(), hidden.end());
        std::vector<HeldChange> nowHeld = heldNow();
        std::optional<std::size_t> into;
        if (at <= 0) {
            states.front().hidden = std::move(now);
            states.front().held = std::move(nowHeld);
            into = 0;
        } else if (now != states.back().hidden || nowHeld != states.back().held || forced) {
            states.push_back({at, std::move(now), std::move(nowHeld)});
            out.effects.push_back(drawer ? events[*drawer].drawn : DrawnEffect{});
            std::vector<PlayoutTarget> targets;
            if (drawer) {
                for (const auto& t : graph.nodes()[events[*drawer].order].effectTargets) targets.push_back(t.target);
                drawers.insert(events[*drawer].order);
            }
            out.effectTargets.push_back(std::move(targets));
            into = states.size() - 1;
        }
        if (into) {
            for (std::size_t k = first; k < i; ++k) stateOf.try_emplace(events[k].order, *into);
        }
    }

    for (std::size_t i = 0; i < graph.nodes().size(); ++i) {
        const Node& node = graph.nodes()[i];
        if (!node.effect || node.effect->presetClass.empty()) continue;
        const auto begin = graph.begin(static_cast<int>(i));
        if (!begin) continue;
        PlannedEffect planned{*begin, {}, *node.effect, std::nullopt, drawers.contains(i)};
        for (const auto& t : node.effectTargets) planned.targets.push_back(t.target);
        if (const auto it = stateOf.find(i); it != stateOf.end()) planned.state = it->second;
        out.planned.push_back(std::move(planned));
    }
    std::stable_sort(out.planned.begin(), out.planned.end(),
                     [](const PlannedEffect& a, const PlannedEffect& b) { return a.startMs < b.startMs; });
    return out;
}

}  // namespace orvandel::PlayoutTimeline
