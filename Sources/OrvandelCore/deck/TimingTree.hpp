#pragma once
// Navigation and small edits of a slide's parsed p:timing tree, in the shape
// PowerPoint writes it:
//
//   p:cTn nodeType="mainSeq"
//     p:childTnLst / p:par (one per click step) / p:cTn
//       p:childTnLst / p:par (one per group) / p:cTn   <- group container
//         p:childTnLst / p:par (one per effect) / p:cTn <- effect
//           p:stCondLst / p:cond delay=...; behaviours below carry dur=...
//
// Names are qualified names compared exactly ("p:cTn", not "cTn"). Numbers in
// delay, dur, id and val are decimal integers; one that does not parse (a word
// such as "indefinite") counts as absent. A delay or dur longer than
// TimingPolicy::LONGEST_TIMING throws TimingValueError, so that no sum of
// them can overflow.
// Edits work in place on the caller's tree.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "container/XmlElement.hpp"

namespace orvandel {

class TimingValueError : public Error {
public:
    // e.g. attribute "dur", value "4611686018427387904"
    TimingValueError(std::string attribute, std::string value);
    const std::string& attribute() const { return attribute_; }
    const std::string& value() const { return value_; }

private:
    std::string attribute_;
    std::string value_;
};

}  // namespace orvandel

namespace orvandel::TimingTree {

// The first p:cTn in document order whose nodeType is "mainSeq".
std::optional<XmlElement> firstMainSeq(const XmlElement& timing);

std::vector<XmlElement> directChildren(const XmlElement& element, std::string_view name);
std::optional<XmlElement> firstChild(const XmlElement& element, std::string_view name);

// The group container p:cTn elements of every click step, in order.
std::vector<XmlElement> groupContainers(const XmlElement& mainSeq);
// The first p:cTn of each p:par in the container's first p:childTnLst.
std::vector<XmlElement> effectChildren(const XmlElement& container);
// The first effect whose nodeType is "clickEffect".
std::optional<XmlElement> clickHead(const XmlElement& container);

// delay of the effect's first p:stCondLst / first p:cond; 0 when missing.
std::int64_t effectStartDelayMs(const XmlElement& effect);
// The largest dur over the p:cTn elements below the effect (not its own);
// 0 when there is none.
std::int64_t effectDurationMs(const XmlElement& effect);
// From the group's start until its last effect ends. An afterEffect starts
// when the previous effect ended; a duration of exactly 1000 counts as 500,
// matching the override the bullet writer applies to such effects.
std::int64_t entranceDurationMs(const XmlElement& container);

// The first effect of the main sequence whose presetClass is "mediacall".
std::optional<XmlElement> mainSeqMediaCall(const XmlElement& timing);

// A new, unattached <p:cond evt="onBegin" delay="0"><p:tn val=mainSeqId/></p:cond>
// belonging to the document of anyElementOfDocument.
XmlElement makeOnBeginCond(const XmlElement& anyElementOfDocument, std::string_view mainSeqId);

// Makes the first click step of the main sequence start when the main sequence
// begins, adding the on-begin condition only when it is not there yet. False
// (tree unchanged) when the main sequence, its id or a level down to the first
// step's p:stCondLst is missing.
bool ensureMainSeqOnBegin(const XmlElement& timing);

// Pre-order, the element itself included.
std::vector<XmlElement> allCTnInDocumentOrder(const XmlElement& element);
std::vector<XmlElement> allTimeNodeRefs(const XmlElement& element);

// Gives the p:cTn elements the ids 1, 2, 3 ... in document order (the new id
// attribute goes last) and points every p:tn val at the renumbered node.
// Returns old id -> new id. When two nodes shared an old id, references follow
// the first of them.
std::map<std::string, std::string> renumber(const XmlElement& timing);

}  // namespace orvandel::TimingTree
