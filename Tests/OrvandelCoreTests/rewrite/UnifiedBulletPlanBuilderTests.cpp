#include <gtest/gtest.h>

#include "TimingFixtures.hpp"
#include "container/SlideXML.hpp"
#include "rewrite/UnifiedBulletPlanBuilder.hpp"

using namespace orvandel;
using namespace orvandel::test;

TEST(UnifiedBulletPlanBuilderTest, ClickGroupsFollowEachOtherAfterTheOpeningChain) {
    const TimingTransformer::Params params{.advanceTimeMs = 9000, .respiroMs = 1000, .espacamentoMs = 1500};
    const auto click = [](const std::string& dur) { return anim("clickEffect", dur); };
    const auto plan = [&](const std::string& steps) {
        return UnifiedBulletPlanBuilder::buildPlan(SlideXML::parseFragment(timing(steps), "p:timing"), params);
    };
    // Entrances of 500, 0 and 2000 ms; a group that starts by itself sits between the first two.
    const std::string withPrevious = node("9", anim("withEffect", "900"));
    const TimingPlan p = plan(node("7", node("8", click("500")) + withPrevious) + step(click("0")) + step(click("2000")));
    EXPECT_EQ(p.groups, (std::vector<GroupPlan>{{0, 1000}, {}, {1500, 1000}, {3000, 1000}}));
    EXPECT_EQ(p.advanceTimeMs, 9000);
    EXPECT_EQ(p.durationOverrides, (std::map<std::string, std::string>{{"1000", "500"}}));

    // A title of 300 + 1000 ms opens the slide (its one-second fade counted in full), then an afterEffect.
    const std::string title = step(anim("withEffect", "1000", "", "300") + anim("afterEffect", "0"));
    EXPECT_EQ(plan(title + step(click("500")) + step(click("3000"))).groups,
              (std::vector<GroupPlan>{{}, {1300, 1000}, {2800, 1000}}));
}
