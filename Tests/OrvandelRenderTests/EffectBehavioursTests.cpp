#include <gtest/gtest.h>

#include <tuple>

#include "plan/EffectBehaviours.hpp"
#include "plan/MotionPath.hpp"

using namespace orvandel;
using Kind = EffectBehaviour::Kind;
using Key = EffectBehaviour::Key;

namespace {

// An effect's p:cTn as the presets write it: `attrs` on it, then its
// children (behaviours, p:iterate, p:subTnLst).
DrawnEffect read(const std::string& attrs, const std::string& children, const EffectBehaviours::TargetText& text = {}) {
    const auto par = XmlElement::parseDocument(
        "<p:par xmlns:p=\"http://schemas.openxmlformats.org/presentationml/2006/main\" "
        "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" "
        "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\"><p:cTn " +
        attrs + "><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst>" + children + "</p:cTn></p:par>");
    return EffectBehaviours::read(par.firstChildElement("p:cTn"), text);
}
std::string list(const std::string& behaviours) { return "<p:childTnLst>" + behaviours + "</p:childTnLst>"; }
// A behaviour's p:cBhvr on paragraph 0 of shape 3: its p:cTn attributes and children, its attribute name.
std::string bhvr(const std::string& cTn, const std::string& attr = "", const std::string& cTnInner = "") {
    return "<p:cBhvr><p:cTn " + cTn + ">" + cTnInner +
           "</p:cTn><p:tgtEl><p:spTgt spid=\"3\"><p:txEl><p:pRg st=\"0\" end=\"0\"/></p:txEl></p:spTgt></p:tgtEl>" +
           (attr.empty() ? "" : "<p:attrNameLst><p:attrName>" + attr + "</p:attrName></p:attrNameLst>") + "</p:cBhvr>";
}
const std::string kShow = "<p:set>" + bhvr("dur=\"1\" fill=\"hold\"", "style.visibility") +
                          "<p:to><p:strVal val=\"visible\"/></p:to></p:set>";
const std::string kFillOn = "<p:set>" + bhvr("dur=\"500\" fill=\"hold\"", "fill.on") +
                            "<p:to><p:strVal val=\"true\"/></p:to></p:set>";
std::string reveal(const std::string& filter, const std::string& cTn = "dur=\"500\"", const char* transition = "in",
                   const std::string& cTnInner = "") {
    return "<p:animEffect transition=\"" + std::string(transition) + "\" filter=\"" + filter + "\">" +
           bhvr(cTn, "", cTnInner) + "</p:animEffect>";
}
std::string tav(const std::string& tm, const std::string& val, const std::string& fmla = "") {
    return "<p:tav" + (tm.empty() ? "" : " tm=\"" + tm + "\"") + (fmla.empty() ? "" : " fmla=\"" + fmla + "\"") +
           "><p:val><p:strVal val=\"" + val + "\"/></p:val></p:tav>";
}
std::string anim(const std::string& attr, const std::string& tavs, const std::string& cTn = "dur=\"500\"") {
    return "<p:anim calcmode=\"lin\" valueType=\"num\">" + bhvr(cTn, attr) + "<p:tavLst>" + tavs +
           "</p:tavLst></p:anim>";
}

}  // namespace

