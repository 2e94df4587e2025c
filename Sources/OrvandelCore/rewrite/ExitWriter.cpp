#include "rewrite/ExitWriter.hpp"

#include "base/Checked.hpp"
#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"
#include "deck/TimingPolicy.hpp"
#include "deck/TimingTree.hpp"

namespace orvandel::ExitWriter {

namespace {

// The first p:cond of the effect's first p:stCondLst.
std::optional<XmlElement> startCondition(const XmlElement& effect) {
    const auto conditions = TimingTree::firstChild(effect, "p:stCondLst");
    return conditions ? TimingTree::firstChild(*conditions, "p:cond") : std::nullopt;
}

}  // namespace

std::string retimeExitHeads(std::string xml, std::int64_t offsetMs) {
    const auto timing = SlideXML::parseElement(xml, "p:timing");
    const auto mainSeq = timing ? TimingTree::firstMainSeq(*timing) : std::nullopt;
    if (!mainSeq) return xml;

    bool changed = false;
    for (const auto& container : TimingTree::groupContainers(*mainSeq)) {
        for (const auto& effect : TimingTree::effectChildren(container)) {
            if (effect.attribute("presetClass") != "exit") continue;
            auto cond = startCondition(effect);
            if (!cond) continue;
            cond->replaceAttribute("delay", formatInt(offsetMs));
            changed = true;
            break;
        }
    }
    return changed ? SlideXML::replaceElement(std::move(xml), "p:timing", *timing) : xml;
}

std::string convertExitToAfterEffect(std::string xml) {
    const auto timing = SlideXML::parseElement(xml, "p:timing");
    const auto mainSeq = timing ? TimingTree::firstMainSeq(*timing) : std::nullopt;
    if (!mainSeq) return xml;

    std::int64_t converted = 0;
    for (const auto& container : TimingTree::groupContainers(*mainSeq)) {
        auto head = TimingTree::clickHead(container);
        if (!head || head->attribute("presetClass") != "exit") continue;
        auto cond = startCondition(*head);
        if (!cond) continue;
        head->replaceAttribute("nodeType", "afterEffect");
        cond->replaceAttribute("delay", formatInt(checkedAdd(TimingPolicy::EXIT_OFFSET,
                                                             checkedMul(converted, TimingPolicy::STEP))));
        converted = checkedAdd(converted, 1);
    }
    if (converted == 0) return xml;
    TimingTree::ensureMainSeqOnBegin(*timing);
    return SlideXML::replaceElement(std::move(xml), "p:timing", *timing);
}

}  // namespace orvandel::ExitWriter
