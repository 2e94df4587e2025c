#pragma once
// What a slideshow shows of one prepared slide when nobody clicks. The
// contract: a pure function of the slide's XML (no I/O, no state) that returns
// the slide's states in time order (when each begins and which shapes and
// paragraphs are hidden in it), when each click group of the main sequence
// starts, and when each medium starts playing. The renderer draws one still
// per state; whatever else must know what the movie shows at a moment (cues,
// the advance time of a slide that opens with media) asks the same function.
//
// The slide's p:timing is evaluated as a graph of time nodes, in the subset of
// its semantics that slideshows use:
// - the root starts with the slide, at 0 ms;
// - a child of a parallel node (p:par, p:excl, an effect and its behaviours)
//   starts at its parent's start plus its p:cond delay; a child of p:seq when
//   the child before it has ended, plus its delay;
// - the effects of a group (a presetClass, nodeType clickEffect, withEffect
//   or afterEffect, one plain delay) follow one another as the timing rewrite
//   lays them out: an afterEffect starts when the effect before it has ended,
//   any other where the effect before it started, then its own delay is
//   added (so the effects that come with a retimed click head start with it);
// - a condition on another node (evt onBegin/begin or onEnd/end with p:tn)
//   starts it at that node's start or end plus the delay; the earliest
//   condition that resolves wins, never before the parent starts;
// - a condition that waits for the user (delay "indefinite" alone, clicks,
//   "next", triggers on shapes) never resolves: that node and everything below
//   it never start, as in a slideshow that nobody clicks;
// - a node ends after its dur, or without one when its last child ends.
//   repeatCount, endCondLst and fill are not evaluated for the graph:
//   visibility once set holds until another change.
//
// What is shown: an entrance effect (presetClass "entr") shows its targets
// when it begins, an exit effect ("exit") hides them when it ends; elsewhere a
// p:set of style.visibility changes them when it begins. An emphasis ("emph")
// or a motion path ("path") changes its targets when its drawing ends (its
// begin plus the drawing's length, repeats and reversals included, as
// EffectBehaviours reads it), like an exit: when its behaviours hold
// (fill="hold" on them or on the effect) and do not reverse, their end values
// are added to what the targets hold (HeldChange: a scale multiplies, a turn
// and a path's end point add up, an opacity or a colour replaces), and stay
// through every later state, an exit's included (a text style replaces,
// a font size multiplies). A target whose first change
// (by time; changes that never happen count after all others, in document
// order) shows it is hidden when the slide opens. Targets are whole shapes
// (p:spTgt, also through its background p:bg), paragraphs (p:txEl/p:pRg, one
// target per paragraph) and the parts of a graphic that a chart or diagram
// build shows one by one (p:graphicEl: a chart's background, series,
// categories or data points, a diagram's elements; p:oleChartEl of an
// embedded chart). Any other part of a shape (a character range) stands for
// the whole shape, and so do the graphic parts of the shapes the caller asks
// to see whole: such a shape appears with its first part and leaves with its
// last.
#include <compare>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "plan/DrawnEffect.hpp"