TEST(EffectBehavioursTest, BehavioursAreReadAsTheDeckStoresThem) {
    const auto fade = [](std::int64_t begin, std::int64_t ms, bool in = true) {
        return EffectBehaviour{.kind = Kind::reveal, .beginMs = begin, .durationMs = ms, .filter = "fade", .in = in};
    };
    EffectBehaviour flyX{.kind = Kind::value,
                         .durationMs = 500,
                         .property = "ppt_x",
                         .keys = {{0, "0-#ppt_w/2", ""}, {100000, "#ppt_x", ""}},
                         .holds = true};
    EffectBehaviour flyY = flyX;
    flyY.property = "ppt_y";
    flyY.keys = {{0, "#ppt_y", ""}, {100000, "#ppt_y", ""}};
    // Keys without a time are spread evenly; a formula stays with its key.
    EffectBehaviour bounce{.kind = Kind::value,
                           .durationMs = 500,
                           .property = "ppt_y",
                           .keys = {{0, "0.5", "#ppt_y-sin(pi*$)/3"}, {50000, "1", ""}, {100000, "#ppt_y", ""}}};
    EffectBehaviour turn{.kind = Kind::value,
                         .durationMs = 400,
                         .property = "r",
                         .keys = {{0, "#r", ""}, {100000, "#r+90", ""}},
                         .discrete = true};
    EffectBehaviour grow{.kind = Kind::scale, .durationMs = 2000, .toX = 150000, .toY = 150000, .holds = true};
    EffectBehaviour spin{.kind = Kind::rotate, .durationMs = 2000, .by = 21600000, .holds = true};
    spin.timing.autoReverse = true;
    spin.timing.repeatMilli = 2000;
    EffectBehaviour path{.kind = Kind::motion,
                         .durationMs = 2000,
                         .path = "M 0 0 L 0.25 0 E",
                         .pathRotation = 60000,
                         .pathRelative = false,
                         .holds = true};
    path.timing.accel = path.timing.decel = 50000;
    EffectBehaviour text{.kind = Kind::colour, .durationMs = 2000, .property = "style.color", .colour = "FF0000"};
    EffectBehaviour opacity{.kind = Kind::value,
                            .property = "style.opacity",
                            .keys = {{0, "0.25", ""}, {100000, "0.25", ""}},
                            .discrete = true,
                            .holds = true};

    EffectBehaviour bigger{.kind = Kind::restyle,
                           .durationMs = 2000,
                           .property = "style.fontSize",
                           .keys = {{0, "#style.fontSize", ""}, {100000, "1.5", ""}},
                           .holds = true};
    EffectBehaviour typeface{.kind = Kind::restyle,
                             .property = "style.fontFamily",
                             .keys = {{0, "Times New Roman", ""}, {100000, "Times New Roman", ""}},
                             .discrete = true,
                             .holds = true};
    EffectBehaviour theme{
        .kind = Kind::colour, .durationMs = 2000, .property = "style.color", .colour = "scheme:accent2", .holds = true};
    EffectBehaviour blink{.kind = Kind::value,
                          .durationMs = 1000,
                          .property = "style.visibility",
                          .keys = {{0, "hidden", ""}, {50000, "visible", ""}},
                          .discrete = true};
    blink.timing.filter = {{0, 0}, {50000, 80000}, {100000, 100000}};

    // What, the effect's attributes, its children: its behaviours, the drawing's length, its name.
    for (const auto& [what, attrs, children, behaviours, durationMs, strategy] :
         std::vector<std::tuple<const char*, std::string, std::string, std::vector<EffectBehaviour>, std::int64_t,
                                std::string>>{
             {"appear", "presetClass=\"entr\"", list(kShow), {}, 0, ""},
             {"a fade twice as fast, its behaviour delayed",
              "presetClass=\"entr\" spd=\"200000\"",
              list(kShow + reveal("fade", "dur=\"1000\"") +
                   reveal("fade", "dur=\"500\"", "in", "<p:stCondLst><p:cond delay=\"500\"/></p:stCondLst>")),
              {fade(0, 500), fade(250, 250)},
              500,
              "fade"},
             {"an exit",
              "presetClass=\"exit\"",
              list(reveal("wipe(up)", "dur=\"500\"", "out")),
              {{.kind = Kind::reveal, .durationMs = 500, .filter = "wipe(up)", .in = false}},
              500,
              "wipe(up)"},
             {"fly in from the left",
              "presetClass=\"entr\" presetID=\"2\" presetSubtype=\"8\"",
              list(kShow +
                   anim("ppt_x", tav("0", "0-#ppt_w/2") + tav("100000", "#ppt_x"), "dur=\"500\" fill=\"hold\"") +
                   anim("ppt_y", tav("0", "#ppt_y") + tav("100000", "#ppt_y"), "dur=\"500\" fill=\"hold\"")),
              {flyX, flyY},
              500,
              "fly in from left"},
             {"a formula, keys without times, a by",
              "presetClass=\"entr\"",
              list(anim("ppt_y", tav("", "0.5", "#ppt_y-sin(pi*$)/3") + tav("", "1") + tav("", "#ppt_y")) +
                   "<p:anim by=\"90\" calcmode=\"discrete\">" + bhvr("dur=\"400\"", "r") + "</p:anim>"),
              {bounce, turn},
              500,
              "move + spin"},
             {"grow, once",
              "presetClass=\"emph\" repeatCount=\"0\"",
              list("<p:animScale>" + bhvr("dur=\"2000\" fill=\"hold\"") +
                   "<p:by x=\"150000\" y=\"150000\"/></p:animScale>"),
              {grow},
              2000,
              "grow 150%"},
             {"spin there and back, twice",
              "presetClass=\"emph\" autoRev=\"1\" repeatCount=\"2000\" fill=\"hold\"",
              list("<p:animRot by=\"21600000\">" + bhvr("dur=\"2000\"", "r") + "</p:animRot>"),
              {spin},
              8000,
              "spin 360\u00B0"},
             {"a fixed path, eased",
              "presetClass=\"path\" accel=\"50000\" decel=\"50000\" fill=\"hold\"",
              list("<p:animMotion origin=\"layout\" path=\"M 0 0 L 0.25 0 E\" pathEditMode=\"fixed\" rAng=\"60000\">" +
                   bhvr("dur=\"2000\"", "ppt_x") + "</p:animMotion>"),
              {path},
              2000,
              "motion path"},
             {"text colour",
              "presetClass=\"emph\"",
              list("<p:animClr clrSpc=\"rgb\">" + bhvr("dur=\"2000\"", "style.color") +
                   "<p:to><a:srgbClr val=\"ff0000\"/></p:to></p:animClr><p:set>" + bhvr("dur=\"2000\"", "fill.type") +
                   "<p:to><p:strVal val=\"solid\"/></p:to></p:set>"),
              {text},
              2000,
              "text colour"},
             {"transparency, as set and as filter",
              "presetClass=\"emph\" presetID=\"9\"",
              list("<p:set>" + bhvr("dur=\"indefinite\"", "style.opacity") +
                   "<p:to><p:strVal val=\"0.25\"/></p:to></p:set><p:animEffect filter=\"image\" prLst=\"opacity: "
                   "0.25\">" +
                   bhvr("dur=\"indefinite\"") + "</p:animEffect>"),
              {opacity},
              0,
              "opacity 25%"},
             {"text grown to 150% and set in another typeface, a theme colour",
              "presetClass=\"emph\" fill=\"hold\"",
              list("<p:anim to=\"1.5\">" + bhvr("dur=\"2000\"", "style.fontSize") + "</p:anim><p:set>" +
                   bhvr("dur=\"indefinite\"", "style.fontFamily") +
                   "<p:to><p:strVal val=\"Times New Roman\"/></p:to></p:set><p:animClr>" +
                   bhvr("dur=\"2000\"", "style.color") + "<p:to><a:schemeClr val=\"accent2\"/></p:to></p:animClr>"),
              {bigger, typeface, theme},
              2000,
              "font size 150% + typeface Times New Roman + text colour"},
             {"blink, its pace filtered",
              "presetClass=\"emph\"",
              list("<p:anim calcmode=\"discrete\">" +
                   bhvr("dur=\"1000\" tmFilter=\"0,0; .5,.8;1,1\"", "style.visibility") + "<p:tavLst>" +
                   tav("0", "hidden") + tav("50000", "visible") + "</p:tavLst></p:anim>"),
              {blink},
              1000,
              "blink"},
             {"a media call", "presetClass=\"mediacall\"", list(reveal("fade")), {}, 0, ""},
         }) {
        SCOPED_TRACE(what);
        const DrawnEffect effect = read(attrs, children);
        EXPECT_EQ(effect.behaviours, behaviours);
        EXPECT_EQ(effect.durationMs, durationMs);
        EXPECT_EQ(effect.strategy, strategy);
        EXPECT_FALSE(effect.fallback);
    }
}

