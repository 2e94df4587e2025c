#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

#include "DeckBuilder.hpp"
#include "HeadlessRenderer.hpp"
#include "PictureChecks.hpp"
#include "TestSupport.hpp"
#include "deck/DeckModel.hpp"
#include "plan/XmlSpans.hpp"
#include "storyboard/BlipEffects.hpp"
#include "storyboard/BlipRecolour.hpp"
#include "storyboard/DrawingColour.hpp"
#include "storyboard/SchemeColours.hpp"
#include "tools/PictureCodec.hpp"

using namespace orvandel;
using namespace orvandel::test;
using DrawingColour::Rgba;
namespace fs = std::filesystem;

namespace {

const std::string kOfficeColours =
    "<a:dk1><a:sysClr val=\"windowText\" lastClr=\"000000\"/></a:dk1><a:lt1><a:sysClr val=\"window\" "
    "lastClr=\"FFFFFF\"/></a:lt1><a:dk2><a:srgbClr val=\"44546A\"/></a:dk2><a:lt2><a:srgbClr val=\"E7E6E6\"/></a:lt2>"
    "<a:accent1><a:srgbClr val=\"4472C4\"/></a:accent1><a:accent2><a:srgbClr val=\"ED7D31\"/></a:accent2>";

// A duotone between accent1 darker 50% and amber.
const std::string kDuotone =
    "<a:duotone><a:schemeClr val=\"accent1\"><a:lumMod val=\"50000\"/></a:schemeClr><a:srgbClr val=\"FFC000\"/>"
    "</a:duotone>";
const Rgba kDark{0x20, 0x38, 0x64}, kLight{0xFF, 0xC0, 0x00};

// Black on the left third, a grey ramp in the middle, white on the right.
PictureCodec::Picture greyRamp() {
    PictureCodec::Picture p{300, 60, Bytes(300 * 60 * 4)};
    for (int y = 0; y < p.height; ++y) {
        for (int x = 0; x < p.width; ++x) {
            const auto v = std::uint8_t(x < 100 ? 0 : x >= 200 ? 255 : (x - 100) * 255 / 99);
            auto* q = &p.rgba[(std::size_t(y) * 300 + std::size_t(x)) * 4];
            q[0] = q[1] = q[2] = v;
            q[3] = 255;
        }
    }
    return p;
}

// One slide showing the ramp over the whole slide with `blipInner` inside its blip.
fs::path rampDeck(const fs::path& path, const std::string& blipInner) {
    const std::string pic =
        pictureWith("4", "", "<a:blip r:embed=\"rIdP\">" + blipInner + "</a:blip><a:stretch><a:fillRect/></a:stretch>",
                    "<a:xfrm><a:off x=\"0\" y=\"0\"/><a:ext cx=\"12192000\" cy=\"6858000\"/></a:xfrm>"
                    "<a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom>");
    return DeckBuilder()
        .setMaster(themeXml(kOfficeColours))
        .addSlide(slideXml(pic, "<p:transition advTm=\"1000\"/>"), {{"rIdP", "image", "../media/ramp.png"}})
        .addEntry("ppt/media/ramp.png", PictureCodec::png(greyRamp(), path.parent_path(), std::nullopt))
        .write(path);
}

}  // namespace

// Reference values are the ones PowerPoint's colour picker shows for the
// Office theme's accent 1 (4472C4) and its tints; tint and shade mix in
// linear light, so half of either lands at 188, not 128.
TEST(DrawingColourTest, TransformsGiveTheColoursPowerPointShows) {
    using T = DrawingColour::Transform;
    const Rgba accent1{0x44, 0x72, 0xC4};
    for (const auto& [what, from, transforms, want] : std::vector<std::tuple<const char*, Rgba, std::vector<T>, Rgba>>{
             {"darker 25%", accent1, {{"lumMod", 75000}}, {0x2F, 0x55, 0x97}},
             {"darker 50%", accent1, {{"lumMod", 50000}}, {0x20, 0x38, 0x64}},
             {"lighter 40%", accent1, {{"lumMod", 60000}, {"lumOff", 40000}}, {0x8F, 0xAA, 0xDC}},
             {"lighter 80%", accent1, {{"lumMod", 20000}, {"lumOff", 80000}}, {0xDA, 0xE3, 0xF3}},
             {"shade of white", {255, 255, 255}, {{"shade", 50000}}, {188, 188, 188}},
             {"tint of black", {0, 0, 0}, {{"tint", 50000}}, {188, 188, 188}},
             {"no saturation", accent1, {{"satMod", 0}}, {0x84, 0x84, 0x84}},
             {"alpha, then halved", accent1, {{"alpha", 60000}, {"alphaMod", 50000}}, {0x44, 0x72, 0xC4, 77}},
             {"unknown skipped", accent1, {{"gamma", 0}}, accent1}}) {
        EXPECT_TRUE(near(DrawingColour::transformed(from, transforms), want, 1)) << what;
    }
}

