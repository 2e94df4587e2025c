#pragma once
// How the movie draws a change between two pictures (two states of a slide,
// or two slides) instead of cutting: over a duration, from two stills, as
// the behaviours the deck stores for the effect say (a slideshow plays the
// same behaviours). An effect is drawn on a layer: the target's pixels (a
// shape, a paragraph, a word...) over the picture without them; a slide's
// transition on the whole picture, the new slide over the old one.
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvandel {

// The time manipulations of a timed node (an effect's or a behaviour's
// p:cTn). spd is folded into the durations when the deck is read.
struct EffectTiming {
    std::int64_t accel = 0;           // share of a play spent speeding up, in 1/100000
    std::int64_t decel = 0;           // share spent slowing down, in 1/100000
    bool autoReverse = false;         // each play runs forward, then backward
    std::int64_t repeatMilli = 1000;  // how many plays, in thousandths; 0: until the effect ends
    // tmFilter: the simple time remapped piecewise-linearly through these
    // (time, progress) points, in 1/100000, times increasing; empty: none.
    std::vector<std::pair<std::int64_t, std::int64_t>> filter;
    auto operator<=>(const EffectTiming&) const = default;
};

// One behaviour of an effect, as stored in the deck, timed within the effect.
struct EffectBehaviour {
    enum class Kind {
        reveal,   // p:animEffect: `filter` ("fade", "wipe(left)", "wheel(4)", "barn(inVertical)"...) shows the
                  // layer (`in`) or hides it over the behaviour's time
        value,    // p:anim of `property` (ppt_x, ppt_y, ppt_w, ppt_h, r, style.rotation, style.opacity, xshear...)
                  // through `keys`
        scale,    // p:animScale: the layer's size from `from` to `to`, in 1/100000 of its own size
        rotate,   // p:animRot: the layer turns by `by`, in 60000ths of a degree, clockwise
        motion,   // p:animMotion: the layer's centre follows `path` (in slide widths and heights)
        colour,   // p:animClr, or a p:set/p:anim of a colour: drawn from the still with the colour changed
        restyle,  // p:set/p:anim of a text style (`property` style.fontWeight, style.fontStyle,
                  // style.textDecorationUnderline, style.fontFamily, style.fontSize) to the last key's value
                  // (a size as a factor: "1.5"): drawn, like a colour, from the still with it changed
    };
    // A point of a p:anim's time-value list. `time` in 1/100000 of the
    // behaviour's time; `value` as stored (a number or a formula such as
    // "0-#ppt_w/2"); `formula` the point's fmla (in which $ is the value
    // interpolated up to here), or empty.
    struct Key {
        std::int64_t time = 0;
        std::string value;
        std::string formula;
        auto operator<=>(const Key&) const = default;
    };
    Kind kind = Kind::reveal;
    std::int64_t beginMs = 0;     // from the effect's start
    std::int64_t durationMs = 0;  // one play, before repeats and reversal
    EffectTiming timing;
    // reveal
    std::string filter;
    bool in = true;
    // value (the property animated), colour (the property changed)
    std::string property;
    std::vector<Key> keys;  // from/to/by become keys at 0 and 100000 ("by" as "#property+by")
    bool discrete = false;  // calcmode="discrete": each key holds until the next
    // scale
    std::int64_t fromX = 100000, fromY = 100000, toX = 100000, toY = 100000;
    // rotate
    std::int64_t by = 0;
    // motion: the path's SVG-like text ("M 0 0 L 0.25 0.1 E"), relative to
    // where the layer is (origin "layout"), and the layer's turn along it
    std::string path;
    std::int64_t pathRotation = 0;  // rAng, 60000ths of a degree
    bool pathRelative = true;       // pathEditMode "relative"; "fixed" keeps the path's size
    // colour: what it becomes ("RRGGBB", or "scheme:accent2" for a colour
    // of the theme), when a still with it is drawn
    std::string colour;
    // fill="hold" on its p:cTn or the effect's (or a duration of
    // "indefinite"): what it leaves stays after it ends.
    bool holds = false;
    auto operator<=>(const EffectBehaviour&) const = default;
};

// Text built piece by piece (p:iterate): each word or letter of the target
// plays the effect in turn, `stepMilli` of the effect's own duration (tmPct,
// in 1/100000) or `stepMs` (tmAbs) after the one before it.
struct EffectIteration {
    enum class Unit { whole, word, letter };
    Unit unit = Unit::whole;
    std::int64_t units = 1;              // words or letters of the target's text, counted from the deck
    std::int64_t stepPct = 0;            // tmPct, 1/100000 of the effect's duration
    std::optional<std::int64_t> stepMs;  // tmAbs
    bool backwards = false;
    auto operator<=>(const EffectIteration&) const = default;
};

// A sound that plays when the effect or transition starts (p:subTnLst's
// p:audio, p:sndAc's p:stSnd), from the slide's relationships.
struct EffectSound {
    std::string relationshipId;  // r:embed (or r:link) of the a:snd / p:snd
    std::string name;
    bool loop = false;           // until the next sound or the slide's end
    bool stopsPrevious = false;  // p:endSnd, or a stSnd that stops what plays
    auto operator<=>(const EffectSound&) const = default;
};

struct DrawnEffect {
    enum class Role {
        entrance,    // the layer is the target as it appears (from the state after)
        exit,        // the target as it leaves (from the state before)
        emphasis,    // the target in place (from the state before, over a still without it)
        path,        // the target moving (likewise)
        transition,  // the whole new slide over the old one (or the old one over the new, see `layer`)
    };
    // Transitions only: which slide the behaviours move.
    enum class Layer {
        incoming,  // the new slide, over the old one
        outgoing,  // the old slide, leaving the new one beneath
        both,      // the new slide, and the old one pushed ahead of it
    };

    Role role = Role::entrance;
    Layer layer = Layer::incoming;
    std::int64_t durationMs = 0;  // the whole drawing, iterations, repeats and reversals included; 0 draws nothing
    std::vector<EffectBehaviour> behaviours;  // empty: a cut
    EffectIteration iterate;

    // What it came from, for the plan to show: the preset's class (entr,
    // exit, emph, path; a transition's element name), id and subtype.
    std::string presetClass;
    std::int64_t presetId = 0;
    std::int64_t presetSubtype = 0;
    // What is drawn ("circle(in)", "fly from left", "spin"...), and how that
    // departs from a slideshow (a 3-D turn drawn flat...); empty: it doesn't.
    std::string strategy;
    std::string approximation;
    // Drawn as something generic (a fade) because its behaviours are not
    // understood: what the plan counts as not drawn as its own kind.
    bool fallback = false;

    std::optional<EffectSound> sound;

    // An entrance or a transition is drawn from the moment of its change on;
    // an exit, an emphasis and a motion path take effect when they end, and
    // are drawn over the time before.
    bool drawnBeforeChange() const { return role == Role::exit || role == Role::emphasis || role == Role::path; }
    bool drawn() const { return !behaviours.empty() && durationMs > 0; }
    bool operator==(const DrawnEffect&) const = default;
};

}  // namespace orvandel
