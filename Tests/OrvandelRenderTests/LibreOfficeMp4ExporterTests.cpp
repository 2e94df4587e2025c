#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <thread>

#include "AnimatedSlides.hpp"
#include "LibreOfficeMp4Exporter.hpp"
#include "MovieFrames.hpp"
#include "RenderError.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;

namespace {

// A prepared-looking deck: one titled slide per advance time.
void writeDeck(const std::filesystem::path& path, const std::vector<std::int64_t>& advanceTimes) {
    test::DeckBuilder deck;
    for (std::size_t i = 0; i < advanceTimes.size(); ++i) {
        deck.addSlide(test::slideXml(test::textBox("2", 365125, test::para("Slide " + std::to_string(i + 1))),
                                     "<p:transition advTm=\"" + std::to_string(advanceTimes[i]) + "\"/>"));
    }
    deck.write(path);
}

}  // namespace

TEST(LibreOfficeMp4ExporterTest, TwoRendersAtOnceBothLastTheirPlan) {
    if (!test::canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    test::TempDir dir;
    // Each with its own LibreOffice profile.
    writeDeck(dir / "one.pptx", {1234, 3456});
    writeDeck(dir / "other.pptx", {1500, 1500});
    std::thread second([&] { LibreOfficeMp4Exporter().export_(dir / "other.pptx", dir / "b" / "other.mp4", {}); });
    std::filesystem::create_directories(dir / "a");
    EXPECT_NO_THROW(LibreOfficeMp4Exporter().export_(dir / "one.pptx", dir / "a" / "one.mp4", {}));
    second.join();
    EXPECT_EQ(Mp4Duration::measureMs(dir / "a" / "one.mp4"), 4690);
    EXPECT_EQ(Mp4Duration::measureMs(dir / "b" / "other.mp4"), 3000);
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
