#include "tools/FontResolver.hpp"

#include <gtest/gtest.h>

#include "FontFixtures.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "tools/FontAliases.hpp"
#include "tools/LibreOffice.hpp"

using namespace orvandel;

namespace {

// The fonts scripts/install-deps.sh installs; elsewhere the table cannot hold.
bool stockFonts() { return std::filesystem::exists("/usr/share/wine/fonts/tahoma.ttf"); }

}  // namespace

TEST(FontResolverTest, ClassifiesAsLibreOfficeWillDraw) {
    if (!stockFonts()) GTEST_SKIP() << "needs the fonts of scripts/install-deps.sh";
    test::TempDir dir;
    const auto home = dir / "home";
    std::filesystem::create_directories(home);
    const test::ScopedEnv env{{{"HOME", home.string()}, {"XDG_CACHE_HOME", (home / ".cache").string()}}};
    const FontResolver resolver(LibreOffice::fontConfiguration(dir / "cache"));
    using enum FontResolver::Resolution;
    for (const auto& [typeface, drawnWith, resolution] :
         std::vector<std::tuple<std::string, std::string, FontResolver::Resolution>>{
             {"Calibri Light", "Carlito", twin},
             {"calibri", "Carlito", twin},
             {"Arial", "Liberation Sans", twin},
             {"Tahoma", "Tahoma", installed},
             {"Liberation Serif", "Liberation Serif", installed},
             {"Gill Sans MT", "Gillius ADF", lookAlike},
             {"Verdana", "Veranda", lookAlike},
             {"No Such Font Anywhere", "Liberation Sans", fallback},
         }) {
        SCOPED_TRACE(typeface);
        EXPECT_EQ(resolver.resolve(typeface), (FontResolver::Resolved{drawnWith, resolution}));
    }
    // Every stand-in of the table is there to be drawn.
    for (const auto& alias : FontAliases::all()) {
        EXPECT_EQ(resolver.resolve(alias.office).drawnWith, alias.drawnWith) << alias.office;
    }
    // Fontconfig wrote its caches into the folder it was given, not the user's.
    EXPECT_TRUE(std::filesystem::is_empty(home));
}

// A font the deck embeds is drawn as itself, even one the table would
// replace: its family is left out of the stand-ins, and its folder is the
// deck's.
TEST(FontResolverTest, AnEmbeddedFontIsDrawnAsItself) {
    const std::filesystem::path serif = "/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf";
    if (!stockFonts() || !std::filesystem::exists(serif)) GTEST_SKIP() << "needs the fonts of scripts/install-deps.sh";
    test::TempDir dir;
    Bytes font = readFile(serif);
    test::renameFont(font, "DejaVu Serif", "Gill Sans MT");
    std::filesystem::create_directories(dir / "fonts");
    writeFile(dir / "fonts" / "font1.ttf", font);
    const std::vector<std::filesystem::path> folders{dir / "fonts"};

    const FontResolver embedded(LibreOffice::fontConfiguration(dir / "cache", folders, {"gill sans mt"}), folders);
    EXPECT_EQ(embedded.resolve("Gill Sans MT"),
              (FontResolver::Resolved{"Gill Sans MT", FontResolver::Resolution::embedded}));
    EXPECT_EQ(embedded.resolve("Segoe UI").resolution, FontResolver::Resolution::lookAlike);
    // Named without its family, the stand-in still wins over the folder.
    const FontResolver aliased(LibreOffice::fontConfiguration(dir / "cache", folders), folders);
    EXPECT_EQ(aliased.resolve("Gill Sans MT").drawnWith, "Gillius ADF");
}
