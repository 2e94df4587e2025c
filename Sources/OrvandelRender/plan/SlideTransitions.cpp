#include "plan/SlideTransitions.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"
#include "deck/TimingPolicy.hpp"
#include "plan/XmlSpans.hpp"

namespace orvandel::SlideTransitions {

namespace {

using Layer = DrawnEffect::Layer;
using Behaviour = EffectBehaviour;
using Spans = std::vector<XmlSpans::Span>;

// The transition's effect: its first child that is not its sound or an
// extension list.
std::optional<std::size_t> effectOf(const Spans& spans, std::size_t transition) {
    for (const int child : XmlSpans::childrenOf(spans, static_cast<int>(transition))) {
        const auto& name = spans[static_cast<std::size_t>(child)].name;
        if (name != "p:sndAc" && name != "p:extLst") return static_cast<std::size_t>(child);
    }
    return std::nullopt;
}

// ---- Which p:transition a slideshow of today reads ----

bool understood(std::string_view requires_) {
    bool any = false;
    std::size_t at = 0;
    while (at < requires_.size()) {
        const std::size_t end = std::min(requires_.find(' ', at), requires_.size());
        const std::string_view prefix = requires_.substr(at, end - at);
        if (!prefix.empty()) {
            if (prefix != "p14" && prefix != "p15" && prefix != "p159") return false;
            any = true;
        }
        at = end + 1;
    }
    return any;
}

// The first transition outside any mc:AlternateContent, or in an mc:Choice
// whose prefixes are understood; else the first in an mc:Fallback.
std::size_t chosen(std::string_view block, const Spans& spans, const std::vector<std::size_t>& transitions) {
    std::optional<std::size_t> fallback;
    for (const std::size_t t : transitions) {
        const int parent = spans[t].parent;
        if (parent < 0) return t;
        const auto& p = spans[static_cast<std::size_t>(parent)];
        if (p.name == "mc:Choice") {
            if (understood(XmlSpans::attributeOf(block, p, "Requires").value_or(""))) return t;
        } else if (p.name == "mc:Fallback") {
            if (!fallback) fallback = t;
        } else {
            return t;
        }
    }
    return fallback.value_or(transitions.front());
}

// ---- Behaviours in the painter's vocabulary ----

Behaviour reveal(std::string filter) {
    Behaviour b;
    b.kind = Behaviour::Kind::reveal;
    b.filter = std::move(filter);
    return b;
}

Behaviour value(std::string property, std::string from, std::string to) {
    Behaviour b;
    b.kind = Behaviour::Kind::value;
    b.property = std::move(property);
    b.keys = {{0, std::move(from), ""}, {100000, std::move(to), ""}};
    return b;
}

Behaviour scale(std::int64_t from, std::int64_t to) {
    Behaviour b;
    b.kind = Behaviour::Kind::scale;
    b.fromX = b.fromY = from;
    b.toX = b.toY = to;
    return b;
}

Behaviour rotate(std::int64_t degrees) {
    Behaviour b;
    b.kind = Behaviour::Kind::rotate;
    b.by = degrees * 60000;
    return b;
}

Behaviour opacity(std::string from, std::string to) { return value("style.opacity", std::move(from), std::move(to)); }

// A direction of movement: dx, dy in -1, 0, 1.
struct Towards {
    int dx = -1, dy = 0;
};

Towards towardsOf(std::string_view dir, Towards otherwise) {
    Towards t{0, 0};
    for (const char c : dir) {
        if (c == 'l') t.dx = -1;
        if (c == 'r') t.dx = 1;
        if (c == 'u') t.dy = -1;
        if (c == 'd') t.dy = 1;
    }
    return t.dx == 0 && t.dy == 0 ? otherwise : t;
}

std::string sideName(Towards t) {
    std::string vertical = t.dy < 0 ? "top" : t.dy > 0 ? "bottom" : "";
    std::string horizontal = t.dx < 0 ? "left" : t.dx > 0 ? "right" : "";
    if (!vertical.empty() && !horizontal.empty()) return vertical + " " + horizontal;
    return vertical + horizontal;
}

// The slide enters from the side `from` points to (its centre starting just
// outside the frame there) and ends where it is.
std::vector<Behaviour> enteringFrom(Towards from) {
    std::vector<Behaviour> out;
    if (from.dx != 0) out.push_back(value("ppt_x", from.dx < 0 ? "0-#ppt_w/2" : "1+#ppt_w/2", "#ppt_x"));
    if (from.dy != 0) out.push_back(value("ppt_y", from.dy < 0 ? "0-#ppt_h/2" : "1+#ppt_h/2", "#ppt_y"));
    return out;
}

// The slide leaves towards `to`, ending just outside the frame.
std::vector<Behaviour> leavingTowards(Towards to) {
    std::vector<Behaviour> out;
    if (to.dx != 0) out.push_back(value("ppt_x", "#ppt_x", to.dx < 0 ? "0-#ppt_w/2" : "1+#ppt_w/2"));
    if (to.dy != 0) out.push_back(value("ppt_y", "#ppt_y", to.dy < 0 ? "0-#ppt_h/2" : "1+#ppt_h/2"));
    return out;
}

Towards opposite(Towards t) { return {-t.dx, -t.dy}; }

// What one effect element is drawn as, with everything but the timing.
struct Drawing {
    Layer layer = Layer::incoming;
    std::vector<Behaviour> behaviours;
    std::string strategy;
    std::string approximation;
    bool fallback = false;
    std::optional<std::int64_t> durationMs;  // a length of its own, whatever the transition's speed
};

// The attributes of the effect element.
using Attribute = std::function<std::optional<std::string>(std::string_view)>;

Drawing revealed(std::string filter, std::string approximation = {}) {
    Drawing d;
    d.behaviours = {reveal(filter)};
    d.strategy = std::move(filter);
    d.approximation = std::move(approximation);
    return d;
}

Drawing covering(Towards moving, std::string approximation = {}) {
    const Towards from = opposite(moving);
    Drawing d;
    d.behaviours = enteringFrom(from);
    d.strategy = "cover from the " + sideName(from);
    d.approximation = std::move(approximation);
    return d;
}

Drawing pushing(Towards moving, std::string approximation = {}) {
    Drawing d = covering(moving, std::move(approximation));
    d.layer = Layer::both;
    d.strategy = "push from the " + sideName(opposite(moving));
    return d;
}

Drawing uncovering(Towards moving, std::string approximation = {}) {
    Drawing d;
    d.layer = Layer::outgoing;
    d.behaviours = leavingTowards(moving);
    d.strategy = "uncover towards the " + sideName(moving);
    d.approximation = std::move(approximation);
    return d;
}

Drawing zooming(bool growing, std::string approximation = {}) {
    Drawing d;
    if (growing) {
        d.behaviours = {scale(0, 100000)};
        d.strategy = "zoom in from the centre";
    } else {
        d.behaviours = {scale(300000, 100000), opacity("0", "1")};
        d.strategy = "zoom down onto the slide";
    }
    d.approximation = std::move(approximation);
    return d;
}

Drawing spinningZoom(std::int64_t turns, std::string approximation) {
    Drawing d;
    d.behaviours = {scale(0, 100000), rotate(360 * turns)};
    d.strategy = "spinning zoom";
    d.approximation = std::move(approximation);
    return d;
}

std::string orient(const Attribute& a, std::string_view attribute, std::string_view horizontal,
                   std::string_view vertical) {
    return std::string(a(attribute).value_or("horz") == "vert" ? vertical : horizontal);
}

std::int64_t spokes(const Attribute& a) {
    const auto n = parseInt64(a("spokes").value_or("4"));
    return std::clamp<std::int64_t>(n.value_or(4), 1, 8);
}

Towards leftOrRight(const Attribute& a, std::string_view attribute = "dir") {
    return {a(attribute).value_or("l") == "r" ? 1 : -1, 0};
}

std::string named(std::string_view kind, std::string_view drawnAs) {
    return std::string(kind) + " drawn as " + std::string(drawnAs);
}

// The kinds of the p: namespace a random transition picks from.
constexpr std::array<std::string_view, 19> kRandomPool{"p:blinds",    "p:checker", "p:circle",   "p:comb",
                                                       "p:cover",     "p:diamond", "p:dissolve", "p:fade",
                                                       "p:newsflash", "p:plus",    "p:pull",     "p:push",
                                                       "p:randomBar", "p:split",   "p:strips",   "p:wedge",
                                                       "p:wheel",     "p:wipe",    "p:zoom"};

std::uint64_t fnv1a(std::string_view text) {
    std::uint64_t h = 1469598103934665603ull;
    for (const char c : text) {
        h ^= static_cast<unsigned char>(c);
        h *= 1099511628211ull;
    }
    return h;
}

Drawing drawingOf(std::string_view name, const Attribute& a, std::string_view seed);

// How long a cut through black shows black: a few frames.
constexpr std::int64_t kBlackCutMs = 160;

Drawing prestTrans(const Attribute& a) {
    const std::string prst = a("prst").value_or("fallOver");
    const bool invX = a("invX") == "1" || a("invX") == "true";
    const Towards sideways{invX ? 1 : -1, 0};
    if (prst == "curtains") return revealed("barn(outVertical)", "curtains drawn as a split opening flat");
    if (prst == "drape") return revealed("wipe(down)", "drape drawn as a wipe down");
    if (prst == "wind") return uncovering(sideways, "wind drawn as an uncover");
    if (prst == "peelOff") return uncovering(sideways, "peel off drawn as an uncover");
    if (prst == "pageCurlSingle" || prst == "pageCurlDouble") {
        return uncovering(sideways, named("page curl", "an uncover"));
    }
    if (prst == "airplane") {
        Drawing d = uncovering({sideways.dx, -1}, "airplane drawn as the old slide flying out");
        d.behaviours.push_back(scale(100000, 20000));
        return d;
    }
    if (prst == "origami" || prst == "crush") {
        Drawing d;
        d.layer = Layer::outgoing;
        d.behaviours = {scale(100000, 0)};
        if (prst == "crush") d.behaviours.push_back(rotate(invX ? -180 : 180));
        d.strategy = "the old slide shrinks away";
        d.approximation = prst + " drawn as a shrink";
        return d;
    }
    if (prst == "fallOver") {
        Drawing d = uncovering({0, 1}, "fall over drawn as the old slide dropping and turning");
        d.behaviours.push_back(rotate(invX ? -90 : 90));
        return d;
    }
    if (prst == "fracture") return revealed("dissolve", "fracture drawn as a dissolve");
    if (prst == "prestige") return revealed("fade", "prestige drawn as a fade");
    Drawing d = revealed("fade", "unknown preset \"" + prst + "\" drawn as a fade");
    d.fallback = true;
    return d;
}

Drawing drawingOf(std::string_view name, const Attribute& a, std::string_view seed) {
    const std::string dir = a("dir").value_or("");
    const Towards moving = towardsOf(dir, {-1, 0});
    // ---- p: ----
    if (name == "p:blinds") return revealed("blinds(" + orient(a, "dir", "horizontal", "vertical") + ")");
    if (name == "p:checker") return revealed("checkerboard(" + orient(a, "dir", "across", "down") + ")");
    if (name == "p:circle") return revealed("circle(out)");
    if (name == "p:comb") return revealed("comb(" + orient(a, "dir", "horizontal", "vertical") + ")");
    if (name == "p:cover") return covering(moving);
    if (name == "p:cut") {
        if (a("thruBlk") != "1" && a("thruBlk") != "true") return Drawing{.strategy = "cut"};
        // A short dip to black between the slides: the fade through black
        // held at its black middle (a time filter that stays at half way).
        Drawing d = revealed("fade(throughBlack)");
        d.behaviours.front().timing.filter = {{0, 50000}, {100000, 50000}};
        d.strategy = "cut through black";
        d.durationMs = kBlackCutMs;
        return d;
    }
    if (name == "p:diamond") return revealed("diamond(out)");
    if (name == "p:dissolve") return revealed("dissolve");
    if (name == "p:fade") {
        return revealed(a("thruBlk") == "1" || a("thruBlk") == "true" ? "fade(throughBlack)" : "fade");
    }
    if (name == "p:newsflash") {
        Drawing d = spinningZoom(2, {});
        d.strategy = "newsflash (spinning zoom)";
        return d;
    }
    if (name == "p:plus") return revealed("plus(out)");
    if (name == "p:pull") return uncovering(moving);
    if (name == "p:push") return pushing(moving);
    if (name == "p:random") {
        const std::string_view pick = kRandomPool[fnv1a(seed) % kRandomPool.size()];
        Drawing d = drawingOf(
            pick, [](std::string_view) { return std::optional<std::string>(); }, seed);
        d.strategy = "random: " + d.strategy;
        d.approximation = "a slideshow picks a kind at random; here the slide's name picks " +
                          std::string(pick.substr(2));
        return d;
    }
    if (name == "p:randomBar") return revealed("randombar(" + orient(a, "dir", "horizontal", "vertical") + ")");
    if (name == "p:split") {
        const bool in = a("dir") == "in";
        const bool vertical = a("orient") == "vert";
        return revealed(std::string("barn(") + (in ? "in" : "out") + (vertical ? "Vertical" : "Horizontal") + ")");
    }
    if (name == "p:strips") {
        const Towards t = towardsOf(dir.empty() ? "lu" : dir, {-1, -1});
        return revealed(std::string("strips(") + (t.dy > 0 ? "down" : "up") + (t.dx > 0 ? "Right" : "Left") + ")");
    }
    if (name == "p:wedge") return revealed("wedge");
    if (name == "p:wheel") return revealed("wheel(" + std::to_string(spokes(a)) + ")");
    if (name == "p:wipe") {
        const Towards t = towardsOf(dir, {-1, 0});
        return revealed(std::string("wipe(") +
                        (t.dx < 0   ? "left"
                         : t.dx > 0 ? "right"
                         : t.dy < 0 ? "up"
                                    : "down") +
                        ")");
    }
    if (name == "p:zoom") return zooming(a("dir") == "in");
    // ---- p14: ----
    if (name == "p14:vortex") return spinningZoom(1, "vortex drawn as a spinning zoom");
    if (name == "p14:switch") return pushing(leftOrRight(a), "switch drawn as a push, flat");
    if (name == "p14:flip") {
        Drawing d;
        d.behaviours = {value("ppt_w", "0", "#ppt_w")};
        d.strategy = "flip (narrow to full width)";
        d.approximation = "flip drawn as a flat squeeze";
        return d;
    }
    if (name == "p14:ripple") return revealed("circle(out)", "ripple drawn as a circle, without the waves");
    if (name == "p14:honeycomb") return revealed("dissolve", "honeycomb drawn as a dissolve");
    if (name == "p14:prism") return pushing(moving, "prism drawn as a push, flat");
    if (name == "p14:doors") {
        return revealed("barn(out" + orient(a, "dir", "Horizontal", "Vertical") + ")",
                        "doors drawn as a split opening, flat");
    }
    if (name == "p14:window") {
        return revealed("barn(out" + orient(a, "dir", "Horizontal", "Vertical") + ")",
                        "window drawn as a split opening, flat");
    }
    if (name == "p14:ferris") return covering(leftOrRight(a), "ferris wheel drawn as a cover, in a straight line");
    if (name == "p14:gallery") return pushing(leftOrRight(a), "gallery drawn as a push, flat");
    if (name == "p14:conveyor") return pushing(leftOrRight(a), "conveyor drawn as a push, flat");
    if (name == "p14:pan") return pushing(towardsOf(dir, {0, -1}), "pan drawn as a push");
    if (name == "p14:glitter") return revealed("dissolve", "glitter drawn as a dissolve");
    if (name == "p14:warp") return zooming(a("dir") != "out", "warp drawn as a zoom");
    if (name == "p14:flythrough") {
        Drawing d = zooming(a("dir") != "out", "fly through drawn as a zoom");
        if (d.behaviours.size() == 1) d.behaviours.push_back(opacity("0", "1"));
        return d;
    }
    if (name == "p14:flash") return revealed("fade(throughWhite)", "flash drawn as a fade through white");
    if (name == "p14:shred") return revealed("dissolve", "shred drawn as a dissolve");
    if (name == "p14:reveal") return revealed("fade(throughBlack)", "reveal drawn as a fade through black");
    if (name == "p14:wheelReverse") {
        return revealed("wheel(" + std::to_string(spokes(a)) + ")", "reverse wheel drawn turning clockwise");
    }
    // ---- p15:, p159: ----
    if (name == "p15:prstTrans") return prestTrans(a);
    if (name == "p159:morph") return revealed("fade", "morph drawn as a crossfade; shapes not matched");
    Drawing d = revealed("fade", "unknown kind " + std::string(name) + " drawn as a fade");
    d.fallback = true;
    return d;
}

// The five entities XML predefines; a sound's name is shown as text.
std::string decoded(std::string_view text) {
    static constexpr std::pair<std::string_view, char> kEntities[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        bool replaced = false;
        for (const auto& [entity, c] : kEntities) {
            if (text.substr(i, entity.size()) == entity) {
                out += c;
                i += entity.size();
                replaced = true;
                break;
            }
        }
        if (!replaced) out += text[i++];
    }
    return out;
}

std::optional<EffectSound> soundOf(std::string_view block, const Spans& spans, std::size_t transition) {
    for (const int child : XmlSpans::childrenOf(spans, static_cast<int>(transition))) {
        if (spans[static_cast<std::size_t>(child)].name != "p:sndAc") continue;
        for (const int action : XmlSpans::childrenOf(spans, child)) {
            const auto& span = spans[static_cast<std::size_t>(action)];
            if (span.name == "p:endSnd") return EffectSound{{}, {}, false, true};
            if (span.name != "p:stSnd") continue;
            EffectSound sound;
            const auto loop = XmlSpans::attributeOf(block, span, "loop");
            sound.loop = loop == "1" || loop == "true";
            for (const int snd : XmlSpans::childrenOf(spans, action)) {
                const auto& s = spans[static_cast<std::size_t>(snd)];
                if (s.name != "p:snd") continue;
                sound.relationshipId = XmlSpans::attributeOf(block, s, "r:embed")
                                           .value_or(XmlSpans::attributeOf(block, s, "r:link").value_or(""));
                sound.name = decoded(XmlSpans::attributeOf(block, s, "name").value_or(""));
            }
            return sound;
        }
    }
    return std::nullopt;
}

std::int64_t speedMs(const std::optional<std::string>& spd) {
    if (spd == "med") return 750;
    if (spd == "slow") return 1000;
    return 500;
}

}  // namespace

std::optional<DrawnEffect> describe(std::string_view block, std::string_view seed) {
    // Read as text: a prefix such as p15 may be declared only on the slide's root.
    const auto spans = XmlSpans::elementSpans(block);
    std::vector<std::size_t> transitions;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        if (spans[i].name == "p:transition") transitions.push_back(i);
    }
    if (transitions.empty()) return std::nullopt;
    const std::size_t read = chosen(block, spans, transitions);
    const auto effect = effectOf(spans, read);
    const auto sound = soundOf(block, spans, read);
    if (!effect && !sound) return std::nullopt;