// Scheme colours go through the master's map, then the layout's and the
// slide's overrides; what the scheme lacks stays unresolved.
TEST(DrawingColourTest, SchemeColoursResolveThroughTheColourMaps) {
    const std::string master = "<p:sldMaster><p:clrMap bg1=\"lt1\" tx1=\"dk1\"/></p:sldMaster>";
    const std::string swapped =
        "<p:sld><p:clrMapOvr><a:overrideClrMapping bg1=\"dk1\" tx1=\"lt1\"/></p:clrMapOvr></p:sld>";
    const std::string kept = "<p:sld><p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr></p:sld>";
    const auto theme = themeXml(kOfficeColours);
    for (const auto& [colour, overriding, want] :
         std::vector<std::tuple<std::string, std::vector<std::string_view>, std::optional<Rgba>>>{
             {"<a:schemeClr val=\"bg1\"/>", {}, Rgba{255, 255, 255}},
             {"<a:schemeClr val=\"bg1\"/>", {swapped}, Rgba{0, 0, 0}},
             {"<a:schemeClr val=\"bg1\"/>", {swapped, kept}, Rgba{0, 0, 0}},
             {"<a:schemeClr val=\"accent2\"><a:alpha val=\"50000\"/></a:schemeClr>", {}, Rgba{0xED, 0x7D, 0x31, 128}},
             {"<a:schemeClr val=\"phClr\"/>", {}, std::nullopt},
             {"<a:prstClr val=\"white\"/>", {}, Rgba{255, 255, 255}},
             {"<a:scrgbClr r=\"50000\" g=\"0\" b=\"100000\"/>", {}, Rgba{188, 0, 255}},
             {"<a:hslClr hue=\"7200000\" sat=\"100000\" lum=\"50000\"/>", {}, Rgba{0, 255, 0}}}) {
        const auto spans = XmlSpans::elementSpans(colour);
        const auto got = DrawingColour::colourAt(colour, spans, 0, SchemeColours::schemeOf(theme, master, overriding));
        EXPECT_EQ(got.has_value(), want.has_value()) << colour;
        if (got && want) {
            EXPECT_TRUE(near(*got, *want, 1)) << colour;
        }
    }
}

TEST(BlipEffectsTest, EachEffectMapsPixelsAsPowerPointDraws) {
    using namespace BlipEffects;
    const Rgba teal{0, 128, 128}, cream{255, 240, 200}, grey{128, 128, 128}, red{200, 40, 40, 200};
    for (const auto& [what, effect, pixel, want] : std::vector<std::tuple<const char*, Effect, Rgba, Rgba>>{
             {"duotone black", Duotone{teal, cream}, {0, 0, 0, 90}, {0, 128, 128, 90}},
             {"duotone white", Duotone{teal, cream}, {255, 255, 255}, cream},
             {"duotone mid grey", Duotone{teal, cream}, grey, {128, 184, 164}},
             {"duotone by luminance", Duotone{{0, 0, 0}, {255, 255, 255}}, {0, 255, 0}, {150, 150, 150}},
             {"grayscale", Grayscale{}, red, {88, 88, 88, 200}},
             {"bilevel above", BiLevel{30000}, grey, {255, 255, 255}},
             {"bilevel below", BiLevel{60000}, grey, {0, 0, 0}},
             {"alpha halved", AlphaModFix{50000}, red, {200, 40, 40, 100}},
             {"brighter", Luminance{20000, 0}, grey, {179, 179, 179}},
             {"more contrast", Luminance{0, 50000}, {160, 100, 128}, {193, 73, 129}},
             {"less contrast", Luminance{0, -50000}, {0, 255, 128}, {64, 191, 128}},
             {"colour made transparent",
              ColourChange{{255, 255, 255}, {255, 255, 255, 0}},
              {254, 255, 255},
              {255, 255, 255, 0}},
             {"other colour kept", ColourChange{{255, 255, 255}, {255, 255, 255, 0}}, grey, grey},
             {"over, half opaque", FillOverlay{{255, 0, 0, 128}, Blend::over}, grey, {192, 64, 64}},
             {"multiply", FillOverlay{{255, 128, 0}, Blend::multiply}, grey, {128, 64, 0}},
             {"screen", FillOverlay{{255, 128, 0}, Blend::screen}, grey, {255, 192, 128}},
             {"darken", FillOverlay{{255, 100, 0}, Blend::darken}, grey, {128, 100, 0}},
             {"lighten", FillOverlay{{255, 100, 0}, Blend::lighten}, grey, {255, 128, 128}}}) {
        EXPECT_TRUE(near(applied(effect, pixel), want, 1)) << what;
    }
}

