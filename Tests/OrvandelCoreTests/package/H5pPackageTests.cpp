// Where the H5P's bookmarks fall, and what its content keeps of a title.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/Bytes.hpp"
#include "deck/AdvanceTimeCalculator.hpp"
#include "package/ChapterList.hpp"
#include "package/H5pPackage.hpp"

using namespace orvandel;

// Without chapters the bookmarks come from the cues: where the timing ends
// the slide before, which is where the chapters (the exact starts) say, or
// earlier, though after all the slide before shows, when that slide
// animates by itself or mixes steps with a video or GIF.
TEST(H5pPackageTest, BookmarksFromCuesFallWhereTheSlidesAppear) {
    const auto slide = [](std::int64_t index, std::vector<std::int64_t> steps, std::optional<std::int64_t> autoMs,
                          std::optional<std::int64_t> videoMs, std::optional<std::int64_t> gifMs, std::int64_t exits) {
        const auto advance = AdvanceTimeCalculator::advanceTimeMs(steps, autoMs.has_value(), autoMs.value_or(0),
                                                                  videoMs.has_value(), videoMs.value_or(0),
                                                                  gifMs.has_value(), gifMs.value_or(0), exits);
        return CueInput{index, false,  advance, static_cast<std::int64_t>(steps.size()), steps, videoMs,
                        gifMs, autoMs, exits};
    };
    const std::vector<CueInput> inputs{slide(1, {}, {}, {}, {}, 0),   slide(2, {700, 300}, {}, {}, {}, 0),
                                       slide(3, {}, {}, 4000, {}, 0), slide(4, {500}, {}, {}, 2500, 0),
                                       slide(5, {}, {}, {}, {}, 2),   slide(6, {400}, 1200, {}, {}, 0),
                                       slide(7, {}, {}, {}, {}, 0)};
    const auto chapters = ChapterList::chapters(inputs, {});
    const auto marks = H5pPackage::bookmarks(CueCalculator::calculateCues(inputs), {}, {});
    ASSERT_EQ(marks.size(), chapters.size());
    const auto cues = CueCalculator::calculateCues(inputs);
    for (std::size_t i = 0; i < marks.size(); ++i) {
        EXPECT_EQ(marks[i].label, chapters[i].title);
        if (i == 0) continue;
        const auto& before = inputs[i - 1];
        const bool exact = !before.autoDurationMs &&
                           !(before.bulletCount && (before.videoDurationMs || before.gifDurationMs));
        std::int64_t lastCueBefore = 0;
        for (const auto& c : cues) lastCueBefore = c.slideIndex == before.slideIndex ? c.timeMs : lastCueBefore;
        if (exact) {
            EXPECT_EQ(marks[i].timeMs, chapters[i].startMs) << i;
        }
        EXPECT_LE(marks[i].timeMs, chapters[i].startMs) << i;
        EXPECT_GT(marks[i].timeMs, lastCueBefore) << i;
    }
    // With the chapters, their starts, and a title from the deck wins.
    const auto exact = H5pPackage::bookmarks(CueCalculator::calculateCues(inputs), chapters, {{6, "Seis"}});
    EXPECT_EQ(exact[5], (H5pPackage::Bookmark{chapters[5].startMs, "Seis"}));
    EXPECT_EQ(exact[6].timeMs, chapters[6].startMs);
}

TEST(H5pPackageTest, LabelsAreCutAtACharacterAndEscapedAsThePlayerShowsThem) {
    const std::vector<Cue> cues{{0, 1, CueKind::slide, "Slide 1", 1000}};
    std::string longTitle;
    for (int i = 0; i < 150; ++i) longTitle += "é";
    const auto marks = H5pPackage::bookmarks(cues, {}, {{1, longTitle}});
    EXPECT_LE(marks[0].label.size(), H5pPackage::kLongestLabel);
    EXPECT_TRUE(isValidUtf8(marks[0].label));
    const auto content = nlohmann::json::parse(H5pPackage::contentJson(longTitle, {{1234, "<b> & 'x'"}}));
    EXPECT_EQ(content["interactiveVideo"]["assets"]["bookmarks"][0],
              nlohmann::json({{"time", 1.234}, {"label", "&lt;b&gt; &amp; &#039;x&#039;"}}));
    EXPECT_TRUE(isValidUtf8(content["interactiveVideo"]["video"]["startScreenOptions"]["title"].get<std::string>()));
}
