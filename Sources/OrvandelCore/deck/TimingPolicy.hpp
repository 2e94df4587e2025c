#pragma once
// The one timing policy of a prepared deck. The advance times, the rewritten
// timing (the plan, the exit and media delays) and the cues are all laid out
// from these values, so that the movie a renderer draws and the cue times a
// player jumps to agree. Three base values, and the named values built on
// them; all milliseconds.
#include <cstdint>
#include <functional>
#include <vector>

#include "container/XmlElement.hpp"

namespace orvandel::TimingPolicy {

inline constexpr std::int64_t LEAD_IN = 500;   // before a first step or a medium, and the margin after a block
inline constexpr std::int64_t RESPIRO = 1000;  // pause after an animation
inline constexpr std::int64_t BULLET = 1500;   // shortest click step

inline constexpr std::int64_t MARGEM = LEAD_IN;       // margin at the end of each block
inline constexpr std::int64_t VIDEO_PRE = LEAD_IN;    // before a video starts (its autoplay delay)
inline constexpr std::int64_t VIDEO_POS = LEAD_IN;    // after a video ends
inline constexpr std::int64_t GIF_PRE = LEAD_IN;      // before a GIF
inline constexpr std::int64_t GIF_POS = LEAD_IN;      // after a GIF
inline constexpr std::int64_t NO_EVENT = BULLET;      // a slide on which nothing happens
inline constexpr std::int64_t STEP = BULLET;          // the fixed length of an exit group
inline constexpr std::int64_t EXIT_OFFSET = LEAD_IN;  // delay before the first exit of a group
// A step whose animation length is unknown counts as an animation this long.
inline constexpr std::int64_t DEFAULT_ANIMATION = LEAD_IN;

// What the export flow and `prepare` give the timing rewrite: the pause after
// each bullet and the least spacing between two bullet starts.
inline constexpr std::int64_t respiroMs = RESPIRO;
inline constexpr std::int64_t espacamentoMs = BULLET;

// No delay or duration in a deck, and no video or GIF length, is longer than
// a day: a larger one is damage (or malice), refused as bad input before any
// sum could overflow.
inline constexpr std::int64_t LONGEST_TIMING = 86'400'000;

// An entrance of exactly one second is played, and counted, as half a second.
inline constexpr std::int64_t ONE_SECOND_EFFECT = 2 * LEAD_IN;
inline constexpr std::int64_t ONE_SECOND_EFFECT_PLAYED = LEAD_IN;

// How long the opening chain of a main sequence plays: the groups before the
// first click group start by themselves when the slide opens, one after the
// other on one timeline (an afterEffect starts when the effect before it
// ended; every effect adds its start delay; its length is its longest dur,
// taken as written). The first click group starts when it has played; the
// advance time and the cues count it. Effects for which leaveOut says yes
// take no time (the advance time counts a slide's media on their own).
std::int64_t openingChainMs(const std::vector<XmlElement>& groupContainers,
                            const std::function<bool(const XmlElement& effect)>& leaveOut = {});

}  // namespace orvandel::TimingPolicy
