#include "tools/FontResolver.hpp"

#include <gtest/gtest.h>

#include "TestSupport.hpp"
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
