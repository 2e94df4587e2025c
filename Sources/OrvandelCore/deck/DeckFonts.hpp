#pragma once
// The typefaces a deck names, read from the theme(s), the masters, the
// layouts and the slides. (The fonts it embeds: EmbeddedFonts.)
//
// A typeface is used by a slide when the slide, its layout or its master
// names it (a:latin, a:ea, a:cs or a:sym), directly or through a theme
// reference ("+mj-lt", "+mn-ea"..., a:fontRef) that the master's theme
// resolves. The theme's per-script variants (a:font script="Jpan") are
// listed but never counted as used: which of them LibreOffice takes depends
// on the script of the text, and most decks carry thirty of them unused.
// Only visible slides count, as only they are drawn.
//
// Fonts are advice: a layout, master or theme that is missing or does not
// parse is passed over, never an error.
#include <cstdint>
#include <string>
#include <vector>

#include "deck/DeckModel.hpp"

namespace orvandel::DeckFonts {

struct Typeface {
    std::string name;
    // The display number of the first visible slide that uses it; 0 when
    // the deck defines it but no visible slide uses it.
    std::int64_t firstSlide = 0;
    // A visible slide uses it for Latin text or symbols (a:latin, a:sym),
    // not only for East Asian or complex scripts, which LibreOffice draws
    // with whatever font has their glyphs.
    bool latin = false;
    bool operator==(const Typeface&) const = default;
};

struct Fonts {
    // Each name once (exact, case-sensitive), the used ones first by first
    // slide, then the unused, each group sorted by name.
    std::vector<Typeface> typefaces;
    bool operator==(const Fonts&) const = default;
};

// Throws as DeckModel::slides() does (the slide list and slide parts are
// the deck itself).
Fonts read(DeckModel& deck);

}  // namespace orvandel::DeckFonts
