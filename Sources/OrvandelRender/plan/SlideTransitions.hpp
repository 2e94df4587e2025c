#pragma once
// The slide transitions of the deck as its author made them. The prepared
// deck's transitions are all rewritten into instant automatic advances, so the
// renderer is handed the source deck's markup (RenderRequest) and reads it
// here to draw each slide's entry.
//
// Every kind the format defines is read as behaviours the painter draws
// (role transition, on the incoming, the outgoing or both slides), with the
// name of what is drawn (`strategy`) and, where a slideshow draws it in 3-D or
// otherwise differently, how it departs (`approximation`). Of an
// mc:AlternateContent, the first mc:Choice whose every required prefix is
// one of p14, p15, p159 is read, otherwise the mc:Fallback.
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "plan/DrawnEffect.hpp"

namespace orvandel::SlideTransitions {

// How the slide's transition is drawn over p14:dur (or spd: fast 500, med
// 750, slow 1000 ms) and the sound it starts. Nothing for a slide without a
// transition, or with a cut or a transition without an effect, unless it
// plays a sound (then a cut with its sound). Pure.
std::optional<DrawnEffect> read(std::string_view slideXml);
// The same from the transition markup alone (DeckModel::transitions). `seed`
// (the slide's part name) picks the kind a random transition is drawn as.
std::optional<DrawnEffect> readMarkup(std::string_view transitionMarkup, std::string_view seed = {});
// What the markup holds, cuts included (strategy "cut"), for the plan to
// show; nothing without a p:transition, or when the one read has neither an
// effect nor a sound.
std::optional<DrawnEffect> describe(std::string_view transitionMarkup, std::string_view seed = {});

// Every slide's transition from the markup by slide part name, for the slides
// whose transition is drawn or sounds.
std::map<std::string, DrawnEffect> ofMarkup(const std::map<std::string, std::string>& markupBySlide);

}  // namespace orvandel::SlideTransitions
