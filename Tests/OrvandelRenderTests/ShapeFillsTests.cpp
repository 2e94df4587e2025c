#include <gtest/gtest.h>

#include <tuple>

#include "DeckBuilder.hpp"
#include "HeadlessRenderer.hpp"
#include "PictureChecks.hpp"
#include "TestSupport.hpp"
#include "storyboard/GradientFill.hpp"
#include "storyboard/PictureFill.hpp"
#include "storyboard/SchemeColours.hpp"
#include "storyboard/ShapeFills.hpp"

using namespace orvandel;
using namespace orvandel::test;
using DrawingColour::Rgba;
using Pixel = std::optional<std::pair<int, int>>;

// A 4 x 4 picture whose own size is 400 EMU a side, in a box of 1000 EMU.
TEST(PictureFillTest, TilesAndStretchesPlaceThePictureAsTheDeckSays) {
    using namespace PictureFill;
    const Placement at{4, 4, 400, 400, 1000, 1000};
    const auto tiled = [](Tiling t, Insets crop = {}) { return Fill{crop, t, {}}; };
    for (const auto& [what, fill, x, y, want] : std::vector<std::tuple<const char*, Fill, int, int, Pixel>>{
             {"first tile", tiled({}), 350, 150, Pixel{{3, 1}}},
             {"second tile starts again", tiled({}), 450, 50, Pixel{{0, 0}}},
             {"half size", tiled({.scaleX = 50000, .scaleY = 50000}), 250, 20, Pixel{{1, 0}}},
             {"centred: the tile before the centre", tiled({.align = Align::centre}), 250, 300, Pixel{{3, 0}}},
             {"offset", tiled({.offsetX = 100}), 50, 50, Pixel{{3, 0}}},
             {"every other tile mirrored", tiled({.flipX = true}), 450, 50, Pixel{{3, 0}}},
             {"mirrored upwards from the bottom", tiled({.flipY = true, .align = Align::bottomRight}), 650, 550,
              Pixel{{0, 0}}},
             {"cropped tile is smaller", tiled({}, {.left = 50000}), 250, 50, Pixel{{2, 0}}},
             {"stretched", Fill{}, 999, 999, Pixel{{3, 3}}},
             {"outside the fill rectangle", Fill{{}, {}, {.left = 50000}}, 400, 0, std::nullopt},
             {"inside the fill rectangle", Fill{{}, {}, {.left = 50000}}, 750, 0, Pixel{{2, 0}}},
             {"crop beyond the picture is empty", Fill{{.left = -50000}, {}, {}}, 100, 0, std::nullopt},
             {"crop beyond the picture, inside it", Fill{{.left = -50000}, {}, {}}, 700, 0, Pixel{{2, 0}}}}) {
        EXPECT_EQ(sourceOf(fill, at, x, y), want) << what;
    }
}

// Positions in thousandths of a percent; scaled, the angle is taken before
// the box is stretched, so 45 degrees meets a wide box's corner near the middle.
TEST(GradientFillTest, PositionsAndColoursAlongTheGradient) {
    using GradientFill::Paint;
    for (const auto& [what, paint, x, y, want] : std::vector<std::tuple<const char*, Paint, int, int, int>>{
             {"left to right, first pixel", {{{0, {}}, {1, {}}}, 0, false}, 0, 5, 500},
             {"left to right, last pixel", {{{0, {}}, {1, {}}}, 0, false}, 99, 5, 99500},
             {"top to bottom", {{{0, {}}, {1, {}}}, 5400000, false}, 50, 9, 95000},
             {"45 degrees", {{{0, {}}, {1, {}}}, 2700000, false}, 99, 0, 90909},
             {"45 degrees scaled", {{{0, {}}, {1, {}}}, 2700000, true}, 99, 0, 52250}}) {
        EXPECT_NEAR(GradientFill::positionAt(paint, 100, 10, x, y), want, 100) << what;
    }
    const std::vector<GradientFill::Stop> stops{{0, {0, 0, 0}}, {50000, {255, 0, 0}}, {100000, {255, 255, 255, 0}}};
    EXPECT_TRUE(near(GradientFill::colourAt(stops, 25000), {128, 0, 0}, 1));
    EXPECT_TRUE(near(GradientFill::colourAt(stops, 75000), {255, 128, 128, 128}, 1));
    EXPECT_TRUE(near(GradientFill::colourAt(stops, 120000), {255, 255, 255, 0}, 0));
}