namespace orvandel {

// A part of a chart or diagram that a build shows on its own.
struct GraphicPart {
    enum class Kind {
        chartBackground,  // axes, gridlines and legend (bldStep gridLegend)
        chartData,        // every series (allPts)
        chartSeries,      // series `series`, every data point of it
        chartCategory,    // data point `category` of every series
        chartPoint,       // data point `category` of series `series`
        diagramElement,   // the diagram's data point `element` and its connector
        oleChartElement,  // a part of an embedded (OLE) chart: never drawn on its own
    };
    Kind kind = Kind::chartBackground;
    std::int64_t series = 0;    // 0-based, in the chart's order
    std::int64_t category = 0;  // 0-based
    std::string element;        // a diagram point's modelId
    auto operator<=>(const GraphicPart&) const = default;
};

struct PlayoutTarget {
    std::string shapeId;                                // the shape's p:cNvPr id (spid)
    std::optional<std::int64_t> paragraph;              // 0-based in the shape's text body; absent: the whole shape
    std::optional<GraphicPart> graphic = std::nullopt;  // a part of the graphic the shape shows
    auto operator<=>(const PlayoutTarget&) const = default;
};

// What an emphasis or a motion path leaves on a shape when the deck says it
// holds (fill="hold"), until another one changes it again: the storyboard
// draws the shape so in the states after it.
struct HeldChange {
    PlayoutTarget target;
    std::int64_t dx = 0, dy = 0;                     // its centre moved, in 1/100000 of the slide's width and height
    std::int64_t scaleX = 100000, scaleY = 100000;   // its size, 1/100000 of its own
    std::int64_t rotation = 0;                       // turned by, 60000ths of a degree, clockwise
    std::int64_t opacity = 100000;                   // 1/100000
    std::string fillColour, lineColour, textColour;  // "RRGGBB" (or "scheme:accent2") when changed
    // The text's style, when changed: bold, italic, underlined, its
    // typeface, its size (1/100000 of what it was).
    std::optional<bool> bold, italic, underline;
    std::string typeface;
    std::int64_t fontScale = 100000;
    auto operator<=>(const HeldChange&) const = default;
};

struct PlayoutState {
    std::int64_t startMs = 0;           // from the start of the slide
    std::vector<PlayoutTarget> hidden;  // sorted, without duplicates
    std::vector<HeldChange> held;       // sorted by target, one per target
    bool operator==(const PlayoutState&) const = default;
};

// One effect of the slide's timing that starts, whether it changes what is
// shown or not: what the plan lists.
struct PlannedEffect {
    std::int64_t startMs = 0;  // from the start of the slide
    std::vector<PlayoutTarget> targets;
    DrawnEffect effect;
    // The state it changes into (its index in states); nothing when it
    // changes nothing the states hold.
    std::optional<std::size_t> state;
    // Whether the change into that state is drawn with this effect (the
    // first drawn one of the state's effects); the others of the state are
    // drawn with it.
    bool drawsState = false;
    bool operator==(const PlannedEffect&) const = default;
};

struct MediaStart {
    std::string shapeId;
    std::int64_t startMs = 0;
    bool operator==(const MediaStart&) const = default;
};

struct SlidePlayout {
    // Never empty when returned by evaluate: the first state starts at 0, the
    // starts increase strictly and each state differs from the one before,
    // unless an emphasis or a motion path is drawn into it (one that plays
    // and returns to where it was).
    // States starting at or after the slide's advance time are listed as well;
    // the slide has gone by then.
    std::vector<PlayoutState> states;
    // The media play commands that start, in time order.
    std::vector<MediaStart> media;
    // One per state: how the change into it is drawn, as the effect that
    // makes it (the first drawn one in document order: an entrance, an exit,
    // an emphasis or a motion path), read by EffectBehaviours; one without
    // behaviours (Appear) is a cut, and so is the first state's.
    std::vector<DrawnEffect> effects;
    // One per state: the targets of the effect drawn into it (the layer an
    // emphasis or a motion path lifts off a still without them).
    std::vector<std::vector<PlayoutTarget>> effectTargets;
    // Every effect of a drawn class (entr, exit, emph, path) that starts, in
    // time order (document order among those that start together).
    std::vector<PlannedEffect> planned;
    bool operator==(const SlidePlayout&) const = default;
};

namespace PlayoutTimeline {

// Throws SlideXMLError when the slide's p:timing cannot be parsed (or its
// p:spTree, read when an effect builds text word by word or letter by
// letter). A slide without timing shows one state, with nothing hidden. The graphic parts of
// the shapes in `shownWhole` (spids) stand for their whole shape.
SlidePlayout evaluate(std::string_view slideXml, const std::set<std::string>& shownWhole = {});

}  // namespace PlayoutTimeline

}  // namespace orvandel
