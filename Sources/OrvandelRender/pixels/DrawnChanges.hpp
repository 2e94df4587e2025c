#pragma once
// Where in the movie the changes between shots are drawn (Storyboard::Shot's
// effect): an entrance or a slide's transition from the moment of its change
// on, an exit, an emphasis or a motion path over the time before it (they
// take effect when they end). A slide's transition runs over the states the
// slide goes through meanwhile (it brings in whatever the slide shows); any other drawing never runs into the next
// change nor back before the shot it starts from. Where changes come closer than their durations the later one waits
// for the earlier and the earlier is cut short, so that spans never overlap. Pure.
#include <cstdint>
#include <vector>

#include "plan/DrawnEffect.hpp"
#include "plan/MsRange.hpp"
#include "storyboard/Storyboard.hpp"

namespace orvandel {

struct DrawnChange {
    MsRange span;          // the frames drawn, in the movie
    std::size_t from = 0;  // the shot before the change
    std::size_t to = 0;    // the shot after it (a transition: the first of its slide)
    DrawnEffect effect;
    bool wholeSlide = false;         // a slide transition: the whole picture changes
    std::int64_t effectStartMs = 0;  // when the effect's own time is 0 (before span.startMs when cut short)
    int withoutPage = 0;             // Storyboard::Shot::withoutPage of `to`
    // The movie time over which the effect's whole duration plays: 0 for its
    // own duration. Text built word by word or letter by letter is squeezed
    // into the time its step has (the timing plan counts one piece's
    // duration), so that every piece is in place by the next change.
    std::int64_t playedOverMs = 0;

    // The effect's time at `ms`, within [0, durationMs].
    std::int64_t elapsedAt(std::int64_t ms) const;
    bool operator==(const DrawnChange&) const = default;
};

namespace DrawnChanges {

std::vector<DrawnChange> plan(const std::vector<Storyboard::Shot>& shots);

}  // namespace DrawnChanges

}  // namespace orvandel
