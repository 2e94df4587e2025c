#pragma once
// The fonts a deck embeds, written out as font files for LibreOffice's
// private font configuration, so that the movie draws the deck's text in
// the very fonts its author embedded. Only parts of the deck are read: a
// font relationship that leaves the deck is not followed.
#include <filesystem>
#include <string>
#include <vector>

#include "base/Warning.hpp"
#include "deck/DeckModel.hpp"

namespace orvandel::EmbeddedFonts {

// One font the presentation's p:embeddedFontLst lists.
struct Listed {
    std::string typeface;  // p:font's typeface
    std::string style;     // "regular", "bold", "italic" or "boldItalic"
    std::string part;      // the entry it names
    std::string contentType;
    bool operator==(const Listed&) const = default;
};

// The embedded fonts, in list order, a part named twice once. None when the
// deck lists none. Throws as DeckModel::part() and relationships() do.
std::vector<Listed> list(DeckModel& deck);

struct Written {
    std::vector<std::filesystem::path> files;  // the font files written into the folder
    std::vector<std::string> families;         // the typefaces they are embedded as, each once
    std::vector<Warning> warnings;             // one per listed font that could not be used
};

// Decodes every listed font and writes each into `folder` (created when
// needed) as fontN.ttf or fontN.otf. A font that cannot be read or decoded
// is left out with a warning: its text falls back as for any missing font.
// Throws FileError when a file cannot be written.
Written extract(DeckModel& deck, const std::filesystem::path& folder);

}  // namespace orvandel::EmbeddedFonts
