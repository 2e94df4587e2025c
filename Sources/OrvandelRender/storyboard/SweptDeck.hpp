#pragma once
// The prepared deck's parts as the link sweep leaves them: what the passes
// after the sweep (the recolouring, the storyboard) read, so that none of
// them sees a part the sweep changed as it was.
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.hpp"
#include "deck/DeckModel.hpp"
#include "storyboard/LinkSweep.hpp"

namespace orvandel {

class SweptDeck {
public:
    SweptDeck(DeckModel& deck, const LinkSweep::Sweep& sweep) : deck_(deck), sweep_(sweep) {}

    DeckModel& deck() { return deck_; }
    bool contains(const std::string& part) { return deck_.contains(part); }

    // The part's text; throws as DeckModel::part() does.
    std::string text(const std::string& part);
    // The part's text; "" when there is none or it cannot be read.
    std::string textOrEmpty(const std::string& part);
    // The part's bytes; throws as the archive reader does.
    Bytes bytes(const std::string& part);
    // A picture's bytes, one the sweep took into the deck included; nothing
    // when there is none, it cannot be read or it unpacks to more than `largest`.
    std::optional<Bytes> picture(const std::string& part, std::int64_t largest);

    // The part's relationships; none when it has none or they cannot be read.
    std::vector<Relationship> relationships(const std::string& part);
    // The part the first internal relationship whose type ends in "/kind" leads to; "" for none.
    std::string related(const std::string& part, std::string_view kind);
    // Every entry name of the deck and of the pictures the sweep adds.
    std::set<std::string> names();

private:
    DeckModel& deck_;
    const LinkSweep::Sweep& sweep_;
};

}  // namespace orvandel
