#pragma once
// Reads one effect of a slide's timing (the p:cTn that carries presetClass)
// into the drawing the movie makes of it: its role, each behaviour as the
// deck stores it (timed within the effect, the speeds folded in), the text
// iteration, the sound it starts, and names for the plan: what is drawn and
// where that departs from a slideshow. A pure function of the effect's XML
// and, for text built word by word or letter by letter, of its target's text.
//
// Timing: a behaviour's spd divides its own delay and duration; the effect's
// spd divides every behaviour's. The effect's accel and decel apply to the
// behaviours that have none of their own; its autoRev and repeatCount are
// folded into every behaviour's (exact when the behaviours span the whole
// effect, as the presets write them; otherwise the plan's approximation says
// so). A repeat count of "indefinite" (0: until the effect ends) is drawn as
// one play.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "container/XmlElement.hpp"
#include "plan/DrawnEffect.hpp"

namespace orvandel::EffectBehaviours {

// The text of a shape (no paragraph) or of one of its paragraphs (0-based);
// empty when unknown.
using TargetText = std::function<std::string(const std::string& shapeId, std::optional<std::int64_t> paragraph)>;

// The drawing of the effect `effect` (its p:cTn). An effect of another class
// (mediacall, verb...) has no role to draw: it comes back with no behaviours.
DrawnEffect read(const XmlElement& effect, const TargetText& textOf = {});

// Words (whitespace-separated) or letters (non-space characters) of a text,
// at least 1.
std::int64_t unitsOf(std::string_view text, EffectIteration::Unit unit);

}  // namespace orvandel::EffectBehaviours
