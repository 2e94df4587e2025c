#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <thread>

#include "DeckBuilder.hpp"
#include "LibreOfficeMp4Exporter.hpp"
#include "MovieFrames.hpp"
#include "RenderError.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;

namespace {

bool canRender() {
    return !test::slowTestsSkipped() && test::haveProgram("soffice") && test::haveProgram("ffmpeg") &&
           test::haveProgram("pdftocairo") && test::haveProgram("ffprobe");
}

// A prepared-looking deck: one titled slide per advance time, hidden where asked.
void writeDeck(const std::filesystem::path& path, const std::vector<std::int64_t>& advanceTimes,
               const std::vector<bool>& hidden = {}) {
    test::DeckBuilder deck;
    for (std::size_t i = 0; i < advanceTimes.size(); ++i) {
        const std::string title =
            "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"T\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr><a:xfrm>"
            "<a:off x=\"838200\" y=\"365125\"/><a:ext cx=\"10515600\" cy=\"1325563\"/></a:xfrm><a:prstGeom "
            "prst=\"rect\"><a:avLst/></a:prstGeom></p:spPr><p:txBody><a:bodyPr/><a:lstStyle/><a:p><a:r><a:rPr "
            "lang=\"pt-BR\" sz=\"4400\"/><a:t>Slide " + std::to_string(i + 1) + "</a:t></a:r></a:p></p:txBody></p:sp>";
        const bool isHidden = i < hidden.size() && hidden[i];
        deck.addSlide(test::slideXml(title, "<p:transition advTm=\"" + std::to_string(advanceTimes[i]) + "\"/>",
                                     isHidden ? " show=\"0\"" : ""));
    }
    deck.write(path);
}

}  // namespace

TEST(LibreOfficeMp4ExporterTest, MovieLastsThePlanAndEverySlideStartsOnItsMillisecond) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    test::TempDir dir;
    writeDeck(dir / "prepared.pptx", {1234, 2000, 3456, 1500}, {false, true, false, false});
    std::vector<std::string> stages;
    LibreOfficeMp4Exporter().export_(dir / "prepared.pptx", dir / "master.mp4", {},
                                     {.progress = [&](const std::string& stage, double) {
                                         if (stages.empty() || stages.back() != stage) stages.push_back(stage);
                                     }});
    // Hidden slide 2 takes no time: 1234 + 3456 + 1500.
    EXPECT_NEAR(Mp4Duration::measureMs(dir / "master.mp4"), 6190, 5);
    const auto frames = test::frameTimesMs(dir / "master.mp4");
    for (std::int64_t change : {0, 1234, 4690}) {
        EXPECT_NE(std::find(frames.begin(), frames.end(), change), frames.end()) << "no frame at " << change << " ms";
    }
    // A frame at least every second, so that seeking lands on the right slide.
    for (std::size_t i = 1; i < frames.size(); ++i) EXPECT_LE(frames[i] - frames[i - 1], 1000);
    EXPECT_EQ(stages, (std::vector<std::string>{LibreOfficeMp4Exporter::kStageRead, LibreOfficeMp4Exporter::kStagePdf,
                                                LibreOfficeMp4Exporter::kStageDraw,
                                                LibreOfficeMp4Exporter::kStageEncode}));
    EXPECT_TRUE(test::entriesNamed(dir.path(), ".render-").empty());

    // Two renders at once (each with its own LibreOffice profile) both succeed.
    writeDeck(dir / "other.pptx", {1500, 1500});
    std::thread second([&] { LibreOfficeMp4Exporter().export_(dir / "other.pptx", dir / "b" / "other.mp4", {}); });
    std::filesystem::create_directories(dir / "a");
    EXPECT_NO_THROW(LibreOfficeMp4Exporter().export_(dir / "prepared.pptx", dir / "a" / "m.mp4", {}));
    second.join();
    EXPECT_NEAR(Mp4Duration::measureMs(dir / "b" / "other.mp4"), 3000, 5);
}

TEST(LibreOfficeMp4ExporterTest, HangingOrMissingLibreOfficeEndsInAClearErrorAndLeavesNothing) {
    if (test::slowTestsSkipped()) GTEST_SKIP() << "slow";
    test::TempDir dir;
    writeDeck(dir / "prepared.pptx", {1500});
    std::filesystem::create_directories(dir / "bin");
    const auto pids = dir / "pids";
    writeFile(dir / "bin" / "soffice", "#!/bin/sh\necho $$ >> '" + pids.string() + "'\nsleep 300\n");
    std::filesystem::permissions(dir / "bin" / "soffice", std::filesystem::perms::owner_all);
    {
        const char* oldPath = std::getenv("PATH");
        const test::ScopedEnv path{{{"PATH", (dir / "bin").string() + ":" + (oldPath ? oldPath : "")}}};
        LibreOfficeMp4Exporter::Options options;
        options.libreOfficeTimeout = std::chrono::milliseconds(700);
        const auto e = test::thrown<RenderError>(
            [&] { LibreOfficeMp4Exporter(options).export_(dir / "prepared.pptx", dir / "master.mp4", {}); });
        EXPECT_EQ(e.errorCase(), RenderError::Case::timedOut);
        EXPECT_NE(std::string(e.what()).find("twice"), std::string::npos) << e.what();
    }
    // Both attempts ran, and neither is still running.
    std::istringstream started(toString(readFile(pids)));
    int attempts = 0;
    for (int pid; started >> pid; ++attempts) EXPECT_FALSE(test::isRunning(pid)) << "soffice " << pid;
    EXPECT_EQ(attempts, 2);
    EXPECT_TRUE(test::entriesNamed(dir.path(), ".render-").empty());
    EXPECT_FALSE(std::filesystem::exists(dir / "master.mp4"));

    std::filesystem::create_directories(dir / "empty-bin");
    const test::ScopedEnv nothing{{{"PATH", (dir / "empty-bin").string()}}};
    const auto e = test::thrown<RenderError>(
        [&] { LibreOfficeMp4Exporter().export_(dir / "prepared.pptx", dir / "master.mp4", {}); });
    EXPECT_EQ(e.errorCase(), RenderError::Case::missingTool);
    EXPECT_NE(std::string(e.what()).find("libreoffice-impress-nogui"), std::string::npos) << e.what();
}
