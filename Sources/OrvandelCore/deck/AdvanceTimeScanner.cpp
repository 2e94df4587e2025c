#include "deck/AdvanceTimeScanner.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "base/Checked.hpp"
#include "container/SlideXML.hpp"
#include "deck/TimingPolicy.hpp"
#include "deck/TimingTree.hpp"

namespace orvandel::AdvanceTimeScanner {

namespace {

// The spid of the first p:spTgt below the effect that has one.
std::optional<std::string> targetShape(const XmlElement& effect) {
    std::optional<std::string> spid;
    effect.walk([&](const XmlElement& e) {
        if (!spid && e.name() == "p:spTgt") spid = e.attribute("spid");
    });
    return spid;
}

// Answers "is this shape a video or audio?" for one slide. The shape tree is
// parsed on the first question only, and each answer is remembered: paragraph
// builds ask about the same shape once per click step, hundreds of times.
class MediaShapes {
public:
    explicit MediaShapes(std::string_view xml) : xml_(xml) {}

    bool targetIsMedia(const XmlElement& effect) {
        const auto spid = targetShape(effect);
        if (!spid) return false;
        if (const auto known = answers_.find(*spid); known != answers_.end()) return known->second;
        if (!spTree_) {
            const auto range = SlideXML::elementRange(xml_, "p:spTree");
            if (!range) throw SlideXMLError::fragmentNotFound("p:spTree");
            spTree_ = SlideXML::parseFragment(xml_.substr(range->first, range->second - range->first), "p:spTree");
        }
        return answers_[*spid] = SlideXML::shapeIsMedia(*spTree_, *spid);
    }

private:
    std::string_view xml_;
    std::optional<XmlElement> spTree_;
    std::map<std::string, bool> answers_;
};

}  // namespace

ScanResult scan(std::string_view xml) {
    ScanResult result;
    const auto parsed = SlideXML::parseElement(xml, "p:timing");
    if (!parsed) return result;
    const XmlElement& timing = *parsed;

    const auto mainSeq = TimingTree::firstMainSeq(timing);
    if (!mainSeq) return result;

    // Exits anywhere count, also in interactive sequences beside the main one.
    for (const auto& node : TimingTree::allCTnInDocumentOrder(timing)) {
        if (node.attribute("presetClass") == "exit") {
            result.hasExitEffect = true;
            break;
        }
    }
    const auto containers = TimingTree::groupContainers(*mainSeq);
    MediaShapes media(xml);

    for (const auto& container : containers) {
        const auto head = TimingTree::clickHead(container);
        if (!head) continue;
        if (head->attribute("presetClass") == "exit") {
            result.orderedGroupKinds.push_back(ClickGroupKind::exit);
            result.exitGroupCount = checkedAdd(result.exitGroupCount, 1);
            continue;
        }
        // A click that starts a video or audio is timed by the media's own length.
        if (media.targetIsMedia(*head)) continue;
        result.bulletDursMs.push_back(TimingTree::entranceDurationMs(container));
        result.orderedGroupKinds.push_back(ClickGroupKind::entry);
    }
    result.bulletCount = static_cast<std::int64_t>(result.bulletDursMs.size());

    // The groups before the first click group start by themselves. Their
    // media count on their own (the video's length, beside the steps)...
    const auto isMedia = [&](const XmlElement& effect) { return media.targetIsMedia(effect); };
    result.autoDurationMs = TimingPolicy::openingChainMs(containers, isMedia);
    // ...except before click steps: the rewritten timing starts the steps
    // when the whole chain has played, media included, so that is when the
    // slideshow shows them, and what the advance time and the cues count.
    if (result.bulletCount >= 1) {
        const std::int64_t whole = TimingPolicy::openingChainMs(containers);
        if (whole > result.autoDurationMs) {
            result.autoDurationMs = whole;
            result.opensWithMedia = true;
        }
    }
    return result;
}

}  // namespace orvandel::AdvanceTimeScanner
