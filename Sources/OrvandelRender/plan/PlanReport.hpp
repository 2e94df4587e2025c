#pragma once
// What the headless movie draws of a deck, for people (`orvandel plan`) and
// for the checks (`plan --json`, bench/effect-census.sh): per visible slide,
// its transition, its states and every effect that starts, each with the
// drawing chosen for it and how that departs from a slideshow.
#include <filesystem>
#include <map>
#include <string>

#include "deck/DeckModel.hpp"
#include "deck/SlideReport.hpp"
#include "plan/RenderPlan.hpp"

namespace orvandel::PlanReport {

struct DeckPlan {
    RenderPlan plan;  // of the prepared deck
    // The source deck's transitions by slide part, cuts and sounds included
    // (SlideTransitions::describe).
    std::map<std::string, DrawnEffect> transitions;
};

// Prepares the deck into a scratch folder under `scratchParent`, removed
// however this ends, and reads the prepared deck's plan and the deck's own
// transitions. Passes on the errors of DeckTransformer::prepare and
// RenderPlanReader::read.
DeckPlan read(DeckModel& deck, const SlideDurations& videoMs, const SlideDurations& gifMs,
              const std::filesystem::path& scratchParent);

// The plan as aligned text. Pure.
std::string text(const DeckPlan& plan);

// The plan as JSON: {"totalMs", "slides": [{"slide", "file", "advanceMs",
// "transition", "states", "effects"}]} for the visible slides. A transition
// (null without one) and an effect share the keys "presetClass" (a
// transition's element name, with a p15:prstTrans's preset in parentheses),
// "presetId", "presetSubtype", "strategy", "approximation" (null when drawn as
// a slideshow draws it), "fallback", "durationMs", "behaviours" (each
// {"kind", "filter"|"property"+"keys"|"from"+"to"|"by"}), "sound" (null or
// {"relationshipId", "name", "loop", "stopsPrevious"}); a transition adds
// "layer" and "drawn" (false for a cut, a zero duration, or the first
// slide's); an effect adds "startMs", "role", "targets" ([{"shape",
// "paragraph", "graphic"}]), "easing" (its first behaviour's {"accel",
// "decel", "autoReverse", "repeatMilli"}), "iteration" (null, or {"unit",
// "units", "stepPct", "stepMs", "backwards"}), "state" (the index of the
// state it changes into, or null) and "drawsState". A state is {"startMs",
// "hidden": [targets], "held": count, "drawnMs": how long the change into it
// is drawn, "drawnBefore": whether over the time before its start (an exit)
// rather than after}. Pure.
std::string json(const DeckPlan& plan);

}  // namespace orvandel::PlanReport
