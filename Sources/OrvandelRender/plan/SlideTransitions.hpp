#pragma once
// The slide transitions of the deck as its author made them. The prepared
// deck's transitions are all rewritten into instant automatic advances, so the
// renderer is given these (through its options) to draw each slide's entry.
#include <filesystem>
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

// Every slide's transition, by slide part name ("ppt/slides/slide3.xml").
// Throws the archive reader's errors.
std::map<std::string, DrawnEffect> ofDeck(const std::filesystem::path& deck);

}  // namespace orvandel::SlideTransitions
