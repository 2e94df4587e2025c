#pragma once
// Writes a TimingPlan into a slide's parsed p:timing tree, in place: all click
// steps of the main sequence are merged into the first, which then starts when
// the slide begins; each group gets its planned start delay, each click head
// becomes an effect that follows its group after the planned pause, and the
// durations named by the plan are replaced.
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Error.hpp"
#include "container/XmlElement.hpp"
#include "rewrite/TimingPlan.hpp"

namespace orvandel::MechanicalTransformer {

class Error : public ::orvandel::Error {
public:
    enum class Case { structureMismatch, mainSeqNotFound };

    // "unexpected timing structure: " + detail
    static Error structureMismatch(const std::string& detail);
    static Error mainSeqNotFound();

    Case errorCase() const { return case_; }
    // structureMismatch; empty otherwise.
    const std::string& detail() const { return detail_; }

private:
    Error(Case c, std::string detail, const std::string& description)
        : ::orvandel::Error(description), case_(c), detail_(std::move(detail)) {}

    Case case_;
    std::string detail_;
};

// Throws Error. On an error the tree may be partly changed; callers work on a
// parsed copy and drop it.
void apply(const TimingPlan& plan, const XmlElement& timing);

// Appends the on-begin condition for mainSeqId to a p:stCondLst unless one
// whose first p:tn points at mainSeqId is already there.
void ensureOnBegin(const XmlElement& stCondLst, std::string_view mainSeqId);

// Sets delay on the element's first p:stCondLst / first p:cond (the attribute
// moves last). Throws structureMismatch("cTn missing stCondLst/cond").
void setStartDelay(const XmlElement& element, std::int64_t delay);

}  // namespace orvandel::MechanicalTransformer
