#include "plan/EffectBehaviours.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <set>

#include "base/Numbers.hpp"
#include "deck/TimingPolicy.hpp"
#include "deck/TimingTree.hpp"
#include "plan/EffectProgress.hpp"

namespace orvandel::EffectBehaviours {

namespace {

using TimingTree::firstChild;
using Kind = EffectBehaviour::Kind;

constexpr std::int64_t kFull = 100000;
// Every number below comes from the deck: times stay within a day, plays,
// units and paragraphs within bounds that keep every product in 64 bits.
constexpr std::int64_t kLongestMs = TimingPolicy::LONGEST_TIMING;
constexpr std::int64_t kMostPlaysMilli = 1000 * 1000;
constexpr std::int64_t kMostUnits = 100000;
constexpr std::int64_t kMostParagraphs = 1000;
constexpr std::int64_t kLargestFraction = 1000 * kFull;  // sizes and turns: a thousand times
constexpr int kMostDepth = 16;                           // containers nested inside one effect

const char* const kRelationships = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";

std::string textOf(const XmlElement& element) {
    std::string text;
    element.visitChildren([&](XmlElement::NodeKind kind, const XmlElement&, std::string_view t) {
        if (kind == XmlElement::NodeKind::text) text.append(t);
    });
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::int64_t bounded(std::int64_t value, std::int64_t least, std::int64_t most) {
    return std::clamp(value, least, most);
}

std::optional<std::int64_t> intAttribute(const XmlElement& element, std::string_view name) {
    const auto text = element.attribute(name);
    return text ? parseInt64(*text) : std::nullopt;
}

bool flag(const XmlElement& element, std::string_view name) {
    const auto text = element.attribute(name);
    return text == "1" || text == "true" || text == "on";
}

// A time of the deck, in ms: "indefinite" and junk count as 0.
std::int64_t msAttribute(const XmlElement& element, std::string_view name) {
    return bounded(intAttribute(element, name).value_or(0), 0, kLongestMs);
}

// spd in 1/100000 (100000 plays as written; "150%" also read), bounded to
// 1%..10000%; junk or 0 plays as written.
std::int64_t speedOf(const XmlElement& cTn) {
    const auto text = cTn.attribute("spd");
    if (!text) return kFull;
    std::optional<std::int64_t> value;
    if (text->ends_with('%')) {
        const auto percent = parseDouble(std::string_view(*text).substr(0, text->size() - 1));
        if (percent && std::isfinite(*percent) && std::abs(*percent) < 1e9)
            value = static_cast<std::int64_t>(std::llround(*percent * 1000));
    } else {
        value = parseInt64(*text);
    }
    if (!value || *value <= 0) return kFull;
    return bounded(*value, 1000, 10'000'000);
}

// ms played at `speed`.
std::int64_t atSpeed(std::int64_t ms, std::int64_t speed) { return bounded(ms * kFull / speed, 0, kLongestMs); }

EffectTiming timingOf(const XmlElement& cTn) {
    EffectTiming timing;
    timing.accel = bounded(intAttribute(cTn, "accel").value_or(0), 0, kFull);
    timing.decel = bounded(intAttribute(cTn, "decel").value_or(0), 0, kFull - timing.accel);
    timing.autoReverse = flag(cTn, "autoRev");
    if (const auto repeat = cTn.attribute("repeatCount")) {
        // A count of 0 (some writers store it for "once") plays once.
        const auto count = parseInt64(*repeat);
        timing.repeatMilli = *repeat == "indefinite" ? 0
                             : count && *count > 0   ? bounded(*count, 1, kMostPlaysMilli)
                                                     : 1000;
    }
    return timing;
}

// tmFilter's "time,progress" pairs ("0,0; .14,.36; ...; 1,1") in 1/100000;
// empty when it reads as anything else (times that go back included).
std::vector<std::pair<std::int64_t, std::int64_t>> timeFilterOf(std::string_view text) {
    constexpr std::size_t kMostPoints = 256;
    std::vector<std::pair<std::int64_t, std::int64_t>> points;
    while (!text.empty()) {
        const auto end = std::min(text.find(';'), text.size());
        const std::string_view pair = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (pair.find_first_not_of(" \t\r\n") == std::string_view::npos) continue;
        const auto comma = pair.find(',');
        if (comma == std::string_view::npos || points.size() >= kMostPoints) return {};
        const auto trim = [](std::string_view v) {
            const auto first = v.find_first_not_of(" \t\r\n");
            return first == std::string_view::npos ? v.substr(0, 0)
                                                   : v.substr(first, v.find_last_not_of(" \t\r\n") - first + 1);
        };
        const auto t = parseDouble(trim(pair.substr(0, comma))), v = parseDouble(trim(pair.substr(comma + 1)));
        if (!t || !v || !std::isfinite(*t) || !std::isfinite(*v)) return {};
        const auto share = [](double x) {
            return static_cast<std::int64_t>(std::llround(std::clamp(x, 0.0, 1.0) * kFull));
        };
        if (!points.empty() && share(*t) < points.back().first) return {};
        points.emplace_back(share(*t), share(*v));
    }
    return points;
}

std::int64_t startDelayMs(const XmlElement& cTn) {
    const auto list = firstChild(cTn, "p:stCondLst");
    const auto cond = list ? firstChild(*list, "p:cond") : std::nullopt;
    return cond ? msAttribute(*cond, "delay") : 0;
}

// One play, its repeats and its reversal; one that repeats until its effect
// ends counts one play (with its reversal).
std::int64_t playedMs(const EffectBehaviour& b) {
    const std::int64_t once = b.durationMs * (b.timing.autoReverse ? 2 : 1);
    return bounded(EffectProgress::activeMs(b.durationMs, b.timing, once), 0, kLongestMs);
}

std::string attributeName(const XmlElement& behaviour) {
    const auto cBhvr = firstChild(behaviour, "p:cBhvr");
    const auto names = cBhvr ? firstChild(*cBhvr, "p:attrNameLst") : std::nullopt;
    const auto name = names ? firstChild(*names, "p:attrName") : std::nullopt;
    return name ? textOf(*name) : "";
}

// Text styles a restyle behaviour changes.
bool isStyleProperty(std::string_view property) {
    return property == "style.fontWeight" || property == "style.fontStyle" ||
           property == "style.textDecorationUnderline" || property == "style.fontFamily" ||
           property == "style.fontSize";
}

// What the colour presets switch on with their colour so that it shows.
bool isColourSwitch(std::string_view property) {
    return property == "fill.type" || property == "fill.on" || property == "stroke.on";
}

bool isColourProperty(std::string_view property) {
    return property == "fillcolor" || property == "fillColor" || property == "fill.color" ||
           property == "stroke.color" || property == "style.color";
}

// The properties the painter moves the layer by.
bool isDrawnValue(std::string_view property) {
    static constexpr std::array<std::string_view, 9> kDrawn{
        "ppt_x", "ppt_y", "ppt_w", "ppt_h", "r", "style.rotation", "style.opacity", "style.visibility", "xshear"};
    return std::ranges::find(kDrawn, property) != kDrawn.end();
}

bool isHex6(std::string_view text) {
    return text.size() == 6 && std::ranges::all_of(text, [](char c) { return std::isxdigit((unsigned char)c) != 0; });
}

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper((unsigned char)c));
    return text;
}

// "RRGGBB" of an a:srgbClr, or of a value written "#RRGGBB", or
// "scheme:NAME" of an a:schemeClr (the theme's colour, which LibreOffice
// looks up), under `element`.
std::string colourIn(const XmlElement& element) {
    std::string found;
    element.walk([&](const XmlElement& e) {
        if (!found.empty()) return;
        const std::string name = e.name();
        const auto val = e.attribute("val");
        if (!val) return;
        if (name == "a:srgbClr" && isHex6(*val)) found = upper(*val);
        if (name == "a:schemeClr" && !val->empty() && val->size() <= 16 &&
            std::ranges::all_of(*val, [](char c) { return std::isalnum((unsigned char)c) != 0; }))
            found = "scheme:" + *val;
        if (name == "p:strVal" && val->size() == 7 && val->front() == '#' && isHex6(val->substr(1)))
            found = upper(val->substr(1));
    });
    return found;
}

// The value of a p:val / p:to: strVal, fltVal, intVal or boolVal.
std::optional<std::string> valueIn(const XmlElement& holder) {
    for (const char* name : {"p:strVal", "p:fltVal", "p:intVal", "p:boolVal"}) {
        if (const auto v = firstChild(holder, name)) return v->attribute("val").value_or("");
    }
    return std::nullopt;
}

std::vector<EffectBehaviour::Key> keysOf(const XmlElement& anim, const std::string& property) {
    std::vector<EffectBehaviour::Key> keys;
    if (const auto list = firstChild(anim, "p:tavLst")) {
        const auto tavs = list->childElements("p:tav");
        std::vector<bool> timed;
        for (const auto& tav : tavs) {
            EffectBehaviour::Key key;
            const auto tm = intAttribute(tav, "tm");
            timed.push_back(tm.has_value());
            key.time = bounded(tm.value_or(0), 0, kFull);
            const auto val = firstChild(tav, "p:val");
            key.value = val ? valueIn(*val).value_or("") : "";
            key.formula = tav.attribute("fmla").value_or("");
            keys.push_back(std::move(key));
        }
        // Keys without a time are spread evenly, as SMIL does.
        const auto n = static_cast<std::int64_t>(keys.size());
        for (std::int64_t i = 0; i < n; ++i) {
            if (!timed[std::size_t(i)]) keys[std::size_t(i)].time = n == 1 ? 0 : i * kFull / (n - 1);
        }
        return keys;
    }
    const auto from = anim.attribute("from"), to = anim.attribute("to"), by = anim.attribute("by");
    const std::string current = "#" + property;
    if (to) {
        keys.push_back({0, from.value_or(current), ""});
        keys.push_back({kFull, *to, ""});
    } else if (by) {
        keys.push_back({0, from.value_or(current), ""});
        keys.push_back({kFull, current + "+" + *by, ""});
    }
    return keys;
}

// x and y of a p:from / p:to / p:by, in 1/100000.
std::optional<std::pair<std::int64_t, std::int64_t>> pointOf(const XmlElement& behaviour, std::string_view name) {
    const auto point = firstChild(behaviour, name);
    if (!point) return std::nullopt;
    return std::pair{bounded(intAttribute(*point, "x").value_or(kFull), -kLargestFraction, kLargestFraction),
                     bounded(intAttribute(*point, "y").value_or(kFull), -kLargestFraction, kLargestFraction)};
}

bool knownFilter(std::string_view filter) {
    if (filter == "fade" || filter == "dissolve" || filter == "wedge") return true;
    const auto open = filter.find('(');
    if (open == std::string_view::npos || !filter.ends_with(')')) return false;
    const auto name = filter.substr(0, open), arg = filter.substr(open + 1, filter.size() - open - 2);
    const auto oneOf = [&](std::initializer_list<std::string_view> args) {
        return std::ranges::find(args, arg) != args.end();
    };
    if (name == "wipe") return oneOf({"left", "right", "up", "down"});
    if (name == "box" || name == "circle" || name == "diamond" || name == "plus") return oneOf({"in", "out"});
    if (name == "wheel")
        return !arg.empty() && arg.size() <= 2 &&
               std::ranges::all_of(arg, [](char c) { return std::isdigit((unsigned char)c) != 0; });
    if (name == "barn") return oneOf({"inVertical", "outVertical", "inHorizontal", "outHorizontal"});
    if (name == "blinds" || name == "randombar") return oneOf({"horizontal", "vertical"});
    if (name == "checkerboard") return oneOf({"across", "down"});
    if (name == "strips") return oneOf({"downLeft", "upLeft", "downRight", "upRight"});
    if (name == "slide") return oneOf({"fromTop", "fromBottom", "fromLeft", "fromRight"});
    return false;
}

// The number a plain value holds ("0.25", "1.5"); nothing for a formula.
std::optional<double> plainNumber(std::string_view text) {
    const auto value = parseDouble(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

// What the reader collects while it walks an effect.
struct Reading {
    std::vector<EffectBehaviour> behaviours;
    std::vector<std::string> approximations;
    std::int64_t extentMs = 0;  // of every timed element, understood or not
    std::int64_t effectSpeed = kFull;
    std::vector<std::string> colourSwitches;  // fill.on, stroke.on... set alongside (or without) a colour

    void approximate(std::string what) {
        if (std::ranges::find(approximations, what) == approximations.end()) approximations.push_back(std::move(what));
    }
};

void readBehaviour(const XmlElement& element, std::int64_t offsetMs, Reading& reading) {
    const std::string name = element.name();
    const auto cBhvr = firstChild(element, "p:cBhvr");
    const auto cTn = cBhvr ? firstChild(*cBhvr, "p:cTn") : std::nullopt;
    if (!cTn) {
        return;
    }
    EffectBehaviour b;
    const std::int64_t speed = speedOf(*cTn);
    b.beginMs = bounded(offsetMs + atSpeed(startDelayMs(*cTn), reading.effectSpeed), 0, kLongestMs);
    b.durationMs = atSpeed(atSpeed(msAttribute(*cTn, "dur"), speed), reading.effectSpeed);
    b.timing = timingOf(*cTn);
    if (const auto filter = cTn->attribute("tmFilter")) b.timing.filter = timeFilterOf(*filter);
    b.holds = cTn->attribute("fill") == "hold" || cTn->attribute("dur") == "indefinite";
    const std::string property = attributeName(element);
    if (name == "p:set" && property == "style.visibility") return;  // the play-out shows and hides
    reading.extentMs = std::max(reading.extentMs, b.beginMs + playedMs(b));
    if (cTn->attribute("tmFilter") && b.timing.filter.empty())
        reading.approximate("its time filter is drawn as a steady pace");

    if (name == "p:animEffect") {
        b.kind = Kind::reveal;
        b.filter = element.attribute("filter").value_or("");
        b.in = element.attribute("transition") != "out";
        const std::string settings = element.attribute("prLst").value_or("");
        if (b.filter == "image" && settings.starts_with("opacity:")) {
            std::string value = settings.substr(8);
            value.erase(0, value.find_first_not_of(' '));
            const auto opacity = plainNumber(value);
            b.kind = Kind::value;
            b.property = "style.opacity";
            b.keys = {{0, value, ""}, {kFull, value, ""}};
            b.discrete = true;
            b.filter.clear();
            if (!opacity) reading.approximate("opacity \"" + value + "\" is not a number");
        }
    } else if (name == "p:anim" || name == "p:set") {
        b.property = property;
        if (isColourProperty(property) || element.attribute("valueType") == "clr") {
            b.kind = Kind::colour;
            const auto list = firstChild(element, "p:tavLst");
            const auto tavs = list ? list->childElements("p:tav") : std::vector<XmlElement>{};
            const auto to = firstChild(element, "p:to");
            b.colour = !tavs.empty() ? colourIn(tavs.back()) : to ? colourIn(*to) : "";
        } else if (isStyleProperty(property)) {
            b.kind = Kind::restyle;
            if (name == "p:set") {
                const auto to = firstChild(element, "p:to");
                const auto value = to ? valueIn(*to) : std::nullopt;
                if (!value) {
                    reading.approximate("sets " + property + " to nothing (not drawn)");
                    return;
                }
                b.keys = {{0, *value, ""}, {kFull, *value, ""}};
                b.discrete = true;
            } else {
                b.keys = keysOf(element, property);
                if (b.keys.empty()) return;
            }
        } else if (name == "p:set" && isColourSwitch(property)) {
            reading.colourSwitches.push_back(property);
            return;
        } else if (name == "p:set") {
            const auto to = firstChild(element, "p:to");
            const auto value = to ? valueIn(*to) : std::nullopt;
            if (!isDrawnValue(property) || !value) {
                reading.approximate("sets " + (property.empty() ? std::string("an unnamed property") : property) +
                                    " (not drawn)");
                return;
            }
            b.kind = Kind::value;
            b.keys = {{0, *value, ""}, {kFull, *value, ""}};
            b.discrete = true;
        } else {
            b.kind = Kind::value;
            b.keys = keysOf(element, property);
            b.discrete = element.attribute("calcmode") == "discrete";
        }
    } else if (name == "p:animScale") {
        b.kind = Kind::scale;
        const auto from = pointOf(element, "p:from"), to = pointOf(element, "p:to"), by = pointOf(element, "p:by");
        if (from) std::tie(b.fromX, b.fromY) = *from;
        if (to) {
            std::tie(b.toX, b.toY) = *to;
        } else if (by) {
            // "by" multiplies the size it starts from.
            b.toX = bounded(b.fromX * by->first / kFull, -kLargestFraction, kLargestFraction);
            b.toY = bounded(b.fromY * by->second / kFull, -kLargestFraction, kLargestFraction);
        } else {
            b.toX = b.fromX;
            b.toY = b.fromY;
        }
    } else if (name == "p:animRot") {
        b.kind = Kind::rotate;
        constexpr std::int64_t kMostTurn = kLargestFraction * 216;  // a thousand turns
        const auto turn = [&](std::string_view attribute) {
            return bounded(intAttribute(element, attribute).value_or(0), -kMostTurn, kMostTurn);
        };
        b.by = element.attribute("by") ? turn("by") : element.attribute("to") ? turn("to") - turn("from") : 0;
    } else if (name == "p:animMotion") {
        b.kind = Kind::motion;
        b.path = element.attribute("path").value_or("");
        b.pathRotation = bounded(intAttribute(element, "rAng").value_or(0), -kLargestFraction * 216,
                                 kLargestFraction * 216);
        b.pathRelative = element.attribute("pathEditMode") != "fixed";
    } else if (name == "p:animClr") {
        b.kind = Kind::colour;
        b.property = property;
        const auto to = firstChild(element, "p:to");
        b.colour = to ? colourIn(*to) : "";
    } else if (name == "p:cmd") {
        reading.approximate("command \"" + element.attribute("cmd").value_or("") + "\" is not drawn");
        return;
    } else {
        return;
    }
    // A property set twice alike (transparency's p:set and its image filter) is drawn once.
    if (std::ranges::find(reading.behaviours, b) == reading.behaviours.end())
        reading.behaviours.push_back(std::move(b));
}

// The behaviours of a time list, containers followed (their delay added).
void readList(const XmlElement& list, std::int64_t offsetMs, int depth, Reading& reading) {
    for (const auto& child : list.childElements()) {
        const std::string name = child.name();
        if (name == "p:par" || name == "p:seq" || name == "p:excl") {
            const auto cTn = firstChild(child, "p:cTn");
            const auto inner = cTn ? firstChild(*cTn, "p:childTnLst") : std::nullopt;
            if (inner && depth < kMostDepth) {
                readList(*inner, bounded(offsetMs + atSpeed(startDelayMs(*cTn), reading.effectSpeed), 0, kLongestMs),
                         depth + 1, reading);
            }
        } else if (name != "p:audio" && name != "p:video") {
            readBehaviour(child, offsetMs, reading);
        }
    }
}

// Whether the painter draws the behaviour as what it is.
bool understood(const EffectBehaviour& b) {
    switch (b.kind) {
        case Kind::reveal: return knownFilter(b.filter);
        case Kind::value: return isDrawnValue(b.property);
        case Kind::restyle: return !b.keys.empty();
        default: return true;
    }
}

std::string stripped(std::string value) {
    std::erase(value, '#');
    std::erase(value, ' ');
    return value;
}

// The side of the slide a position value lies beyond ("0-#ppt_w/2", "1+#ppt_h/2", "#ppt_y+1").
std::optional<std::string> edgeOf(const std::string& raw, bool horizontal) {
    const std::string value = stripped(raw);
    if (value.starts_with("0-") || value.ends_with("-1")) return horizontal ? "left" : "top";
    if (value.starts_with("1+") || value.ends_with("+1")) return horizontal ? "right" : "bottom";
    return std::nullopt;
}

std::string degrees(std::int64_t sixtyThousandths) {
    const std::int64_t magnitude = std::abs(sixtyThousandths), rest = magnitude % 60000;
    return (sixtyThousandths < 0 ? "-" : "") + std::to_string(magnitude / 60000) +
           (rest ? "." + std::to_string(rest * 10 / 60000) : "") + "\u00B0";
}

// A short name of what one behaviour does; empty when it does nothing to see.
std::string nameOf(const EffectBehaviour& b, DrawnEffect::Role role) {
    switch (b.kind) {
        case Kind::reveal: return b.filter;
        case Kind::value: {
            if (b.keys.empty()) return "";
            const bool allSame = std::ranges::all_of(b.keys, [&](const EffectBehaviour::Key& k) {
                return stripped(k.value) == stripped(b.keys.front().value) && k.formula.empty();
            });
            if (allSame && b.keys.size() > 1 && b.property.starts_with("ppt_")) return "";
            if (b.property == "ppt_x" || b.property == "ppt_y") {
                const bool leaving = role == DrawnEffect::Role::exit;
                const auto& end = leaving ? b.keys.back() : b.keys.front();
                if (const auto edge = edgeOf(end.value, b.property == "ppt_x"))
                    return leaving ? "fly out to " + *edge : "fly in from " + *edge;
                if (b.property == "ppt_y") {
                    // A small offset: where it comes from or goes to.
                    const std::string offset = stripped(end.value);
                    const bool below = offset.find("ppt_y+") != std::string::npos;
                    const bool above = offset.find("ppt_y-") != std::string::npos;
                    if (below || above) return (below != leaving) ? "rise" : "descend";
                }
                return "move";
            }
            if (b.property == "ppt_w" || b.property == "ppt_h") return "zoom";
            if (b.property == "r" || b.property == "style.rotation") return "spin";
            if (b.property == "style.visibility") return "blink";
            if (b.property == "xshear") return "xshear";
            if (b.property == "style.opacity") {
                const auto v = plainNumber(b.keys.back().value);
                return v ? "opacity " + std::to_string(std::llround(std::clamp(*v, 0.0, 1.0) * 100)) + "%" : "opacity";
            }
            return b.property;
        }
        case Kind::scale: {
            if (b.fromX == 0 || b.fromY == 0) return "grow";
            const std::int64_t x = b.toX * 100 / b.fromX, y = b.toY * 100 / b.fromY;
            if (x != y) return "stretch";
            if (x == 100) return "";
            return x >= 100 ? "grow " + std::to_string(x) + "%" : "shrink " + std::to_string(x) + "%";
        }
        case Kind::rotate: return "spin " + degrees(b.by);
        case Kind::motion: return "motion path";
        case Kind::restyle: {
            const std::string& v = b.keys.back().value;
            if (b.property == "style.fontWeight") return v == "bold" ? "bold" : "not bold";
            if (b.property == "style.fontStyle") return v == "italic" ? "italic" : "upright";
            if (b.property == "style.textDecorationUnderline") return v == "true" ? "underline" : "no underline";
            if (b.property == "style.fontFamily") return "typeface " + v;
            const auto factor = plainNumber(v);
            return factor ? "font size " + std::to_string(std::llround(std::clamp(*factor, 0.0, 100.0) * 100)) + "%"
                          : "font size";
        }
        case Kind::colour:
            if (b.property == "style.color") return "text colour";
            if (b.property == "stroke.color") return "line colour";
            return "fill colour";
    }
    return "";
}

std::optional<DrawnEffect::Role> roleOf(std::string_view presetClass) {
    using Role = DrawnEffect::Role;
    if (presetClass == "entr") return Role::entrance;
    if (presetClass == "exit") return Role::exit;
    if (presetClass == "emph") return Role::emphasis;
    if (presetClass == "path") return Role::path;
    return std::nullopt;
}

// The target of the effect's first behaviour that names one.
std::optional<std::pair<std::string, std::optional<std::pair<std::int64_t, std::int64_t>>>> firstTarget(
    const XmlElement& effect) {
    std::optional<std::pair<std::string, std::optional<std::pair<std::int64_t, std::int64_t>>>> found;
    effect.walk([&](const XmlElement& e) {
        if (found || e.name() != "p:spTgt") return;
        const auto spid = e.attribute("spid");
        if (!spid) return;
        found.emplace(*spid, std::nullopt);
        const auto txEl = firstChild(e, "p:txEl");
        const auto range = txEl ? firstChild(*txEl, "p:pRg") : std::nullopt;
        if (range) {
            const std::int64_t first = bounded(intAttribute(*range, "st").value_or(0), 0, kLongestMs);
            const std::int64_t last = std::clamp(intAttribute(*range, "end").value_or(first), first,
                                                 first + kMostParagraphs - 1);
            found->second = std::pair{first, last};
        }
    });
    return found;
}

EffectIteration iterationOf(const XmlElement& effect, const TargetText& text) {
    EffectIteration out;
    const auto iterate = firstChild(effect, "p:iterate");
    if (!iterate) return out;
    const std::string type = iterate->attribute("type").value_or("el");
    out.unit = type == "wd"   ? EffectIteration::Unit::word
               : type == "lt" ? EffectIteration::Unit::letter
                              : EffectIteration::Unit::whole;
    out.backwards = flag(*iterate, "backwards");
    if (const auto pct = firstChild(*iterate, "p:tmPct")) {
        out.stepPct = bounded(intAttribute(*pct, "val").value_or(0), 0, kFull);
    } else if (const auto abs = firstChild(*iterate, "p:tmAbs")) {
        out.stepMs = msAttribute(*abs, "val");
    }
    if (out.unit == EffectIteration::Unit::whole || !text) return out;
    const auto target = firstTarget(effect);
    if (!target) return out;
    std::string all;
    if (target->second) {
        for (std::int64_t p = target->second->first; p <= target->second->second; ++p) {
            if (!all.empty()) all += '\n';
            all += text(target->first, p);
        }
    } else {
        all = text(target->first, std::nullopt);
    }
    out.units = unitsOf(all, out.unit);
    return out;
}

std::optional<EffectSound> soundOf(const XmlElement& effect) {
    const auto list = firstChild(effect, "p:subTnLst");
    if (!list) return std::nullopt;
    std::optional<EffectSound> sound;
    list->walk([&](const XmlElement& e) {
        if (sound || e.name() != "p:audio") return;
        const auto media = firstChild(e, "p:cMediaNode");
        const auto target = media ? firstChild(*media, "p:tgtEl") : std::nullopt;
        const auto snd = target ? firstChild(*target, "p:sndTgt") : std::nullopt;
        if (!snd) return;
        EffectSound s;
        s.relationshipId =
            snd->attributeIn(kRelationships, "embed").value_or(snd->attributeIn(kRelationships, "link").value_or(""));
        s.name = snd->attribute("name").value_or("");
        const auto cTn = firstChild(*media, "p:cTn");
        s.loop = cTn && cTn->attribute("repeatCount") == "indefinite";
        if (!s.relationshipId.empty()) sound = std::move(s);
    });
    return sound;
}

// The effect's own spd is folded in while reading; its easing, reversal and
// repeats go into each behaviour.
void foldEffectTiming(const XmlElement& effect, Reading& reading) {
    const EffectTiming own = timingOf(effect);
    if (own == EffectTiming{}) return;
    std::int64_t longest = 0;
    for (const auto& b : reading.behaviours) longest = std::max(longest, b.durationMs);
    bool aligned = true;
    for (auto& b : reading.behaviours) {
        if (b.timing.accel == 0 && b.timing.decel == 0) {
            b.timing.accel = own.accel;
            b.timing.decel = own.decel;
        }
        if (own.autoReverse || own.repeatMilli != 1000) {
            aligned = aligned && b.beginMs == 0 && b.durationMs == longest && !b.timing.autoReverse &&
                      b.timing.repeatMilli == 1000;
            if (own.autoReverse) b.timing.autoReverse = true;
            b.timing.repeatMilli = b.timing.repeatMilli == 0 || own.repeatMilli == 0
                                       ? 0
                                       : bounded(b.timing.repeatMilli * own.repeatMilli / 1000, 1, kMostPlaysMilli);
        }
    }
    if (!aligned) reading.approximate("the effect's repeat or reversal is played by each behaviour on its own");
}

}  // namespace

std::int64_t unitsOf(std::string_view text, EffectIteration::Unit unit) {
    if (unit == EffectIteration::Unit::whole) return 1;
    std::int64_t count = 0;
    bool inWord = false;
    for (const char c : text) {
        const bool space = std::isspace((unsigned char)c) != 0;
        const bool lead = ((unsigned char)c & 0xC0) != 0x80;  // a UTF-8 character's first byte
        if (unit == EffectIteration::Unit::letter) {
            if (!space && lead) ++count;
        } else {
            if (!space && !inWord) ++count;
            inWord = !space;
        }
        if (count >= kMostUnits) break;
    }
    return std::max<std::int64_t>(1, count);
}

DrawnEffect read(const XmlElement& effect, const TargetText& textOf) {
    DrawnEffect out;
    out.presetClass = effect.attribute("presetClass").value_or("");
    out.presetId = bounded(intAttribute(effect, "presetID").value_or(0), 0, kFull);
    out.presetSubtype = bounded(intAttribute(effect, "presetSubtype").value_or(0), 0, kFull);
    const auto role = roleOf(out.presetClass);
    if (!role) return out;
    out.role = *role;
    out.sound = soundOf(effect);

    Reading reading;
    reading.effectSpeed = speedOf(effect);
    if (const auto list = firstChild(effect, "p:childTnLst")) readList(*list, 0, 0, reading);
    foldEffectTiming(effect, reading);
    // A colour preset's switches are part of its colour change; alone they change nothing drawn.
    for (const auto& property : reading.colourSwitches) {
        const bool stroke = property.starts_with("stroke.");
        const bool changed = std::ranges::any_of(reading.behaviours, [&](const EffectBehaviour& b) {
            return b.kind == Kind::colour && !b.colour.empty() && (b.property == "stroke.color") == stroke &&
                   b.property != "style.color";
        });
        if (!changed) reading.approximate("sets " + property + " (not drawn)");
    }
    const bool effectHolds = effect.attribute("fill") == "hold";
    for (auto& b : reading.behaviours) b.holds = b.holds || effectHolds;

    std::vector<std::string> names;
    bool anyUnderstood = false;
    for (const auto& b : reading.behaviours) {
        if (understood(b)) {
            anyUnderstood = true;
        } else if (b.kind == Kind::reveal) {
            reading.approximate("the " + (b.filter.empty() ? std::string("unnamed") : b.filter) +
                                " filter is not drawn");
        } else {
            reading.approximate(b.property.empty() ? std::string("an unnamed property is not drawn")
                                                   : b.property + " is not drawn");
        }
        if (b.kind == Kind::colour && !b.holds) reading.approximate("a colour change that does not hold is not seen");
        if (b.kind == Kind::restyle && !b.holds) reading.approximate("a style change that does not hold is not seen");
        const std::string name = nameOf(b, out.role);
        if (!name.empty() && std::ranges::find(names, name) == names.end()) names.push_back(name);
    }

    // Turns one way and back (several rotations of both signs) rock rather than spin.
    const auto spins = std::ranges::count_if(names, [](const std::string& n) { return n.starts_with("spin "); });
    if (spins > 1) {
        const auto first = std::ranges::find_if(names, [](const std::string& n) { return n.starts_with("spin "); });
        *first = "rock";
        std::erase_if(names, [](const std::string& n) { return n.starts_with("spin "); });
    }

    if (!anyUnderstood && (!reading.behaviours.empty() || !reading.approximations.empty())) {
        // Nothing the painter knows: drawn as a fade over the effect's time.
        out.fallback = true;
        EffectBehaviour fade;
        fade.filter = "fade";
        fade.in = out.role != DrawnEffect::Role::exit;
        fade.durationMs = reading.extentMs;
        fade.holds = effectHolds;
        out.behaviours = {fade};
        names = {"fade"};
        reading.approximate("drawn as a fade");
    } else {
        out.behaviours = std::move(reading.behaviours);
    }

    std::int64_t single = 0;
    for (const auto& b : out.behaviours) single = std::max(single, bounded(b.beginMs + playedMs(b), 0, kLongestMs));
    out.iterate = iterationOf(effect, textOf);
    const std::int64_t step = out.iterate.stepMs ? *out.iterate.stepMs : single * out.iterate.stepPct / kFull;
    out.durationMs = bounded(single + (out.iterate.units - 1) * step, 0, kLongestMs);

    for (const auto& name : names) out.strategy += (out.strategy.empty() ? "" : " + ") + name;
    for (const auto& what : reading.approximations) out.approximation += (out.approximation.empty() ? "" : "; ") + what;
    return out;
}

}  // namespace orvandel::EffectBehaviours