TEST(PictureCodecTest, PamStreamsThatDoNotHoldTheirPixelsAreRefused) {
    const std::string header = "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    EXPECT_TRUE(PictureCodec::fromPam(header + std::string(8, 'x')));
    EXPECT_FALSE(PictureCodec::fromPam(header + std::string(7, 'x')));
    EXPECT_FALSE(PictureCodec::fromPam("P7\nWIDTH 5000\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n" +
                                       std::string(20000, 'x')));
    EXPECT_FALSE(PictureCodec::fromPam("P7\nWIDTH 2\nHEIGHT 1\nDEPTH 3\nMAXVAL 255\nTUPLTYPE RGB\nENDHDR\n" +
                                       std::string(6, 'x')));
}

TEST(BlipRecolourTest, ADeckWithoutColourEffectsGetsNoNewParts) {
    if (!haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    DeckModel deck(rampDeck(dir / "deck.pptx", "<a:extLst/>"));
    EXPECT_TRUE(BlipRecolour::bake(deck, RenderPlanReader::read(deck), {}, dir / "work", std::nullopt).empty());
}

// The blip points at a new PNG beside the original, which holds the
// recoloured pixels; what was not applied stays, and so does the original.
TEST(BlipRecolourTest, ADuotonePictureIsBakedBesideTheOriginal) {
    if (!haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    DeckModel deck(rampDeck(dir / "deck.pptx", kDuotone + "<a:alphaFloor/>"));
    const auto baked = BlipRecolour::bake(deck, RenderPlanReader::read(deck), {}, dir / "work", std::nullopt);
    ASSERT_EQ(baked.added.size(), 1u);
    const auto& [part, png] = baked.added.front();
    EXPECT_TRUE(part.starts_with("ppt/media/") && part.ends_with(".png")) << part;
    const std::string slide = toString(baked.replaced.at("ppt/slides/slide1.xml"));
    EXPECT_EQ(slide.find("duotone"), std::string::npos);
    EXPECT_NE(slide.find("<a:alphaFloor/>"), std::string::npos);
    const auto rels = Relationships::parse(toString(baked.replaced.at("ppt/slides/_rels/slide1.xml.rels")));
    const auto blip = slide.find("<a:blip r:embed=\"");
    const std::string id = slide.substr(blip + 17, slide.find('"', blip + 17) - blip - 17);
    EXPECT_EQ(Relationships::resolveEntry(Relationships::byId(rels).at(id).target, "ppt/slides/slide1.xml"), part);
    EXPECT_TRUE(Relationships::byId(rels).contains("rIdP"));
    EXPECT_NE(toString(baked.replaced.at("[Content_Types].xml")).find(part), std::string::npos);

    writeFile(dir / "baked.png", png);
    const auto picture = PictureCodec::decode(dir / "baked.png", dir.path(), std::nullopt);
    ASSERT_TRUE(picture);
    EXPECT_TRUE(near(pixelAt(*picture, 50, 30), kDark, 1));
    EXPECT_TRUE(near(pixelAt(*picture, 250, 30), kLight, 1));
}

// What LibreOffice draws of the recoloured picture: the duotone's colours,
// then an overlay LibreOffice would leave out, which darkens the blue away.
TEST(BlipRecolourTest, TheRenderedSlideShowsTheRecolouredPicture) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    rampDeck(dir / "deck.pptx",
             kDuotone + "<a:fillOverlay blend=\"darken\"><a:solidFill><a:srgbClr val=\"FFC000\"/></a:solidFill>"
                        "</a:fillOverlay>");
    const auto still = firstStill(dir / "deck.pptx", dir.path());
    ASSERT_TRUE(still);
    const int y = still->height / 2;
    EXPECT_TRUE(near(pixelAt(*still, still->width / 6, y), {kDark.r, kDark.g, 0}, 12));
    EXPECT_TRUE(near(pixelAt(*still, still->width * 5 / 6, y), kLight, 12));
}
