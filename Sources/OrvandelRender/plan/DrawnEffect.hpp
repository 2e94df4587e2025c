#pragma once
// How the movie draws a change between two pictures (two states of a slide,
// or two slides) instead of cutting: over a duration, from two stills.
#include <cstdint>

namespace orvandel {

struct DrawnEffect {
    enum class Kind {
        cut,      // no drawing: the new picture at once
        fade,     // a crossfade (also what any effect without a drawing of its own becomes)
        wipe,     // the new picture revealed from `side` across the changed area
        fly,      // the changed part slides in from `side` (or out to it, leaving); a slide covers the old one
        zoom,     // the changed part grows from its centre (or shrinks into it, leaving)
        push,     // slides: the new one pushes the old one out, coming from `side`
        uncover,  // slides: the old one slides out towards `side`, uncovering the new one
    };
    enum class Side { left, right, top, bottom };

    Kind kind = Kind::cut;
    Side side = Side::left;
    std::int64_t durationMs = 0;  // 0 draws nothing
    // An entrance is drawn from the moment its change happens on; an exit
    // (which takes effect when it ends) over the time before it.
    bool entering = true;

    bool drawn() const { return kind != Kind::cut && durationMs > 0; }
    bool operator==(const DrawnEffect&) const = default;
};

}  // namespace orvandel
