#include "rewrite/MechanicalTransformer.hpp"

#include <vector>

#include "base/Numbers.hpp"
#include "deck/TimingTree.hpp"

namespace orvandel::MechanicalTransformer {

using TimingTree::firstChild;

Error Error::structureMismatch(const std::string& detail) {
    return Error(Case::structureMismatch, detail, "unexpected timing structure: " + detail);
}

Error Error::mainSeqNotFound() {
    return Error(Case::mainSeqNotFound, {}, "mainSeq <p:cTn nodeType=\"mainSeq\"> not found");
}

namespace {

// The p:childTnLst of a click step's p:cTn, or null.
XmlElement stepChildList(const XmlElement& stepPar) {
    const auto cTn = firstChild(stepPar, "p:cTn");
    return cTn ? cTn->firstChildElement("p:childTnLst") : XmlElement();
}

}  // namespace

void ensureOnBegin(const XmlElement& stCondLst, std::string_view mainSeqId) {
    for (const auto& cond : TimingTree::directChildren(stCondLst, "p:cond")) {
        if (cond.attribute("evt") != "onBegin") continue;
        const auto tn = firstChild(cond, "p:tn");
        if (tn && tn->attribute("val") == mainSeqId) return;
    }
    XmlElement list = stCondLst;
    list.appendChild(TimingTree::makeOnBeginCond(stCondLst, mainSeqId));
}

void setStartDelay(const XmlElement& element, std::int64_t delay) {
    const auto conditions = firstChild(element, "p:stCondLst");
    auto cond = conditions ? firstChild(*conditions, "p:cond") : std::nullopt;
    if (!cond) throw Error::structureMismatch("cTn missing stCondLst/cond");
    cond->replaceAttribute("delay", formatInt(delay));
}

void apply(const TimingPlan& plan, const XmlElement& timing) {
    const auto mainSeq = TimingTree::firstMainSeq(timing);
    if (!mainSeq) throw Error::mainSeqNotFound();
    const auto mainSeqId = mainSeq->attribute("id");

    const auto stepList = firstChild(*mainSeq, "p:childTnLst");
    if (!stepList) throw Error::structureMismatch("mainSeq has no childTnLst");
    auto steps = TimingTree::directChildren(*stepList, "p:par");

    const auto wrapper = steps.empty() ? std::nullopt : firstChild(steps.front(), "p:cTn");
    const auto wrapperConditions = wrapper ? firstChild(*wrapper, "p:stCondLst") : std::nullopt;
    auto wrapperChildren = wrapper ? firstChild(*wrapper, "p:childTnLst") : std::nullopt;
    if (!wrapperConditions || !wrapperChildren) throw Error::structureMismatch("missing or malformed first wrapper");

    // Without an id nothing could point at the main sequence; the step keeps its own start.
    if (mainSeqId) ensureOnBegin(*wrapperConditions, *mainSeqId);

    // Check every further step before moving anything out of one.
    std::vector<XmlElement> stepChildren;
    for (std::size_t i = 1; i < steps.size(); ++i) {
        XmlElement list = stepChildList(steps[i]);
        if (!list) throw Error::structureMismatch("wrapper malformed");
        stepChildren.push_back(std::move(list));
    }
    for (std::size_t i = 1; i < steps.size(); ++i) {
        for (const auto& group : TimingTree::directChildren(stepChildren[i - 1], "p:par")) {
            wrapperChildren->appendChild(group);
        }
        steps[i].detach();
    }

    const auto containers = TimingTree::groupContainers(*mainSeq);
    if (containers.size() != plan.groups.size()) {
        throw Error::structureMismatch("plan has " + formatInt(static_cast<std::int64_t>(plan.groups.size())) +
                                       " groups but tree has " +
                                       formatInt(static_cast<std::int64_t>(containers.size())));
    }
    for (std::size_t i = 0; i < containers.size(); ++i) {
        const GroupPlan& group = plan.groups[i];
        if (group.startDelayMs) setStartDelay(containers[i], *group.startDelayMs);
        if (group.headRespiroMs) {
            auto head = TimingTree::clickHead(containers[i]);
            if (!head) throw Error::structureMismatch("group marked for conversion has no clickEffect head");
            head->replaceAttribute("nodeType", "afterEffect");
            setStartDelay(*head, *group.headRespiroMs);
        }
    }

    if (plan.durationOverrides.empty()) return;
    for (auto& node : TimingTree::allCTnInDocumentOrder(timing)) {
        const auto dur = node.attribute("dur");
        if (!dur) continue;
        if (const auto it = plan.durationOverrides.find(*dur); it != plan.durationOverrides.end()) {
            node.replaceAttribute("dur", it->second);
        }
    }
}

}  // namespace orvandel::MechanicalTransformer
