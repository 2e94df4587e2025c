#include <gtest/gtest.h>

#include <iostream>

#include "PrepareSupport.hpp"
#include "TestSupport.hpp"
#include "pixels/PageRasterizer.hpp"
#include "storyboard/Storyboard.hpp"
#include "tools/LibreOffice.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

namespace {

// The pages LibreOffice draws from a deck; -1 when it writes no PDF at all,
// as for a deck whose slides are all hidden.
int pdfPages(const fs::path& deck, const fs::path& workDir) {
    fs::create_directories(workDir);
    try {
        return PageRasterizer::pageCount(LibreOffice::convert(deck, "pdf", "pdf", workDir, {.workDir = workDir / "lo"}),
                                         std::nullopt);
    } catch (const Error&) {
        return -1;
    }
}

// A prepared deck must still open and draw as its source does: a transition
// or timing that the reader cannot place would lose or add pages. Its
// storyboard adds exactly one page per further state of a visible slide.
void expectSamePages(const fs::path& deck, const fs::path& workDir, bool mustPrepare) {
    SCOPED_TRACE(deck.filename().string());
    fs::create_directories(workDir);
    try {
        prepareSupplyingVideoLengths(deck, workDir / "prepared.pptx");
    } catch (const Error& e) {
        std::cout << deck.filename().string() << ": not prepared: " << e.what() << "\n";
        EXPECT_FALSE(mustPrepare);
        return;
    }
    DeckModel prepared(workDir / "prepared.pptx");
    const auto plan = RenderPlanReader::read(prepared);
    const auto layout = Storyboard::layout(plan);
    Storyboard::write(prepared, plan, layout, workDir / "storyboard.pptx");
    const int states = static_cast<int>(layout.pages.size() - plan.slides.size());
    const int before = pdfPages(deck, workDir / "before");
    const int after = pdfPages(workDir / "storyboard.pptx", workDir / "after");
    EXPECT_EQ(after, before < 0 ? before : before + states);
    std::cout << deck.filename().string() << ": " << before << " pages, storyboard " << after << " with " << states
              << " further states\n";
}

}  // namespace

TEST(PreparedDeckRenderTest, LibreOfficeDrawsTheSourcesPagesAndOneMorePerFurtherState) {
    if (slowTestsSkipped()) GTEST_SKIP() << "slow tests skipped";
    if (!LibreOffice::findSoffice()) GTEST_SKIP() << "no soffice";
    ORVANDEL_REQUIRE_CORPUS();
    TempDir dir;
    for (const char* name : {
             "aspose__SimpleAnimations.pptx",  // bullets, exits, wrapped transitions
             "poi__stress013.pptx",            // bullets with exits beside static slides
             "oxsdk__Chart_3D-Column-Animation-Box-Out-by-element-in-category.pptx",  // chained exits
             "poi__EmbeddedVideo.pptx",                                               // click-started video
             "oxsdk__SoundTest.pptx",                                                 // autoplaying media
             "oxpt__SlideTransitions.pptx",                                           // old transitions replaced
         }) {
        if (fs::exists(corpusDir() / name)) expectSamePages(corpusDir() / name, dir / fs::path(name).stem(), true);
    }
}

// The same over the whole corpus, by hand (a few minutes):
//   OrvandelRenderTests --gtest_also_run_disabled_tests --gtest_filter='*AllCorpusDecks*'
TEST(PreparedDeckRenderTest, DISABLED_AllCorpusDecksDrawTheirPagesAndStates) {
    if (!LibreOffice::findSoffice()) GTEST_SKIP() << "no soffice";
    TempDir dir;
    for (const auto& deck : corpusDecks()) expectSamePages(deck, dir / deck.stem(), false);
}
