#include "tools/FontAliases.hpp"

#include <algorithm>
#include <cctype>

namespace orvandel::FontAliases {

namespace {

// Look-alikes were chosen for a similar design and average width. Aptos was
// chosen by rendering two decks' first slides with each candidate and
// comparing them with PowerPoint's own thumbnails: Carlito came closest.
// Veranda (fonts-arkpandora) has Bitstream Vera's widths, not Verdana's, so
// it is only a look-alike, whatever its package says.
constexpr Alias kAliases[] = {
    {"Calibri", "Carlito", true},
    {"Calibri Light", "Carlito", true},
    {"Cambria", "Caladea", true},
    {"Arial", "Liberation Sans", true},
    {"Helvetica", "Liberation Sans", true},
    {"Times New Roman", "Liberation Serif", true},
    {"Courier New", "Liberation Mono", true},
    {"Cambria Math", "Caladea", false},
    {"Segoe UI", "Open Sans", false},
    {"Segoe UI Light", "Open Sans Light", false},
    {"Segoe UI Semibold", "Open Sans Semibold", false},
    {"Century Gothic", "URW Gothic", false},
    {"Gill Sans MT", "Gillius ADF", false},
    {"Gill Sans", "Gillius ADF", false},
    {"Verdana", "Veranda", false},
    {"Rockwell", "Roboto Slab", false},
    {"Trebuchet MS", "Lato", false},
    {"Franklin Gothic Book", "Liberation Sans", false},
    {"Franklin Gothic Medium", "Liberation Sans", false},
    {"Georgia", "C059", false},
    {"Corbel", "Carlito", false},
    {"Constantia", "Caladea", false},
    {"Aptos", "Carlito", false},
    {"Aptos Display", "Carlito", false},
};

// Wine's Tahoma; the folder's other fonts stay out, so that what the deck
// draws with Symbol or Wingdings does not change with it.
constexpr FontFolder kFolders[] = {{"/usr/share/wine/fonts", "tahoma*.ttf"}};

bool sameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    });
}

}  // namespace

std::span<const Alias> all() { return kAliases; }

const Alias* find(std::string_view family) {
    const auto it = std::find_if(std::begin(kAliases), std::end(kAliases),
                                 [&](const Alias& a) { return sameName(a.office, family); });
    return it == std::end(kAliases) ? nullptr : it;
}

std::span<const FontFolder> extraFolders() { return kFolders; }

}  // namespace orvandel::FontAliases