TEST(EffectBehavioursTest, PlanNamesWhatItDrawsDifferentlyAndFallsBackOnlyWhenNothingIsUnderstood) {
    // The effect's children: whether it falls back to a fade, the words its approximation must hold.
    for (const auto& [children, fallback, approximation] :
         std::vector<std::tuple<std::string, bool, std::vector<std::string>>>{
             {list(kShow + reveal("fade")), false, {}},
             {list(anim("xshear", tav("0", "0") + tav("100000", "1")) +
                   anim("ppt_x", tav("0", "#ppt_x-.1") + tav("100000", "#ppt_x"))),
              false,
              {}},
             {list("<p:set>" + bhvr("dur=\"500\"", "style.fontWeight") +
                   "<p:to><p:strVal val=\"bold\"/></p:to></p:set>"),
              false,
              {"style change that does not hold"}},
             {list(reveal("pixelate")), true, {"pixelate"}},
             {list("<p:animClr>" + bhvr("dur=\"500\"", "fillcolor") +
                   "<p:to><a:schemeClr val=\"accent2\"/></p:to></p:animClr>"),
              false,
              {"colour"}},
             // A colour preset switches its fill on with the colour: part of it; alone, it draws nothing.
             {list(kFillOn + "<p:animClr>" + bhvr("dur=\"500\" fill=\"hold\"", "fillcolor") +
                   "<p:to><a:srgbClr val=\"FF0000\"/></p:to></p:animClr>"),
              false,
              {}},
             {list(kFillOn + reveal("fade")), false, {"fill.on"}},
             {list(reveal("fade", "dur=\"500\" tmFilter=\"0,0; .5,1; 1,0\"")), false, {}},
             {list(reveal("fade", "dur=\"500\" tmFilter=\"0,0; .5,1; .2,0\"")), false, {"time filter"}},
         }) {
        SCOPED_TRACE(children);
        const DrawnEffect effect = read("presetClass=\"emph\"", children);
        EXPECT_EQ(effect.fallback, fallback);
        for (const auto& word : approximation) EXPECT_NE(effect.approximation.find(word), std::string::npos) << word;
        EXPECT_EQ(effect.approximation.empty(), approximation.empty()) << effect.approximation;
        if (fallback) {
            ASSERT_EQ(effect.behaviours.size(), 1u);
            EXPECT_EQ(effect.behaviours.front().filter, "fade");
            EXPECT_EQ(effect.durationMs, 500);
        }
    }
}

