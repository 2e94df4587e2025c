#include <gtest/gtest.h>

#include "DeckBuilder.hpp"
#include "plan/SlideTransitions.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;
using Layer = DrawnEffect::Layer;

namespace {

std::string alternate(const std::string& choice, const std::string& fallback, const std::string& requires_ = "p14") {
    return "<mc:AlternateContent xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\"><mc:Choice "
           "xmlns:p14=\"http://schemas.microsoft.com/office/powerpoint/2010/main\" Requires=\"" +
           requires_ + "\"><p:transition " + choice + "</p:transition></mc:Choice><mc:Fallback><p:transition>" +
           fallback + "</p:transition></mc:Fallback></mc:AlternateContent>";
}

// The duration of what is drawn (or sounds), if anything: 0 for a sound alone.
std::optional<std::int64_t> duration(const std::string& block) {
    const auto e = SlideTransitions::read(test::slideXml("", block));
    if (!e) return std::nullopt;
    return e->drawn() ? e->durationMs : 0;
}

// What is drawn, in a line: layer, each behaviour (filter, or property and keys), strategy, approximation.
std::string drawn(const std::string& block) {
    const auto e = SlideTransitions::describe(block, "slide1.xml");
    if (!e) return "nothing";
    std::string out = e->layer == Layer::incoming ? "in" : e->layer == Layer::outgoing ? "out" : "both";
    for (const auto& b : e->behaviours) {
        out += " ";
        if (b.kind == EffectBehaviour::Kind::reveal) out += b.filter;
        else if (b.kind == EffectBehaviour::Kind::scale)
            out += "scale " + std::to_string(b.fromX) + ">" + std::to_string(b.toX);
        else if (b.kind == EffectBehaviour::Kind::rotate) out += "rotate " + std::to_string(b.by / 60000);
        else out += b.property + " " + b.keys.front().value + ">" + b.keys.back().value;
        if (b.durationMs != e->durationMs) out += " (wrong duration)";
    }
    out += " | " + e->strategy;
    if (!e->approximation.empty()) out += " | " + e->approximation;
    if (e->fallback) out += " | fallback";
    return out;
}

}  // namespace

TEST(SlideTransitionsTest, DurationsComeFromTheTransitionReadAndNothingComesOfCutsOrAdvancesAlone) {
    using Ms = std::optional<std::int64_t>;
    const std::pair<std::string, Ms> rows[] = {
        {R"(<p:transition spd="slow"><p:fade thruBlk="1"/></p:transition>)", Ms(1000)},
        {alternate(R"(spd="slow" p14:dur="1200"><p:push dir="u"/>)", R"(<p:push dir="u"/>)"), Ms(1200)},
        {"<p:transition><p:wipe/></p:transition>", Ms(500)},
        {R"(<p:transition spd="med"><p:cover dir="r"/></p:transition>)", Ms(750)},
        // Any quotes, any order.
        {"<p:transition advTm='3000' spd='fast'><p:pull dir='dr'/></p:transition>", Ms(500)},
        {R"(<p:transition><p:sndAc><p:endSnd/></p:sndAc><p:zoom dir="in"/></p:transition>)", Ms(500)},
        // A newer kind is read from its choice, even with a prefix declared on the slide only.
        {alternate(R"(p14:dur="2000"><p14:vortex dir="r"/>)", R"(<p:cover dir="d"/>)"), Ms(2000)},
        {alternate(R"(p14:dur="800"><p15:prstTrans prst="curtains"/>)", "<p:fade/>", "p15"), Ms(800)},
        {R"(<p:transition spd="med"><p:random/></p:transition>)", Ms(750)},
        {"<p:transition><p:cut/></p:transition>", std::nullopt},
        {R"(<p:transition spd="slow" advTm="5000"/>)", std::nullopt},
        {"", std::nullopt},
        {TransitionWriter::block(4000), std::nullopt},
        // A sound alone still plays, over a cut.
        {R"(<p:transition><p:sndAc><p:stSnd/></p:sndAc></p:transition>)", Ms(0)},
    };
    for (const auto& [block, expected] : rows) EXPECT_EQ(duration(block), expected) << block;
}

