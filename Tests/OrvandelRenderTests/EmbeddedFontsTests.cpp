#include <gtest/gtest.h>

#include <tuple>

#include "DeckBuilder.hpp"
#include "FontFixtures.hpp"
#include "TestSupport.hpp"
#include "tools/EmbeddedFontData.hpp"
#include "tools/EmbeddedFonts.hpp"

using namespace orvandel;
using FontDataError = EmbeddedFontData::FontDataError;

namespace {

const std::string kGuid = "{6C1E5BA4-2A6E-4F5B-B6A4-0123456789AB}";

Bytes obfuscated(Bytes font) {
    // The GUID's bytes as its digits spell them, last first.
    const Bytes key{0xAB, 0x89, 0x67, 0x45, 0x23, 0x01, 0xA4, 0xB6, 0x5B, 0x4F, 0x6E, 0x2A, 0xA4, 0x5B, 0x1E, 0x6C};
    for (std::size_t i = 0; i < 32; ++i) font[i] ^= key[i % 16];
    return font;
}

}  // namespace

TEST(EmbeddedFontDataTest, EachWayADeckCarriesAFontDecodesToTheFont) {
    const Bytes font = test::tinySfnt();
    for (const auto& [how, data, part, type] : std::vector<std::tuple<const char*, Bytes, std::string, std::string>>{
             {"plain sfnt", font, "ppt/fonts/font1.ttf", "application/x-font-ttf"},
             {"EOT 2.1", test::eotContainer(font), "ppt/fonts/font1.fntdata", "application/x-fontdata"},
             {"EOT 1.0", test::eotContainer(font, 0, 0x00010000), "ppt/fonts/font1.fntdata", ""},
             {"EOT 2.2 with EUDC data", test::eotContainer(font, 0, 0x00020002, "Test", 7), "ppt/fonts/f.fntdata", ""},
             {"EOT XOR 0x50", test::eotContainer(font, 0x10000000), "ppt/fonts/font2.fntdata", ""},
             {"odttf", obfuscated(font), "ppt/fonts/" + kGuid + ".odttf", EmbeddedFontData::kObfuscatedFontType},
             {"odttf by its extension", obfuscated(font), "ppt/fonts/" + kGuid.substr(1, 36) + ".ODTTF", ""}}) {
        SCOPED_TRACE(how);
        EXPECT_EQ(EmbeddedFontData::decode(data, part, type), font);
    }
}

TEST(EmbeddedFontDataTest, WhatHoldsNoFontIsRefusedNamingThePart) {
    using enum FontDataError::Case;
    const Bytes eot = test::eotContainer(test::tinySfnt());
    Bytes truncated(eot.begin(), eot.end() - 1);
    Bytes longName = eot;
    longName[82] = 0xFF;  // the family name runs past the end
    Bytes shortSize = eot;
    shortSize[0] = 40, shortSize[1] = 0;  // less than the header's fixed fields
    Bytes dataTooLong = eot;
    dataTooLong[4] = 0xFF;
    Bytes tableOutside = test::tinySfnt();
    tableOutside[27] = 21;
    Bytes compressedGarbage = test::eotContainer(Bytes(300, 0xA5), 0x4);
    Bytes huge(EmbeddedFontData::kLargestFont + 1, 0);
    for (const auto& [what, data, part, expected] :
         std::vector<std::tuple<const char*, Bytes, std::string, FontDataError::Case>>{
             {"empty", {}, "ppt/fonts/font1.fntdata", notAFont},
             {"garbage", Bytes(1000, 0x41), "ppt/fonts/font1.fntdata", notAFont},
             {"a table past the end", tableOutside, "ppt/fonts/font1.ttf", notAFont},
             {"EOT cut short", truncated, "ppt/fonts/font1.fntdata", badContainer},
             {"EOT name past the end", longName, "ppt/fonts/font1.fntdata", badContainer},
             {"EOT size within its own header", shortSize, "ppt/fonts/font1.fntdata", badContainer},
             {"EOT data size past the end", dataTooLong, "ppt/fonts/font1.fntdata", badContainer},
             {"EOT around no font", test::eotContainer(Bytes(64, 7)), "ppt/fonts/font1.fntdata", notAFont},
             {"odttf without a GUID", obfuscated(test::tinySfnt()), "ppt/fonts/font1.odttf", badName},
             {"odttf of another GUID", obfuscated(test::tinySfnt()),
              "ppt/fonts/{6C1E5BA4-2A6E-4F5B-B6A4-012345678900}.odttf", notAFont},
             {"over 64 MiB", huge, "ppt/fonts/font1.fntdata", tooLarge}}) {
        SCOPED_TRACE(what);
        const auto e = test::thrown<FontDataError>([&] { EmbeddedFontData::decode(data, part, ""); });
        EXPECT_EQ(e.errorCase(), expected) << e.what();
        EXPECT_NE(std::string(e.what()).find(part), std::string::npos) << e.what();
    }
    // Compressed data is libeot's to refuse, or to make something that is no font; on this input it crashes,
    // which must cost the font only.
    for (const auto& compressed :
         {compressedGarbage, readFile(test::sourceDir() / "fuzz/inputs/EmbeddedFontFuzz" / "libeot-crash.fntdata")}) {
        EXPECT_THROW(EmbeddedFontData::decode(compressed, "ppt/fonts/font1.fntdata", ""), FontDataError);
    }
}

TEST(EmbeddedFontsTest, WritesTheFontsItCanDecodeAndWarnsOfTheOthers) {
    test::TempDir dir;
    test::DeckBuilder()
        .addSlide(test::slideXml())
        .addEmbeddedFont("Aula Sans", "regular", "ppt/fonts/font1.fntdata", test::eotContainer(test::tinySfnt()))
        .addEmbeddedFont("Aula Sans", "bold", "ppt/fonts/font2.fntdata", Bytes(100, 1))
        .addEmbeddedFont("Aula Serif", "italic", "ppt/fonts/" + kGuid + ".odttf", obfuscated(test::tinySfnt()),
                         EmbeddedFontData::kObfuscatedFontType)
        .write(dir / "deck.pptx");
    DeckModel deck(dir / "deck.pptx");
    const auto written = EmbeddedFonts::extract(deck, dir / "fonts");
    ASSERT_EQ(written.files.size(), 2u);
    for (const auto& file : written.files) {
        EXPECT_EQ(file.parent_path(), dir / "fonts");
        EXPECT_EQ(readFile(file), test::tinySfnt());
    }
    ASSERT_EQ(written.warnings.size(), 1u);
    EXPECT_EQ(written.warnings[0].kind, Warning::Kind::embeddedFontNotUsed);
    EXPECT_NE(written.warnings[0].text.find("\"Aula Sans\" (bold)"), std::string::npos) << written.warnings[0].text;

    test::DeckBuilder().addSlide(test::slideXml()).write(dir / "plain.pptx");
    DeckModel plain(dir / "plain.pptx");
    EXPECT_TRUE(EmbeddedFonts::extract(plain, dir / "none").files.empty());
}
