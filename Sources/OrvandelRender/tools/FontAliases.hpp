#pragma once
// The Office fonts LibreOffice is told to draw with a free font, and whether
// each stand-in keeps the original's advance widths. The one table both the
// font configuration LibreOffice gets and the font report read.
#include <span>
#include <string_view>

namespace orvandel::FontAliases {

struct Alias {
    std::string_view office;     // the name a deck writes
    std::string_view drawnWith;  // the family fontconfig is told to use instead
    // Same advance widths glyph for glyph: lines break where the author saw
    // them break. Otherwise only a similar design of similar width.
    bool metricCompatible = false;
};

std::span<const Alias> all();

// The alias for a family name (compared without regard to ASCII case), or null.
const Alias* find(std::string_view family);

// A font folder fontconfig does not list by default, and the file names
// (a fontconfig glob) taken from it.
struct FontFolder {
    std::string_view path;
    std::string_view accepted;
};

std::span<const FontFolder> extraFolders();

}  // namespace orvandel::FontAliases