TEST(EffectBehavioursTest, TextIteratesOverTheTargetsWordsOrLettersAndSoundsAreRead) {
    int asked = 0;
    const EffectBehaviours::TargetText text = [&](const std::string& spid, std::optional<std::int64_t> paragraph) {
        ++asked;
        return spid == "3" && paragraph == 0 ? std::string(" Olá  mundo\tazul ") : std::string();
    };
    // The iteration, the units, the drawing's length (a 500 ms fade).
    for (const auto& [iterate, units, durationMs] : std::vector<std::tuple<std::string, std::int64_t, std::int64_t>>{
             {"<p:iterate type=\"wd\"><p:tmPct val=\"10000\"/></p:iterate>", 3, 600},
             {"<p:iterate type=\"lt\" backwards=\"1\"><p:tmAbs val=\"100\"/></p:iterate>", 12, 1600},
             {"<p:iterate><p:tmPct val=\"50000\"/></p:iterate>", 1, 500},
         }) {
        const DrawnEffect effect = read("presetClass=\"entr\"", iterate + list(kShow + reveal("fade")), text);
        EXPECT_EQ(effect.iterate.units, units) << iterate;
        EXPECT_EQ(effect.durationMs, durationMs) << iterate;
    }
    EXPECT_EQ(asked, 2);  // not for a whole target

    const DrawnEffect sounding =
        read("presetClass=\"entr\"",
             list(reveal("fade")) +
                 "<p:subTnLst><p:audio><p:cMediaNode><p:cTn display=\"0\"/><p:tgtEl><p:sndTgt r:embed=\"rId2\" "
                 "name=\"HAMMER.WAV\"/></p:tgtEl></p:cMediaNode></p:audio></p:subTnLst>");
    ASSERT_TRUE(sounding.sound);
    EXPECT_EQ(std::tie(sounding.sound->relationshipId, sounding.sound->name), std::tie("rId2", "HAMMER.WAV"));
    EXPECT_EQ(sounding.behaviours.size(), 1u);
}

TEST(EffectBehavioursTest, PathsEndWhereTheirLastPointIsAndHostileNumbersStayBounded) {
    using Point = std::optional<std::pair<double, double>>;
    for (const auto& [path, end] : std::vector<std::tuple<std::string, Point>>{
             {"M 0 0 L 0.25 0.1 E", std::pair{0.25, 0.1}},
             {"M 2.29167E-6 3.7037E-6 L 0.00703 -0.29699 ", std::pair{0.00703, -0.29699}},
             {"M 0 0 C 0.1 0 0.2 0.1 0.3 0.2 L 0.4 0.5 Z", std::pair{0.0, 0.0}},
             {"m 0.1 0 l 0.1 0.1 l 0.1 0", std::pair{0.3, 0.1}},
             {"garbage", std::nullopt},
         }) {
        const auto got = MotionPath::end(path);
        ASSERT_EQ(got.has_value(), end.has_value()) << path;
        if (end) {
            EXPECT_NEAR(got->first, end->first, 1e-9) << path;
            EXPECT_NEAR(got->second, end->second, 1e-9) << path;
        }
    }
    const DrawnEffect huge =
        read("presetClass=\"emph\" spd=\"1\" repeatCount=\"9223372036854775807\"",
             "<p:iterate type=\"lt\"><p:tmAbs val=\"99999999999\"/></p:iterate>" +
                 list("<p:animScale>" + bhvr("dur=\"9999999999999\" repeatCount=\"indefinite\"") +
                      "<p:by x=\"9223372036854775807\" y=\"-9223372036854775807\"/></p:animScale>"),
             [](const std::string&, std::optional<std::int64_t>) { return std::string(100000, 'x'); });
    EXPECT_GE(huge.durationMs, 0);
    EXPECT_LE(huge.durationMs, 86'400'000);
    EXPECT_EQ(huge.behaviours.front().timing.repeatMilli, 0);
}
