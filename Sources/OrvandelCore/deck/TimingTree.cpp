#include "deck/TimingTree.hpp"

#include <algorithm>

#include "base/Checked.hpp"
#include "base/Numbers.hpp"
#include "deck/TimingPolicy.hpp"

namespace orvandel {

TimingValueError::TimingValueError(std::string attribute, std::string value)
    : Error(attribute + "=\"" + value + "\" is longer than a day"),
      attribute_(std::move(attribute)),
      value_(std::move(value)) {}

}  // namespace orvandel

namespace orvandel::TimingTree {

namespace {

std::optional<std::int64_t> intAttribute(const XmlElement& element, std::string_view name) {
    const auto text = element.attribute(name);
    return text ? parseInt64(*text) : std::nullopt;
}

// A delay or a duration, bounded so that sums of them cannot overflow.
std::optional<std::int64_t> timeAttribute(const XmlElement& element, std::string_view name) {
    const auto value = intAttribute(element, name);
    if (value && (*value > TimingPolicy::LONGEST_TIMING || *value < -TimingPolicy::LONGEST_TIMING)) {
        throw TimingValueError(std::string(name), *element.attribute(name));
    }
    return value;
}

bool hasAttribute(const XmlElement& element, std::string_view name, std::string_view value) {
    return element.attribute(name) == value;
}

std::vector<XmlElement> allNamed(const XmlElement& element, std::string_view name) {
    std::vector<XmlElement> out;
    element.walk([&](const XmlElement& e) {
        if (e.name() == name) out.push_back(e);
    });
    return out;
}

// The first p:cTn of each p:par in the first p:childTnLst of a p:cTn.
std::vector<XmlElement> childTimeNodes(const XmlElement& cTn) {
    std::vector<XmlElement> out;
    const auto list = firstChild(cTn, "p:childTnLst");
    if (!list) return out;
    for (const auto& par : directChildren(*list, "p:par")) {
        if (auto node = firstChild(par, "p:cTn")) out.push_back(std::move(*node));
    }
    return out;
}

}  // namespace

std::optional<XmlElement> firstMainSeq(const XmlElement& timing) {
    std::optional<XmlElement> found;
    timing.walk([&](const XmlElement& e) {
        if (!found && e.name() == "p:cTn" && hasAttribute(e, "nodeType", "mainSeq")) found = e;
    });
    return found;
}

std::vector<XmlElement> directChildren(const XmlElement& element, std::string_view name) {
    return element.childElements(name);
}

std::optional<XmlElement> firstChild(const XmlElement& element, std::string_view name) {
    if (auto child = element.firstChildElement(name)) return child;
    return std::nullopt;
}

std::vector<XmlElement> groupContainers(const XmlElement& mainSeq) {
    std::vector<XmlElement> out;
    for (const auto& step : childTimeNodes(mainSeq)) {
        auto groups = childTimeNodes(step);
        out.insert(out.end(), std::make_move_iterator(groups.begin()), std::make_move_iterator(groups.end()));
    }
    return out;
}

std::vector<XmlElement> effectChildren(const XmlElement& container) { return childTimeNodes(container); }

std::optional<XmlElement> clickHead(const XmlElement& container) {
    for (auto& effect : effectChildren(container)) {
        if (hasAttribute(effect, "nodeType", "clickEffect")) return effect;
    }
    return std::nullopt;
}

std::int64_t effectStartDelayMs(const XmlElement& effect) {
    const auto conditions = firstChild(effect, "p:stCondLst");
    if (!conditions) return 0;
    const auto cond = firstChild(*conditions, "p:cond");
    if (!cond) return 0;
    return timeAttribute(*cond, "delay").value_or(0);
}

std::int64_t effectDurationMs(const XmlElement& effect) {
    std::optional<std::int64_t> longest;
    effect.walk([&](const XmlElement& e) {
        if (e == effect || e.name() != "p:cTn") return;
        if (const auto dur = timeAttribute(e, "dur")) longest = std::max(longest.value_or(*dur), *dur);
    });
    return longest.value_or(0);
}

std::int64_t entranceDurationMs(const XmlElement& container) {
    std::int64_t base = 0, end = 0, result = 0;
    for (const auto& effect : effectChildren(container)) {
        if (hasAttribute(effect, "nodeType", "afterEffect")) base = end;
        base = checkedAdd(base, effectStartDelayMs(effect));
        std::int64_t duration = effectDurationMs(effect);
        if (duration == TimingPolicy::ONE_SECOND_EFFECT) duration = TimingPolicy::ONE_SECOND_EFFECT_PLAYED;
        end = checkedAdd(base, duration);
        result = std::max(result, end);
    }
    return result;
}

std::optional<XmlElement> mainSeqMediaCall(const XmlElement& timing) {
    const auto mainSeq = firstMainSeq(timing);
    if (!mainSeq) return std::nullopt;
    for (const auto& container : groupContainers(*mainSeq)) {
        for (auto& effect : effectChildren(container)) {
            if (hasAttribute(effect, "presetClass", "mediacall")) return effect;
        }
    }
    return std::nullopt;
}

XmlElement makeOnBeginCond(const XmlElement& anyElementOfDocument, std::string_view mainSeqId) {
    XmlElement cond = anyElementOfDocument.createElement("p:cond");
    cond.addAttribute("evt", "onBegin");
    cond.addAttribute("delay", "0");
    XmlElement tn = anyElementOfDocument.createElement("p:tn");
    tn.addAttribute("val", mainSeqId);
    cond.appendChild(tn);
    return cond;
}

bool ensureMainSeqOnBegin(const XmlElement& timing) {
    const auto mainSeq = firstMainSeq(timing);
    if (!mainSeq) return false;
    const auto id = mainSeq->attribute("id");
    if (!id) return false;

    const auto list = firstChild(*mainSeq, "p:childTnLst");
    const auto par = list ? firstChild(*list, "p:par") : std::nullopt;
    const auto step = par ? firstChild(*par, "p:cTn") : std::nullopt;
    auto conditions = step ? firstChild(*step, "p:stCondLst") : std::nullopt;
    if (!conditions) return false;

    for (const auto& cond : directChildren(*conditions, "p:cond")) {
        if (!hasAttribute(cond, "evt", "onBegin")) continue;
        const auto tn = firstChild(cond, "p:tn");
        if (tn && tn->attribute("val") == *id) return true;
    }
    conditions->appendChild(makeOnBeginCond(*conditions, *id));
    return true;
}

std::vector<XmlElement> allCTnInDocumentOrder(const XmlElement& element) { return allNamed(element, "p:cTn"); }

std::vector<XmlElement> allTimeNodeRefs(const XmlElement& element) { return allNamed(element, "p:tn"); }

std::map<std::string, std::string> renumber(const XmlElement& timing) {
    std::map<std::string, std::string> renamed;
    std::int64_t next = 0;
    for (auto& node : allCTnInDocumentOrder(timing)) {
        next = checkedAdd(next, 1);
        const std::string id = formatInt(next);
        if (const auto old = node.attribute("id")) renamed.emplace(*old, id);  // the first holder wins
        node.replaceAttribute("id", id);
    }
    for (auto& ref : allTimeNodeRefs(timing)) {
        const auto val = ref.attribute("val");
        if (!val) continue;
        if (const auto it = renamed.find(*val); it != renamed.end()) ref.replaceAttribute("val", it->second);
    }
    return renamed;
}

}  // namespace orvandel::TimingTree
