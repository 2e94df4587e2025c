#pragma once
// The fonts of one deck as LibreOffice will draw them: the deck's embedded
// fonts written out, the font configuration LibreOffice is to get, and how
// each typeface the deck uses resolves under it, with the warnings that
// follow. The export and the scan ask the same question the same way.
#include <filesystem>
#include <string>
#include <vector>

#include "base/Warning.hpp"
#include "deck/DeckModel.hpp"
#include "tools/FontReport.hpp"

namespace orvandel::DeckFontSetup {

struct Setup {
    // For LibreOffice::ConvertOptions: the folder of the embedded fonts (none
    // when the deck embeds none that could be used) and their families.
    std::vector<std::filesystem::path> fontDirs;
    std::vector<std::string> embeddedFamilies;
    std::vector<FontReport::Font> fonts;  // every typeface the deck uses, in DeckFonts' order
    // An embedded font that could not be used, then one per font substituted.
    std::vector<Warning> warnings;
};

// Writes the embedded fonts into `fontsDir` and fills fontconfig's cache in
// `cacheDir` (both in the caller's scratch space; the cache is the one the
// LibreOffice run then finds filled). Throws as EmbeddedFonts::extract and
// FontResolver do.
Setup prepare(DeckModel& deck, const std::filesystem::path& fontsDir, const std::filesystem::path& cacheDir);

}  // namespace orvandel::DeckFontSetup