// An overlay covers a see-through texture: the blend shows where the texture
// is, the overlay's own colour where it is not.
TEST(GradientFillTest, OverlaysCompositeOverTransparentPixels) {
    using BlipEffects::Blend;
    for (const auto& [what, blend, backdrop, colour, want] :
         std::vector<std::tuple<const char*, Blend, Rgba, Rgba, Rgba>>{
             {"opaque", Blend::multiply, {128, 128, 128}, {255, 128, 0}, {128, 64, 0}},
             {"over nothing", Blend::multiply, {0, 0, 0, 0}, {10, 20, 30}, {10, 20, 30}},
             {"over half", Blend::multiply, {200, 200, 200, 128}, {0, 128, 128}, {0, 114, 114}},
             {"half over nothing", Blend::screen, {0, 0, 0, 0}, {255, 0, 0, 128}, {255, 0, 0, 128}}}) {
        EXPECT_TRUE(near(BlipEffects::composited(blend, backdrop, colour), want, 1)) << what;
    }
}

TEST(PictureCodecTest, ResolutionsStatedByJpegAndPng) {
    const Bytes jfif{0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 1, 0, 72, 0, 150};
    Bytes perCm = jfif;
    perCm[13] = 2;
    perCm[15] = perCm[17] = 38;
    perCm[14] = perCm[16] = 0;
    Bytes png{0x89, 'P', 'N', 'G',  0x0D, 0x0A, 0x1A, 0x0A, 0,    0, 0, 9, 'p', 'H', 'Y',
              's',  0,   0,   0x0E, 0xC4, 0,    0,    0x0E, 0xC4, 1, 0, 0, 0,   0};
    EXPECT_EQ(PictureCodec::dotsPerInch(jfif), std::pair(72, 150));
    EXPECT_EQ(PictureCodec::dotsPerInch(perCm), std::pair(97, 97));
    EXPECT_EQ(PictureCodec::dotsPerInch(png), std::pair(96, 96));
    png[24] = 0;  // unit unknown: an aspect ratio only
    EXPECT_FALSE(PictureCodec::dotsPerInch(png));
    EXPECT_FALSE(PictureCodec::dotsPerInch(Bytes(jfif.begin(), jfif.begin() + 12)));
}

namespace {

const std::string kColours =
    "<a:accent1><a:srgbClr val=\"2DA2BF\"/></a:accent1><a:lt1><a:srgbClr val=\"FFFFFF\"/></a:lt1>";

std::string overlaidShape(const std::string& id, const std::string& overlayFill) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + id +
           "\" name=\"band\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr><a:xfrm><a:off x=\"0\" y=\"3429000\"/>"
           "<a:ext cx=\"12192000\" cy=\"3429000\"/></a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom>"
           "<a:blipFill><a:blip r:embed=\"rIdT\"><a:alphaModFix amt=\"50000\"/></a:blip>"
           "<a:tile tx=\"0\" ty=\"0\" sx=\"50000\" sy=\"50000\" flip=\"none\" algn=\"t\"/></a:blipFill>"
           "<a:effectLst><a:outerShdw/><a:fillOverlay blend=\"mult\">" +
           overlayFill + "</a:fillOverlay></a:effectLst></p:spPr></p:sp>";
}

const std::string kRedToBlue =
    "<a:gradFill><a:gsLst><a:gs pos=\"0\"><a:srgbClr val=\"FF0000\"/></a:gs><a:gs pos=\"100000\">"
    "<a:srgbClr val=\"0000FF\"/></a:gs></a:gsLst><a:lin ang=\"0\" scaled=\"1\"/></a:gradFill>";

}  // namespace

