#pragma once
// How each typeface a deck uses will be drawn, and the warnings that follow:
// one per font drawn with a look-alike or a fallback, whichever slides use it.
#include <cstdint>
#include <string>
#include <vector>

#include "base/Warning.hpp"
#include "deck/DeckFonts.hpp"
#include "tools/FontResolver.hpp"

namespace orvandel::FontReport {

struct Font {
    std::string name;  // as the deck writes it
    std::string drawnWith;
    FontResolver::Resolution resolution = FontResolver::Resolution::fallback;
    std::int64_t firstSlide = 0;  // DeckFonts::Typeface::firstSlide
    bool latin = false;           // DeckFonts::Typeface::latin
    bool operator==(const Font&) const = default;
};

// Every typeface of `fonts`, in its order.
std::vector<Font> of(const DeckFonts::Fonts& fonts, const FontResolver& resolver);

// Warning::fontSubstituted for each font some visible slide uses for Latin
// text or symbols and the resolver could only substitute. A font named only
// for East Asian or complex scripts is not warned about: LibreOffice draws
// those scripts with whatever font has their glyphs, and most decks that
// name one have no such text.
std::vector<Warning> warnings(const std::vector<Font>& fonts);

}  // namespace orvandel::FontReport