TEST(SlideTransitionsTest, DrawsEveryKindAsItsOwnBehaviours) {
    const std::pair<std::string, std::string> rows[] = {
        {R"(<p:transition><p:cover dir="r"/></p:transition>)", "in ppt_x 0-#ppt_w/2>#ppt_x | cover from the left"},
        {R"(<p:transition><p:cover dir="lu"/></p:transition>)",
         "in ppt_x 1+#ppt_w/2>#ppt_x ppt_y 1+#ppt_h/2>#ppt_y | cover from the bottom right"},
        {R"(<p:transition><p:push dir="d"/></p:transition>)", "both ppt_y 0-#ppt_h/2>#ppt_y | push from the top"},
        {R"(<p:transition><p:pull/></p:transition>)", "out ppt_x #ppt_x>0-#ppt_w/2 | uncover towards the left"},
        {R"(<p:transition><p:split orient="vert" dir="in"/></p:transition>)", "in barn(inVertical) | barn(inVertical)"},
        {R"(<p:transition><p:strips dir="rd"/></p:transition>)", "in strips(downRight) | strips(downRight)"},
        {R"(<p:transition><p:strips/></p:transition>)", "in strips(upLeft) | strips(upLeft)"},
        {R"(<p:transition><p:wheel spokes="99999999999999999999"/></p:transition>)", "in wheel(4) | wheel(4)"},
        {R"(<p:transition><p:wheel spokes="3"/></p:transition>)", "in wheel(3) | wheel(3)"},
        {R"(<p:transition><p:checker dir="vert"/></p:transition>)", "in checkerboard(down) | checkerboard(down)"},
        {R"(<p:transition><p:wipe dir="d"/></p:transition>)", "in wipe(down) | wipe(down)"},
        {R"(<p:transition><p:fade thruBlk="1"/></p:transition>)", "in fade(throughBlack) | fade(throughBlack)"},
        {R"(<p:transition><p:cut thruBlk="1"/></p:transition>)", "in fade(throughBlack) | cut through black"},
        {R"(<p:transition><p:zoom dir="in"/></p:transition>)", "in scale 0>100000 | zoom in from the centre"},
        // The choice a slideshow of today reads, and the fallback when the choice needs what nobody knows.
        {alternate(R"(p14:dur="2000"><p14:vortex dir="r"/>)", R"(<p:cover dir="d"/>)"),
         "in scale 0>100000 rotate 360 | spinning zoom | vortex drawn as a spinning zoom"},
        {alternate(R"(><p14:vortex dir="r"/>)", R"(<p:cover dir="d"/>)", "p14 p99"),
         "in ppt_y 0-#ppt_h/2>#ppt_y | cover from the top"},
        {alternate(R"(><p159:morph option="byObject"/>)", "<p:fade/>", "p159"),
         "in fade | fade | morph drawn as a crossfade; shapes not matched"},
        {alternate(R"(><p15:prstTrans prst="wind" invX="1"/>)", "<p:fade/>", "p15"),
         "out ppt_x #ppt_x>1+#ppt_w/2 | uncover towards the right | wind drawn as an uncover"},
        {alternate(R"(><p15:prstTrans prst="nouveau"/>)", "<p:fade/>", "p15"),
         "in fade | fade | unknown preset \"nouveau\" drawn as a fade | fallback"},
        {"<p:transition><p14:flash/></p:transition>",
         "in fade(throughWhite) | fade(throughWhite) | flash drawn as a fade through white"},
        {"<p:transition><p99:teleport/></p:transition>",
         "in fade | fade | unknown kind p99:teleport drawn as a fade | fallback"},
        {R"(<p:transition spd="slow" advTm="5000"/>)", "nothing"},
    };
    for (const auto& [block, expected] : rows) EXPECT_EQ(drawn(block), expected) << block;

    // A random transition is drawn as one kind, the same for the same slide, and says so.
    const auto random = SlideTransitions::describe("<p:transition><p:random/></p:transition>", "slide7.xml");
    ASSERT_TRUE(random);
    EXPECT_TRUE(random->strategy.starts_with("random: ")) << random->strategy;
    EXPECT_FALSE(random->approximation.empty());
    EXPECT_EQ(random, SlideTransitions::describe("<p:transition><p:random/></p:transition>", "slide7.xml"));
}

TEST(SlideTransitionsTest, ReadsTheSoundAndTheDuration) {
    const auto sound = SlideTransitions::describe(
        R"(<p:transition spd="med" p14:dur="99999999999"><p:fade/><p:sndAc><p:stSnd loop="1"><p:snd r:embed="rId2" )"
        R"(name="bomb.wav"/></p:stSnd></p:sndAc></p:transition>)");
    ASSERT_TRUE(sound && sound->sound);
    EXPECT_EQ(*sound->sound, (EffectSound{"rId2", "bomb.wav", true, false}));
    EXPECT_EQ(sound->durationMs, 86400000);  // bounded
    EXPECT_EQ(sound->presetClass, "p:fade");
    const auto stop = SlideTransitions::describe(
        "<p:transition spd=\"slow\"><p:sndAc><p:endSnd/></p:sndAc></p:transition>");
    ASSERT_TRUE(stop && stop->sound);
    EXPECT_TRUE(stop->sound->stopsPrevious);
    EXPECT_EQ(stop->strategy, "cut");
}
