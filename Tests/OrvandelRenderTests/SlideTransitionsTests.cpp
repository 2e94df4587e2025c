#include <gtest/gtest.h>

#include "DeckBuilder.hpp"
#include "plan/SlideTransitions.hpp"
#include "rewrite/TransitionWriter.hpp"

using namespace orvandel;
using Kind = DrawnEffect::Kind;
using Side = DrawnEffect::Side;

namespace {

std::string alternate(const std::string& choice, const std::string& fallback) {
    return "<mc:AlternateContent xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\"><mc:Choice "
           "xmlns:p14=\"http://schemas.microsoft.com/office/powerpoint/2010/main\" Requires=\"p14\"><p:transition " +
           choice + "</p:transition></mc:Choice><mc:Fallback><p:transition>" + fallback +
           "</p:transition></mc:Fallback></mc:AlternateContent>";
}

}  // namespace

TEST(SlideTransitionsTest, ReadsKindSideAndDurationOfTheSlidesTransition) {
    const auto drawn = [](Kind kind, Side side, std::int64_t ms) { return std::optional(DrawnEffect{kind, side, ms}); };
    const std::pair<std::string, std::optional<DrawnEffect>> rows[] = {
        {R"(<p:transition spd="slow"><p:fade thruBlk="1"/></p:transition>)", drawn(Kind::fade, Side::left, 1000)},
        {alternate(R"(spd="slow" p14:dur="1200"><p:push dir="u"/>)", R"(<p:push dir="u"/>)"),
         drawn(Kind::push, Side::bottom, 1200)},
        {"<p:transition><p:wipe/></p:transition>", drawn(Kind::wipe, Side::right, 500)},
        {R"(<p:transition spd="med"><p:cover dir="r"/></p:transition>)", drawn(Kind::fly, Side::left, 750)},
        // The old slide leaves the way it moves; any quotes, any order.
        {"<p:transition advTm='3000' spd='fast'><p:pull dir='dr'/></p:transition>",
         drawn(Kind::uncover, Side::bottom, 500)},
        {R"(<p:transition><p:sndAc><p:endSnd/></p:sndAc><p:zoom dir="in"/></p:transition>)",
         drawn(Kind::zoom, Side::left, 500)},
        // A newer kind is drawn as its fallback, even with a prefix declared on the slide only.
        {alternate(R"(p14:dur="2000"><p14:vortex dir="r"/>)", R"(<p:cover dir="d"/>)"),
         drawn(Kind::fly, Side::top, 2000)},
        {alternate(R"(p14:dur="800"><p15:prstTrans prst="curtains"/>)", "<p:fade/>"),
         drawn(Kind::fade, Side::left, 800)},
        {R"(<p:transition spd="med"><p:random/></p:transition>)", drawn(Kind::fade, Side::left, 750)},
        {"<p:transition><p:cut/></p:transition>", std::nullopt},
        {R"(<p:transition spd="slow" advTm="5000"/>)", std::nullopt},
        {"", std::nullopt},
        {TransitionWriter::block(4000), std::nullopt},
    };
    for (const auto& [block, expected] : rows)
        EXPECT_EQ(SlideTransitions::read(test::slideXml("", block)), expected) << block;
}
