#include <gtest/gtest.h>

#include "LibreOffice.hpp"
#include "PageRasterizer.hpp"
#include "TestSupport.hpp"
#include "base/Subprocess.hpp"
#include "deck/DeckScanner.hpp"

using namespace orvandel;
using namespace orvandel::test;

// The bundled deck must open in LibreOffice with every visible slide drawn
// and its text laid out (hidden slides are not exported).
TEST(ExampleDeckTest, LibreOfficeDrawsEveryVisibleSlide) {
    if (slowTestsSkipped()) GTEST_SKIP() << "slow tests skipped";
    if (!LibreOffice::findSoffice() || !haveProgram("pdfinfo")) GTEST_SKIP() << "soffice or pdfinfo missing";
    const auto deck = sourceDir() / "examples" / "aula-exemplo.pptx";
    TempDir dir;
    const auto pdf = LibreOffice::convert(deck, "pdf", "pdf", dir / "out", {.workDir = dir / "work"});

    std::int64_t visible = 0;
    for (const auto& r : DeckScanner::report(deck, {}, {})) visible += r.isHidden ? 0 : 1;
    EXPECT_EQ(PageRasterizer::pageCount(pdf, std::nullopt), visible);

    if (!haveProgram("pdftotext")) return;
    const auto text = Subprocess::run({"pdftotext", "-enc", "UTF-8", pdf.string(), "-"});
    ASSERT_TRUE(text.succeeded()) << text.standardError;
    for (const char* expected : {"Fotossíntese", "Os ingredientes", "MITO:", "Resumo"}) {
        EXPECT_NE(text.standardOutput.find(expected), std::string::npos) << expected;
    }
    EXPECT_EQ(text.standardOutput.find("Para o professor"), std::string::npos);
}
