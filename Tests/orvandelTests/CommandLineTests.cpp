#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "DeckConversion.hpp"
#include "LoopbackServer.hpp"
#include "Suggestion.hpp"
#include "TestSupport.hpp"
#include "ZipFixtures.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "tools/LibreOffice.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

fs::path exampleDeck() { return sourceDir() / "examples" / "aula-exemplo.pptx"; }

TEST(CommandLineTest, MistakesAreAnsweredWithWhatWasMeantOrWhatToDo) {
    const TempDir dir;
    writeFile(dir / "notes.pdf", toBytes("%PDF-1.4"));
    writeFile(dir / "aula.pptx", toBytes("not a zip"));
    const struct {
        std::vector<std::string> args;
        int status;
        std::string said;
    } cases[] = {
        {{"exprot", "a.pptx"}, 2, "unknown command \"exprot\"; did you mean \"export\"?"},
        {{"nots"}, 2, "did you mean \"notes\"?"},
        {{"frobnicate"}, 2, "the commands are scan, notes, prepare"},
        {{"export", "--chapterz", "a.pptx"}, 2, "unknown option --chapterz; did you mean --chapters?"},
        {{"scan", "--jsno", "a.pptx"}, 2, "did you mean --json?"},
        {{"export", (dir / "notes.pdf").string()}, 1, "notes.pdf: a PDF has no slides to animate: export the deck"},
        {{"export", exampleDeck().string(), "-o", (dir / "nope" / "a.orv").string()},
         2,
         "the folder " + (dir / "nope").string() + " does not exist: create it or choose another"},
        {{"scan", (dir / "aula.pptx").string()}, 1, "is not a .pptx deck, or it is damaged or incomplete"},
    };
    for (const auto& c : cases) {
        const auto r = runCli(c.args);
        EXPECT_EQ(r.exitStatus, c.status) << c.args[0] << " " << r.standardError;
        EXPECT_THAT(r.standardError, HasSubstr(c.said));
        EXPECT_THAT(r.standardError, testing::Not(HasSubstr("status 9")));
    }
    EXPECT_EQ(cli::closest("exprot", {"scan", "export", "probe"}), "export");
    EXPECT_EQ(cli::closest("xyz", {"scan", "export"}), std::nullopt);
    EXPECT_EQ(cli::editDistance("--resolutoin", "--resolution"), 1u);
}

TEST(CommandLineTest, EveryHelpFitsEightyColumnsWithoutTheParsersTypeNames) {
    for (const std::string command :
         {"", "scan", "notes", "prepare", "plan", "export", "probe", "preview", "chapters"}) {
        std::vector<std::string> args{"--help"};
        if (!command.empty()) args.insert(args.begin(), command);
        const auto r = runCli(args);
        ASSERT_EQ(r.exitStatus, 0) << command;
        std::istringstream lines(r.standardOutput);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80u) << command << ": " << line;
            for (const char* tag : {" TEXT", "REQUIRED", "Excludes", "INT in", ":{"}) {
                EXPECT_THAT(line, testing::Not(HasSubstr(tag))) << command;
            }
        }
    }
}

TEST(CommandLineTest, ABatchSaysEveryFileOfAFolderItSkipsAndWhy) {
    const TempDir dir;
    fs::create_directories(dir / "curso" / "antigos");
    for (const char* name : {"notas.pdf", "~$aula.pptx", "leia.txt"}) writeFile(dir / "curso" / name, toBytes("x"));
    const auto r = runCli({"export", (dir / "curso").string()});
    EXPECT_EQ(r.exitStatus, 0) << r.standardError;
    EXPECT_THAT(r.standardError,
                HasSubstr("skipped notas.pdf: a PDF has no slides to animate: export the deck itself"));
    EXPECT_THAT(r.standardError, HasSubstr("skipped ~$aula.pptx: an Office lock file"));
    EXPECT_THAT(r.standardError, HasSubstr("skipped leia.txt: not a deck"));
    EXPECT_THAT(r.standardError, HasSubstr("exporting 0 of 0 decks"));
}

// LibreOffice converts in a network of its own: a picture an .odp links by
// URL is not fetched.
TEST(CommandLineTest, AConvertedDeckFetchesNothing) {
    if (slowTestsSkipped() || !haveProgram("soffice")) GTEST_SKIP() << "needs soffice";
    const LoopbackServer server;
    const std::string content =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document-content "
        "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
        "xmlns:draw=\"urn:oasis:names:tc:opendocument:xmlns:drawing:1.0\" "
        "xmlns:svg=\"urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0\" "
        "xmlns:xlink=\"http://www.w3.org/1999/xlink\" office:version=\"1.2\"><office:body><office:presentation>"
        "<draw:page draw:name=\"p1\"><draw:frame svg:x=\"1cm\" svg:y=\"1cm\" svg:width=\"5cm\" svg:height=\"5cm\">"
        "<draw:image xlink:href=\"" +
        server.url("http", "p.png") +
        "\" xlink:type=\"simple\" xlink:show=\"embed\" xlink:actuate=\"onLoad\"/></draw:frame></draw:page>"
        "</office:presentation></office:body></office:document-content>";
    const std::string manifest =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><manifest:manifest "
        "xmlns:manifest=\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\" manifest:version=\"1.2\">"
        "<manifest:file-entry manifest:full-path=\"/\" "
        "manifest:media-type=\"application/vnd.oasis.opendocument.presentation\"/>"
        "<manifest:file-entry manifest:full-path=\"content.xml\" manifest:media-type=\"text/xml\"/>"
        "</manifest:manifest>";
    const TempDir dir;
    writeFile(dir / "linked.odp", buildZip({{.name = "mimetype",
                                             .data = toBytes("application/vnd.oasis.opendocument.presentation"),
                                             .deflated = false},
                                            {.name = "content.xml", .data = toBytes(content)},
                                            {.name = "META-INF/manifest.xml", .data = toBytes(manifest)}}));
    const auto copy = DeckConversion::toPptx(dir / "linked.odp", dir / "scratch");
    EXPECT_TRUE(fs::is_regular_file(copy));
    EXPECT_EQ(server.connections(), 0);
}

TEST(CommandLineTest, AnOdpDeckExportsBesideItselfAndSaysItWasConverted) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    const TempDir dir;
    const auto odp = LibreOffice::convert(exampleDeck(), "odp", "odp", dir.path(), {.workDir = dir / "lo"});
    fs::create_directories(dir / "tmp");
    const auto r = runCli({"export", odp.string(), "--gif", "4:3000", "--effects", "cut", "--no-cache"},
                          {.environment = {"TMPDIR=" + (dir / "tmp").string()}});
    ASSERT_EQ(r.exitStatus, 0) << r.standardError;
    EXPECT_THAT(r.standardError, HasSubstr("aula-exemplo.odp is not a .pptx: it was converted first"));
    EXPECT_TRUE(fs::is_regular_file(dir / "aula-exemplo.orv"));
    // The converted copy's folder went with the export.
    EXPECT_THAT(entriesNamed(dir / "tmp", "orvandel-"), testing::IsEmpty());
}

}  // namespace
