#include "base/ProgressEstimate.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace orvandel {
namespace {

struct Report {
    ExportStage stage;
    double fraction;
    std::int64_t atMs;
};

TEST(ProgressEstimateTest, OverallShareOnlyGrowsAndEndsAtAThousand) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<std::vector<Report>> sequences{
        // a headless export, in order
        {{ExportStage::scan, 0, 0},
         {ExportStage::prepare, 0, 100},
         {ExportStage::readPlan, 0, 300},
         {ExportStage::pdf, 0, 5000},
         {ExportStage::pdf, 1, 6000},
         {ExportStage::draw, 0.5, 7000},
         {ExportStage::encode, 0.3, 9000},
         {ExportStage::encode, 1, 14000},
         {ExportStage::package, 1, 14100}},
        // stages and fractions out of order, fractions out of range, time going back
        {{ExportStage::encode, 0.5, 1000},
         {ExportStage::draw, 1, 2000},
         {ExportStage::encode, 0.2, 1500},
         {ExportStage::pdf, nan, 3000},
         {ExportStage::encode, 7, 4000},
         {ExportStage::scan, -3, 5000},
         {ExportStage::package, 1, 6000}},
        // a renderer that reports no stages of its own
        {{ExportStage::scan, 0, 0}, {ExportStage::render, 0.5, 4000}, {ExportStage::package, 1, 9000}},
    };
    for (std::size_t i = 0; i < sequences.size(); ++i) {
        ProgressEstimate estimate(0);
        int before = 0;
        for (const auto& r : sequences[i]) {
            estimate.report(r.stage, r.fraction, r.atMs);
            EXPECT_GE(estimate.permille(), before) << "sequence " << i << " at " << r.atMs;
            EXPECT_LE(estimate.permille(), 1000);
            before = estimate.permille();
        }
        EXPECT_EQ(estimate.permille(), 1000) << "sequence " << i;
        EXPECT_EQ(estimate.remainingMs(sequences[i].back().atMs + 1), 0);
    }
}

TEST(ProgressEstimateTest, StagesFollowEachOtherWithoutGapsOrOverlaps) {
    const std::vector<ExportStage> order{ExportStage::scan,     ExportStage::prepare,    ExportStage::readPlan,
                                         ExportStage::media,    ExportStage::storyboard, ExportStage::pdf,
                                         ExportStage::draw,     ExportStage::frames,     ExportStage::encode,
                                         ExportStage::chapters, ExportStage::package};
    int at = 0;
    for (const auto stage : order) {
        EXPECT_EQ(stageSpan(stage).from, at);
        EXPECT_LT(stageSpan(stage).from, stageSpan(stage).to);
        at = stageSpan(stage).to;
    }
    EXPECT_EQ(at, 1000);
    EXPECT_EQ(stageSpan(ExportStage::render).from, stageSpan(ExportStage::readPlan).from);
    EXPECT_EQ(stageSpan(ExportStage::render).to, stageSpan(ExportStage::encode).to);
}

TEST(ProgressEstimateTest, TimeLeftWaitsForEnoughDoneThenFollowsThePaceSmoothly) {
    struct Case {
        const char* name;
        std::vector<Report> reports;
        std::int64_t askedAtMs;
        std::optional<std::int64_t> least, most;  // nothing: no estimate yet
    };
    const std::vector<Case> cases{
        {"too early", {{ExportStage::draw, 0.5, 2000}}, 2500, {}, {}},
        {"too little done", {{ExportStage::scan, 1, 10000}}, 10000, {}, {}},
        // a third done in 10 s: about 20 s left
        {"steady pace",
         {{ExportStage::readPlan, 0, 1000}, {ExportStage::pdf, 0, 10000}},
         10000,
         std::int64_t{18000},
         std::int64_t{22000}},
        // counts down between reports, never below zero
        {"counts down", {{ExportStage::pdf, 0, 10000}}, 15000, std::int64_t{13000}, std::int64_t{17000}},
        {"not below zero", {{ExportStage::pdf, 0, 10000}}, 100000, std::int64_t{0}, std::int64_t{0}},
        // the cache makes drawing and encoding instant: the estimate comes
        // down towards the new pace, but not at once
        {"cache speeds up",
         {{ExportStage::pdf, 0, 10000}, {ExportStage::encode, 0.9, 10500}},
         10500,
         std::int64_t{2000},
         std::int64_t{18000}},
        {"cache, a few seconds on",
         {{ExportStage::pdf, 0, 10000}, {ExportStage::encode, 0.9, 10500}, {ExportStage::encode, 0.95, 18500}},
         18500,
         std::int64_t{0},
         std::int64_t{5000}},
        // a stall does not make the estimate leap: one slow reading moves it part of the way
        {"slower than the shape says",
         {{ExportStage::pdf, 0, 10000}, {ExportStage::pdf, 0.1, 12000}},
         12000,
         std::int64_t{18000},
         std::int64_t{23000}},
    };
    for (const auto& c : cases) {
        ProgressEstimate estimate(0);
        for (const auto& r : c.reports) estimate.report(r.stage, r.fraction, r.atMs);
        const auto left = estimate.remainingMs(c.askedAtMs);
        if (!c.least) {
            EXPECT_FALSE(left) << c.name;
            continue;
        }
        ASSERT_TRUE(left) << c.name;
        EXPECT_GE(*left, *c.least) << c.name;
        EXPECT_LE(*left, *c.most) << c.name;
    }
}

TEST(ProgressEstimateTest, ManyQuickReportsWeighNoMoreThanOneSlowOne) {
    ProgressEstimate few(0), many(0);
    few.report(ExportStage::pdf, 0, 10000);
    many.report(ExportStage::pdf, 0, 10000);
    few.report(ExportStage::draw, 1, 12000);
    for (int ms = 10010; ms <= 12000; ms += 10) many.report(ExportStage::draw, (ms - 10000) / 2000.0, ms);
    const auto a = *few.remainingMs(12000), b = *many.remainingMs(12000);
    EXPECT_LT(std::abs(a - b), 2000) << a << " vs " << b;
}

}  // namespace
}  // namespace orvandel