    DrawnEffect out;
    out.role = DrawnEffect::Role::transition;
    out.sound = sound;

    // The duration: the transition read first, then any other that states it.
    auto attribute = [&](std::string_view name) {
        if (auto value = XmlSpans::attributeOf(block, spans[read], name)) return value;
        for (const std::size_t t : transitions) {
            if (auto value = XmlSpans::attributeOf(block, spans[t], name)) return value;
        }
        return std::optional<std::string>();
    };
    const auto exact = attribute("p14:dur");
    const auto exactMs = exact ? parseInt64(*exact) : std::nullopt;
    out.durationMs = exactMs && *exactMs >= 0 ? std::min(*exactMs, TimingPolicy::LONGEST_TIMING)
                                              : speedMs(attribute("spd"));

    if (!effect) {
        out.strategy = "cut";
        return out;
    }
    const auto& element = spans[*effect];
    out.presetClass = std::string(element.name);
    const Attribute attributes = [&](std::string_view name) { return XmlSpans::attributeOf(block, element, name); };
    if (element.name == "p15:prstTrans") out.presetClass += "(" + attributes("prst").value_or("fallOver") + ")";
    Drawing drawing = drawingOf(element.name, attributes, seed.empty() ? block : seed);
    if (drawing.durationMs) out.durationMs = *drawing.durationMs;
    for (auto& b : drawing.behaviours) b.durationMs = out.durationMs;
    out.layer = drawing.layer;
    out.behaviours = std::move(drawing.behaviours);
    out.strategy = std::move(drawing.strategy);
    out.approximation = std::move(drawing.approximation);
    out.fallback = drawing.fallback;
    return out;
}

std::optional<DrawnEffect> read(std::string_view slideXml) {
    const auto range = SlideXML::transitionBlockRange(slideXml);
    if (!range) return std::nullopt;
    return readMarkup(slideXml.substr(range->first, range->second - range->first));
}

std::optional<DrawnEffect> readMarkup(std::string_view block, std::string_view seed) {
    auto out = describe(block, seed);
    if (!out || (!out->drawn() && !out->sound)) return std::nullopt;
    return out;
}

std::map<std::string, DrawnEffect> ofMarkup(const std::map<std::string, std::string>& markupBySlide) {
    std::map<std::string, DrawnEffect> out;
    for (const auto& [file, markup] : markupBySlide) {
        if (auto effect = readMarkup(markup, file)) out.emplace(file, *effect);
    }
    return out;
}

}  // namespace orvandel::SlideTransitions
