#include <gtest/gtest.h>

#include "MechanicalTransformer.hpp"
#include "SlideXML.hpp"
#include "TimingFixtures.hpp"
#include "TimingTree.hpp"
#include "UnifiedBulletPlanBuilder.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

const TimingTransformer::Params params{.advanceTimeMs = 9000, .respiroMs = 1000, .espacamentoMs = 1500};

std::string click(const std::string& dur) { return effect("nodeType=\"clickEffect\"", "0", dur); }

TimingPlan planOf(const std::string& steps) {
    return UnifiedBulletPlanBuilder::buildPlan(SlideXML::parseFragment(timing(steps), "p:timing"), params);
}

}  // namespace

TEST(UnifiedBulletPlanBuilderTest, ClickGroupsFollowEachOtherAndOthersKeepTheCursor) {
    // Entrances of 500, 0 and 2000 ms; a group that starts by itself sits between the first two.
    const TimingPlan plan = planOf(node("7", node("8", click("500")) + node("9", effect("nodeType=\"withEffect\"", "0", "900"))) +
                                   step(click("0")) + step(click("2000")));
    EXPECT_EQ(plan.advanceTimeMs, 9000);
    EXPECT_EQ(plan.groups, (std::vector<GroupPlan>{{0, 1000}, {}, {1500, 1000}, {3000, 1000}}));
    EXPECT_EQ(plan.durationOverrides, (std::map<std::string, std::string>{{"1000", "500"}}));
}

TEST(UnifiedBulletPlanBuilderTest, AnOpeningTitleShiftsEveryClickGroup) {
    // A title fading in for 800 ms (300 delay + 500), then an afterEffect of 0 at 800.
    const std::string opening = node("5", node("6", effect("nodeType=\"withEffect\"", "300", "500") +
                                                        effect("nodeType=\"afterEffect\"", "0", "0")));
    const TimingPlan plan = planOf(opening + step(click("500")) + step(click("3000")));
    EXPECT_EQ(plan.groups, (std::vector<GroupPlan>{{}, {800, 1000}, {2300, 1000}}));

    // The opening chain counts a one-second effect in full, unlike the entrance time.
    const auto t = SlideXML::parseFragment(timing(step(effect("", "0", "1000")) + step(click("1000"))), "p:timing");
    EXPECT_EQ(UnifiedBulletPlanBuilder::openingChainDurationMs(TimingTree::groupContainers(*TimingTree::firstMainSeq(t))),
              1000);
}

TEST(UnifiedBulletPlanBuilderTest, NoMainSequenceThrows) {
    try {
        UnifiedBulletPlanBuilder::buildPlan(SlideXML::parseFragment(timing(step(click("500")), "interactiveSeq"), "p:timing"),
                                            params);
        FAIL() << "no error";
    } catch (const MechanicalTransformer::Error& e) {
        EXPECT_EQ(e.errorCase(), MechanicalTransformer::Error::Case::mainSeqNotFound);
        EXPECT_STREQ(e.what(), "mainSeq <p:cTn nodeType=\"mainSeq\"> not found");
    }
}
