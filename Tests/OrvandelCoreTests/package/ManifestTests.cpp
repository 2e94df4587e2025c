#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "TestSupport.hpp"
#include "ZipFixtures.hpp"
#include "package/LessonPackage.hpp"
#include "package/ManifestBuilder.hpp"
#include "package/ManifestReader.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

ManifestMetadata metadata(std::int64_t slideCount, std::int64_t durationMs) {
    return {.sourceFileName = "aula.pptx",
            .slideCount = slideCount,
            .masterVideoDurationMs = durationMs,
            .generatedAt = std::chrono::system_clock::from_time_t(1714566600) + std::chrono::milliseconds(999),
            .source = "orvandel-plugin",
            .pluginVersion = "orvandel-core/0.1"};
}

}  // namespace

TEST(ManifestBuilderTest, WritesKeysInOrderWithExactDecimalsAndShiftedNotes) {
    const std::vector<Cue> cues = {{0, 1, CueKind::bullet, "Slide 1 - bullet", 1},
                                   {1, 1, CueKind::slide, "Slide 1", 1500},
                                   {2, 2, CueKind::slide, "Slide 2", 2000}};
    const std::string json = ManifestBuilder::buildManifestV3(cues, {{2, "Ação — ñ \"/\"\n"}, {9, "beyond"}},
                                                              metadata(3, 12345));
    // Pretty-printed, keys in their set order, slashes unescaped, times as exact decimals; notes keyed
    // from 0 for every slide, those beyond the deck dropped.
    EXPECT_TRUE(json.starts_with("{\n  \"version\": \"1.0\",\n")) << json;
    EXPECT_NE(json.find("\"assets/master.mp4\""), std::string::npos);
    EXPECT_EQ(nlohmann::ordered_json::parse(json).dump(),
              R"({"version":"1.0","source":"orvandel-plugin","pluginVersion":"orvandel-core/0.1",)"
              R"("generatedAt":"2024-05-01T12:30:00Z","sourceFileName":"aula.pptx","slideCount":3,)"
              R"("masterVideoPath":"assets/master.mp4","masterVideoDuration":12.345,"cues":[)"
              R"({"cueIndex":0,"slideIndex":1,"kind":"bullet","label":"Slide 1 - bullet","time":0.001},)"
              R"({"cueIndex":1,"slideIndex":1,"kind":"slide","label":"Slide 1","time":1.5},)"
              R"({"cueIndex":2,"slideIndex":2,"kind":"slide","label":"Slide 2","time":2}],)"
              R"("notesBySlide":{"0":"","1":"Ação — ñ \"/\"\n","2":""}})");
}

TEST(ManifestBuilderTest, EmptyDeckAndUnencodableText) {
    const std::string json = ManifestBuilder::buildManifestV3({}, {{1, "orphan"}}, metadata(0, 0));
    EXPECT_NE(json.find("\"masterVideoDuration\": 0,\n  \"cues\": [],\n  \"notesBySlide\": {}\n}"), std::string::npos)
        << json;
    EXPECT_EQ(ManifestReader::decode(json), ManifestReader::Probe{});

    auto bad = metadata(1, 0);
    bad.sourceFileName = "aula\xff.pptx";  // a file name that is not UTF-8
    EXPECT_THROW(ManifestBuilder::buildManifestV3({}, {}, bad), ManifestBuilder::ManifestError);
}

TEST(ManifestReaderTest, RejectsManifestsWithoutTheTwoFacts) {
    EXPECT_EQ(ManifestReader::decode(R"({"extra": {}, "cues": [{}, 1], "masterVideoDuration": 7})").cues.size(), 2u);
    // Only the root's keys count, and of a key given twice the last value.
    const auto twice = ManifestReader::decode(
        R"({"cues": [1], "x": {"cues": [1, 1, 1, 1]}, "cues": [[1, 2], {"cues": [1]}, 3], "masterVideoDuration": 7,)"
        R"( "masterVideoDuration": 2.5})");
    EXPECT_EQ(twice, (ManifestReader::Probe{std::vector<ManifestReader::Probe::Cue>(3), 2.5}));
    for (const char* bad : {R"({"masterVideoDuration": 1.5})", R"({"cues": [], "masterVideoDuration": "1.5"})",
                            R"({"cues": {}, "masterVideoDuration": 1})", R"({"cues": [], "masterVideoDuration": true})",
                            R"({"cues": [], "masterVideoDuration": 1, "cues": null})", R"({"x": {"cues": []}})",
                            R"([])", "{\"cues\": [", ""}) {
        EXPECT_THROW(ManifestReader::decode(bad), ManifestReader::DecodeError) << bad;
    }
}

// A hostile manifest costs neither memory nor time: one too deep is refused
// at its first container past the bound, one too large before it is read,
// one of too many values at the first one too many.
TEST(ManifestReaderTest, RefusesManifestsTooDeepOrTooLarge) {
    using ManifestReader::DecodeError;
    using ManifestReader::kDeepestManifest;
    const std::string lesson =
        R"({"sourceFileName": "a.pptx", "masterVideoDuration": 1, "cues": [], "notesBySlide": {}, "x": )";
    // The root object and n arrays inside it.
    const auto nested = [&](std::size_t n) { return lesson + std::string(n, '[') + std::string(n, ']') + "}"; };
    TempDir dir;
    const auto tooLarge = dir / "large.orv";
    writeFile(tooLarge, buildZip({{.name = "manifest.json",
                                   .data = toBytes(lesson + "1}"),
                                   .declaredSize = static_cast<std::uint32_t>(ManifestReader::kLargestManifest + 1)}}));

    // The probe's reader and the one that keeps the document alike.
    const auto refuses = [&](auto decode, auto read) {
        EXPECT_NO_THROW(decode(nested(kDeepestManifest - 1)));
        for (const auto& text : {nested(kDeepestManifest), std::string(5 << 20, '[')}) {
            EXPECT_EQ(thrown<DecodeError>([&] { decode(text); }).errorCase(), DecodeError::Case::tooDeep);
        }
        // The entry's inflated bytes would not bear out the size it declares: a read would fail otherwise.
        EXPECT_EQ(thrown<DecodeError>([&] { read(tooLarge); }).errorCase(), DecodeError::Case::tooLarge);
    };
    refuses(ManifestReader::decode, ManifestReader::read);
    refuses(LessonPackage::decode, LessonPackage::read);

    // The reader that keeps the document keeps a bounded number of values.
    std::string many = lesson + "[0";
    for (std::int64_t i = 0; i < ManifestReader::kMostManifestValues; ++i) many += ",0";
    many += "]}";
    EXPECT_EQ(thrown<DecodeError>([&] { LessonPackage::decode(many); }).errorCase(), DecodeError::Case::tooManyValues);
    EXPECT_NO_THROW(ManifestReader::decode(many));
}
