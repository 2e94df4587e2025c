#include <gtest/gtest.h>

#include "render/MasterDurationGuard.hpp"

using namespace orvandel::MasterDurationGuard;

TEST(MasterDurationGuardTest, BandBoundsAreInclusive) {
    EXPECT_EQ(check(10000, 6000), Verdict::ok());
    EXPECT_EQ(check(10000, 14000), Verdict::ok());
    EXPECT_EQ(check(10000, 5999), Verdict::mismatch(0.5999));
    EXPECT_EQ(check(10000, 14001), Verdict::mismatch(1.4001));
    EXPECT_EQ(check(0, 123), Verdict::ok());
    EXPECT_EQ(check(100, 150, {1.5, 1.5}), Verdict::ok());
    EXPECT_DEATH(check(100, 100, {1.2, 0.8}), "");
}
