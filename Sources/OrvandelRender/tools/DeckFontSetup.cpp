#include "tools/DeckFontSetup.hpp"

#include "deck/DeckFonts.hpp"
#include "tools/EmbeddedFonts.hpp"
#include "tools/FontResolver.hpp"
#include "tools/LibreOffice.hpp"

namespace orvandel::DeckFontSetup {

Setup prepare(DeckModel& deck, const std::filesystem::path& fontsDir, const std::filesystem::path& cacheDir) {
    Setup setup;
    EmbeddedFonts::Written embedded = EmbeddedFonts::extract(deck, fontsDir);
    if (!embedded.files.empty()) setup.fontDirs.push_back(fontsDir);
    setup.embeddedFamilies = std::move(embedded.families);
    setup.warnings = std::move(embedded.warnings);

    std::error_code ec;
    std::filesystem::create_directories(cacheDir, ec);
    const FontResolver resolver(LibreOffice::fontConfiguration(cacheDir, setup.fontDirs, setup.embeddedFamilies),
                                setup.fontDirs);
    setup.fonts = FontReport::of(DeckFonts::read(deck), resolver);
    for (auto& warning : FontReport::warnings(setup.fonts)) setup.warnings.push_back(std::move(warning));
    return setup;
}

}  // namespace orvandel::DeckFontSetup
