#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <thread>
#include <tuple>

#include "AnimatedSlides.hpp"
#include "HeadlessRenderer.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "render/Mp4Duration.hpp"
#include "tools/RenderError.hpp"

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

TEST(HeadlessRendererTest, TwoRendersAtOnceBothLastTheirPlan) {
    if (!test::canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    test::TempDir dir;
    // Each with its own LibreOffice profile.
    writeDeck(dir / "one.pptx", {1234, 3456});
    writeDeck(dir / "other.pptx", {1500, 1500});
    std::thread second([&] { HeadlessRenderer().export_(dir / "other.pptx", dir / "b" / "other.mp4", {}); });
    std::filesystem::create_directories(dir / "a");
    EXPECT_NO_THROW(HeadlessRenderer().export_(dir / "one.pptx", dir / "a" / "one.mp4", {}));
    second.join();
    EXPECT_EQ(Mp4Duration::measureMs(dir / "a" / "one.mp4"), 4690);
    EXPECT_EQ(Mp4Duration::measureMs(dir / "b" / "other.mp4"), 3000);
}

TEST(HeadlessRendererTest, LibreOfficeThatHangsFailsOrFallsShortEndsInAClearErrorAndLeavesNothing) {
    if (test::slowTestsSkipped()) GTEST_SKIP() << "slow";
    if (!Subprocess::findOnPath("pdfinfo")) GTEST_SKIP() << "needs poppler";
    test::TempDir dir;
    writeDeck(dir / "prepared.pptx", {1500, 1500});
    // One blank page; poppler rebuilds the missing cross-reference table.
    writeFile(dir / "one-page.pdf",
              std::string("%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
                          "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n3 0 obj<</Type/Page"
                          "/Parent 2 0 R/MediaBox[0 0 320 180]>>endobj\ntrailer<</Root 1 0 R>>\n"));
    std::filesystem::create_directories(dir / "bin");
    const auto pids = dir / "pids";
    // Each fake notes its pid, finds where the PDF goes, then does one thing.
    const std::string prologue = "#!/bin/sh\necho $$ >> '" + pids.string() +
                                 "'\nwhile [ $# -gt 1 ]; do [ \"$1\" = --outdir ] && out=$2; shift; done\n"
                                 "pdf=\"$out/$(basename \"$1\" .pptx).pdf\"\n";
    using enum RenderError::Case;
    for (const auto& [does, script, error, attempts, says] :
         std::vector<std::tuple<const char*, std::string, RenderError::Case, int, const char*>>{
             {"hangs before it loads the deck", "sleep 300\n", timedOut, 2, "twice"},
             {"hangs on the deck", "echo \"convert $1 -> $pdf using filter : pdf\"\nsleep 300\n", timedOut, 1,
              "did not finish aula.pptx within 1 s"},
             {"exits 0 without a PDF", "exit 0\n", toolFailed, 1, "wrote no pdf for aula.pptx"},
             {"writes fewer pages", "cp '" + (dir / "one-page.pdf").string() + "' \"$pdf\"\n", badOutput, 1,
              "made 1 pages of aula.pptx where 2"}}) {
        SCOPED_TRACE(does);
        writeFile(dir / "bin" / "soffice", prologue + script);
        std::filesystem::permissions(dir / "bin" / "soffice", std::filesystem::perms::owner_all);
        std::filesystem::remove(pids);
        const char* oldPath = std::getenv("PATH");
        const test::ScopedEnv path{{{"PATH", (dir / "bin").string() + ":" + (oldPath ? oldPath : "")}}};
        HeadlessRenderer::Options options;
        options.libreOfficeTimeout = std::chrono::milliseconds(700);
        options.deckName = "aula.pptx";
        const auto e = test::thrown<RenderError>(
            [&] { HeadlessRenderer(options).export_(dir / "prepared.pptx", dir / "master.mp4", {}); });
        EXPECT_EQ(e.errorCase(), error) << e.what();
        EXPECT_NE(std::string(e.what()).find(says), std::string::npos) << e.what();
        std::istringstream started(toString(readFile(pids)));
        int runs = 0;
        for (int pid; started >> pid; ++runs) EXPECT_FALSE(test::isRunning(pid)) << "soffice " << pid;
        EXPECT_EQ(runs, attempts);
        EXPECT_TRUE(test::entriesNamed(dir.path(), ".render-").empty());
        EXPECT_FALSE(std::filesystem::exists(dir / "master.mp4"));
    }

    std::filesystem::create_directories(dir / "empty-bin");
    const test::ScopedEnv nothing{{{"PATH", (dir / "empty-bin").string()}}};
    const auto e = test::thrown<RenderError>(
        [&] { HeadlessRenderer().export_(dir / "prepared.pptx", dir / "master.mp4", {}); });
    EXPECT_EQ(e.errorCase(), RenderError::Case::missingTool);
    EXPECT_NE(std::string(e.what()).find("libreoffice-impress-nogui"), std::string::npos) << e.what();
}

TEST(HeadlessRendererTest, ASlideOfFiveThousandShapesEndsInTheMemoryErrorWhenLibreOfficeMayNotTakeEnough) {
    if (!test::canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    test::TempDir dir;
    std::string shapes;
    for (int i = 0; i < 5000; ++i) {
        shapes += test::textBox(std::to_string(10 + i), 100000 + (i % 60) * 100000, test::para(std::to_string(i)));
    }
    test::DeckBuilder deck;
    deck.addSlide(test::slideXml(shapes, "<p:transition advTm=\"2000\"/>"));
    deck.write(dir / "prepared.pptx");
    // Far less than such a slide takes (some 800 MB), far more than LibreOffice starts with.
    HeadlessRenderer::Options options;
    options.libreOfficeMemoryLimit = std::int64_t{300} << 20;
    options.deckName = "formas.pptx";
    const auto e = test::thrown<RenderError>(
        [&] { HeadlessRenderer(options).export_(dir / "prepared.pptx", dir / "master.mp4", {}); });
    EXPECT_EQ(e.errorCase(), RenderError::Case::tooLarge) << e.what();
    EXPECT_NE(std::string(e.what()).find("300 MiB"), std::string::npos) << e.what();
    EXPECT_NE(std::string(e.what()).find("formas.pptx"), std::string::npos) << e.what();
    EXPECT_TRUE(test::entriesNamed(dir.path(), ".render-").empty());
}
