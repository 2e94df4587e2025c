#pragma once
// How far a behaviour has got at a moment of its effect, in integers: one
// play speeds up over its accel share and slows down over its decel share
// (the speed ramps linearly, constant between, the distance covered is
// always the whole), runs back again with autoReverse, and plays
// repeatMilli/1000 times; past its active duration it holds where it
// ended. A time filter (tmFilter) then remaps the eased progress through
// its points, linearly between them, as SMIL time filters do. Pure.
#include <cstdint>

#include "plan/DrawnEffect.hpp"

namespace orvandel::EffectProgress {

inline constexpr std::int64_t kWhole = 100000;

// The eased progress of one forward play at `simple` (0..kWhole of it).
std::int64_t eased(std::int64_t simple, const EffectTiming& timing);

// The progress (0..kWhole) remapped through the timing's filter (unchanged
// without one).
std::int64_t filtered(std::int64_t progress, const EffectTiming& timing);

// The behaviour's active duration: its plays, reversals included; with
// repeatMilli 0 it plays until `untilMs` (the end of its effect).
std::int64_t activeMs(std::int64_t playMs, const EffectTiming& timing, std::int64_t untilMs);

// The progress (0..kWhole) `elapsedMs` after the behaviour began (negative:
// not yet, 0).
std::int64_t at(std::int64_t elapsedMs, std::int64_t playMs, const EffectTiming& timing, std::int64_t untilMs);

}  // namespace orvandel::EffectProgress
