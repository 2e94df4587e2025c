#include <gtest/gtest.h>

#include "DeckBuilder.hpp"
#include "SlideTransitions.hpp"
#include "TestSupport.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Kind = DrawnEffect::Kind;
using Side = DrawnEffect::Side;

namespace {

std::string alternate(const std::string& choice, const std::string& fallback) {
    return "<mc:AlternateContent xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\">"
           "<mc:Choice xmlns:p14=\"http://schemas.microsoft.com/office/powerpoint/2010/main\" Requires=\"p14\">" +
           choice + "</mc:Choice><mc:Fallback>" + fallback + "</mc:Fallback></mc:AlternateContent>";
}

}  // namespace

TEST(SlideTransitionsTest, ReadsKindSideAndDurationOfTheSlidesTransition) {
    const struct {
        const char* name;
        std::string block;
        std::optional<DrawnEffect> expected;
    } rows[] = {
        {"fade, slow", R"(<p:transition spd="slow"><p:fade thruBlk="1"/></p:transition>)", DrawnEffect{Kind::fade, Side::left, 1000}},
        {"exact duration wins over the speed",
         alternate(R"(<p:transition spd="slow" p14:dur="1200"><p:push dir="u"/></p:transition>)",
                   R"(<p:transition spd="slow"><p:push dir="u"/></p:transition>)"),
         DrawnEffect{Kind::push, Side::bottom, 1200}},
        {"wipe moving left by default", "<p:transition><p:wipe/></p:transition>", DrawnEffect{Kind::wipe, Side::right, 500}},
        {"cover moving right", R"(<p:transition spd="med"><p:cover dir="r"/></p:transition>)", DrawnEffect{Kind::fly, Side::left, 750}},
        {"pull: the old slide leaves downwards, quotes and order as written",
         "<p:transition advTm='3000' spd='fast'><p:pull dir='dr'/></p:transition>", DrawnEffect{Kind::uncover, Side::bottom, 500}},
        {"a kind of our own after the sound", R"(<p:transition><p:sndAc><p:endSnd/></p:sndAc><p:zoom dir="in"/></p:transition>)",
         DrawnEffect{Kind::zoom, Side::left, 500}},
        {"newer kind: the fallback's",
         alternate(R"(<p:transition p14:dur="2000"><p14:vortex dir="r"/></p:transition>)",
                   R"(<p:transition><p:cover dir="d"/></p:transition>)"),
         DrawnEffect{Kind::fly, Side::top, 2000}},
        {"prefix declared only on the slide", alternate(R"(<p:transition p14:dur="800"><p15:prstTrans prst="curtains"/></p:transition>)",
                                                        "<p:transition><p:fade/></p:transition>"),
         DrawnEffect{Kind::fade, Side::left, 800}},
        {"any other kind fades", R"(<p:transition spd="med"><p:random/></p:transition>)", DrawnEffect{Kind::fade, Side::left, 750}},
        {"cut", "<p:transition><p:cut/></p:transition>", std::nullopt},
        {"no effect", R"(<p:transition spd="slow" advTm="5000"/>)", std::nullopt},
        {"no transition", "", std::nullopt},
        {"prepared slide", TransitionWriter::block(4000), std::nullopt},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SlideTransitions::read(slideXml("", row.block)), row.expected) << row.name;
    }
}

TEST(SlideTransitionsTest, CorpusDeckGivesEachSlideItsOwn) {
    const auto deck = corpusDir() / "oxpt__SlideTransitions.pptx";
    if (!std::filesystem::exists(deck)) GTEST_SKIP() << "no corpus";
    const std::map<std::string, DrawnEffect> expected{{"ppt/slides/slide2.xml", {Kind::fade, Side::left, 700}},
                                                      {"ppt/slides/slide3.xml", {Kind::wipe, Side::right, 1000}},
                                                      {"ppt/slides/slide4.xml", {Kind::fade, Side::left, 1000}}};
    EXPECT_EQ(SlideTransitions::ofDeck(deck), expected);
}
