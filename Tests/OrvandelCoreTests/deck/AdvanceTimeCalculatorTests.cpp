#include <gtest/gtest.h>

#include "deck/AdvanceTimeCalculator.hpp"

using namespace orvandel::AdvanceTimeCalculator;

TEST(AdvanceTimeCalculatorTest, AddsEachBlockWithItsPauses) {
    EXPECT_EQ(advanceTimeMs({}, false, 0, false, 0, false, 0, 0), 1500);
    EXPECT_EQ(advanceTimeMs({}, true, 800, false, 0, false, 0, 0), 2300);
    EXPECT_EQ(advanceTimeMs({}, false, 700, false, 0, false, 0, 0), 1500);  // auto not found: 700 ignored
    EXPECT_EQ(advanceTimeMs({500, 2000}, false, 0, false, 0, false, 0, 0), 6000);
    EXPECT_EQ(advanceTimeMs({}, false, 0, false, 0, false, 0, 2), 4500);
    EXPECT_EQ(advanceTimeMs({500}, false, 0, false, 0, false, 0, 1), 4500);
    EXPECT_EQ(advanceTimeMs({}, false, 0, true, 10000, false, 0, 0), 11500);
    EXPECT_EQ(advanceTimeMs({}, false, 0, false, 0, true, 3000, 0), 4500);
    EXPECT_EQ(advanceTimeMs({}, false, 0, true, 10000, true, 3000, 0), 16000);
    EXPECT_EQ(advanceTimeMs({0}, true, 1, false, 0, false, 0, 0), 1501 + 1500 + 1500);
}

TEST(AdvanceTimeCalculatorTest, CountFormTreatsEveryStepAsAShortAnimation) {
    EXPECT_EQ(advanceTimeMs(3, false, 0, false, 0, false, 0), 6000);
    EXPECT_EQ(advanceTimeMs(0, false, 0, false, 0, false, 0), 1500);
    EXPECT_EQ(advanceTimeMs(1, true, 800, true, 10000, false, 0), 2300 + 3000 + 11500);
    EXPECT_EQ(bulletStepMs(200), 1500);
    EXPECT_EQ(bulletStepMs(2500), 3500);
}