// What is baked: a picture under a readable overlay, a background style that
// is one of the theme's pictures (its phClr the reference's colour); not a
// path gradient's overlay, nor a background style that is a colour.
TEST(ShapeFillsTest, FindsTheFillsLibreOfficeCannotDraw) {
    const std::string theme =
        "<a:theme><a:themeElements><a:fmtScheme><a:bgFillStyleLst><a:solidFill><a:schemeClr val=\"phClr\"/>"
        "</a:solidFill><a:blipFill><a:blip r:embed=\"rId1\"><a:duotone><a:schemeClr val=\"phClr\"/>"
        "<a:srgbClr val=\"FFFFFF\"/></a:duotone></a:blip><a:tile/></a:blipFill></a:bgFillStyleLst></a:fmtScheme>"
        "</a:themeElements></a:theme>";
    const auto part = [](const std::string& bgIndex, const std::string& shapes) {
        return "<p:sld><p:cSld><p:bg><p:bgRef idx=\"" + bgIndex +
               "\"><a:schemeClr val=\"accent1\"/></p:bgRef></p:bg><p:spTree>" + shapes + "</p:spTree></p:cSld></p:sld>";
    };
    const auto scheme = SchemeColours::schemeOf(themeXml(kColours), "<p:clrMap/>", {});
    const auto path = "<a:gradFill><a:gsLst><a:gs pos=\"0\"><a:srgbClr val=\"FF0000\"/></a:gs></a:gsLst>"
                      "<a:path path=\"circle\"/></a:gradFill>";
    const std::string shown = part("1002", overlaidShape("2", kRedToBlue) + overlaidShape("3", path));
    const auto found = ShapeFills::find(shown, theme, 100, 50, scheme);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_TRUE(found[0].background);
    EXPECT_EQ(found[0].placeholder, (Rgba{0x2D, 0xA2, 0xBF}));
    EXPECT_EQ(found[0].widthEmu * 1000 + found[0].heightEmu, 100050);
    EXPECT_TRUE(ShapeFills::replacement(found[0], "rIdX").starts_with("<p:bgPr><a:blipFill"));
    EXPECT_EQ(shown.substr(found[1].begin, 11), "<a:blipFill");
    EXPECT_EQ(shown.substr(found[1].overlayBegin, found[1].overlayEnd - found[1].overlayBegin),
              "<a:fillOverlay blend=\"mult\">" + kRedToBlue + "</a:fillOverlay>");
    EXPECT_EQ(found[1].overlay->stops.size(), 2u);
    EXPECT_TRUE(ShapeFills::find(part("1001", ""), theme, 100, 50, scheme).empty());
}

// A half transparent grey texture under a red-to-blue overlay that
// multiplies: PowerPoint shows the gradient, darkened by the texture where it
// lies, and opaque.
TEST(ShapeFillsTest, ATexturedBandUnderAGradientIsDrawnInTheGradientsColours) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    PictureCodec::Picture grey{4, 4, Bytes(4 * 4 * 4, 128)};
    for (std::size_t i = 3; i < grey.rgba.size(); i += 4) grey.rgba[i] = 255;
    DeckBuilder()
        .setMaster(themeXml(kColours))
        .addSlide(slideXml(overlaidShape("4", kRedToBlue), "<p:transition advTm=\"1000\"/>"),
                  {{"rIdT", "image", "../media/grey.png"}})
        .addEntry("ppt/media/grey.png", PictureCodec::png(grey, dir.path(), std::nullopt))
        .write(dir / "deck.pptx");
    const auto still = firstStill(dir / "deck.pptx", dir.path());
    ASSERT_TRUE(still);
    const auto at = [&](int x, int y) { return pixelAt(*still, x, y); };
    // Half the gradient's colour plus half of it multiplied by 128: three quarters of it.
    const int y = still->height * 3 / 4;
    EXPECT_TRUE(near(at(still->width / 10, y), {172, 0, 19}, 14));
    EXPECT_TRUE(near(at(still->width * 9 / 10, y), {19, 0, 172}, 14));
    EXPECT_TRUE(near(at(still->width / 2, still->height / 4), {255, 255, 255}, 4));
}
