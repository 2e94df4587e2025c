#pragma once
// The slide transitions of the deck as its author made them. The prepared
// deck's transitions are all rewritten into instant automatic advances, so the
// renderer is handed the source deck's markup (RenderRequest) and reads it
// here to draw each slide's entry.
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "plan/DrawnEffect.hpp"

namespace orvandel::SlideTransitions {

// How the slide's transition is drawn: fade, wipe (from a side), cover (fly:
// the new slide comes in over the old one), push, pull (uncover), zoom, and
// any other kind as a fade, over p14:dur (or spd: fast 500, med 750, slow
// 1000 ms). Nothing for a slide without a transition, with a cut or with a
// transition that has no effect. Pure.
std::optional<DrawnEffect> read(std::string_view slideXml);
// The same from the transition markup alone (DeckModel::transitions).
std::optional<DrawnEffect> readMarkup(std::string_view transitionMarkup);

// Every slide's transition from the markup by slide part name, for the slides
// whose transition is drawn.
std::map<std::string, DrawnEffect> ofMarkup(const std::map<std::string, std::string>& markupBySlide);

}  // namespace orvandel::SlideTransitions
