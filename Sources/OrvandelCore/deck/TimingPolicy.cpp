#include "deck/TimingPolicy.hpp"

#include <algorithm>

#include "base/Checked.hpp"
#include "deck/TimingTree.hpp"

namespace orvandel::TimingPolicy {

std::int64_t openingChainMs(const std::vector<XmlElement>& groupContainers,
                            const std::function<bool(const XmlElement& effect)>& leaveOut) {
    std::int64_t base = 0, end = 0, result = 0;
    for (const auto& container : groupContainers) {
        if (TimingTree::clickHead(container)) break;
        for (const auto& effect : TimingTree::effectChildren(container)) {
            if (leaveOut && leaveOut(effect)) continue;
            if (effect.attribute("nodeType") == "afterEffect") base = end;
            base = checkedAdd(base, TimingTree::effectStartDelayMs(effect));
            end = checkedAdd(base, TimingTree::effectDurationMs(effect));
            result = std::max(result, end);
        }
    }
    return result;
}

}  // namespace orvandel::TimingPolicy
