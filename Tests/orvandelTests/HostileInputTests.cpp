#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <tuple>

#include <nlohmann/json.hpp>

#include "DeckBuilder.hpp"
#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

// Every run gets a private TMPDIR, which must be empty again afterwards.
struct Sandbox {
    TempDir dir;
    fs::path tmp = dir / "tmp";
    Sandbox() { fs::create_directories(tmp); }

    SubprocessResult run(const std::vector<std::string>& args) const {
        return runCli(args, {.environment = {"TMPDIR=" + tmp.string()}, .workingDirectory = dir.path()});
    }
    std::string notesOf(const fs::path& package) const {
        return nlohmann::json::parse(PptxArchive::readEntry(package, "manifest.json"))["notesBySlide"].dump();
    }
};

std::string notesWith(const std::string& line) { return notesSlideXml({line}); }

}  // namespace

TEST(HostileInputTest, AnOutputThatIsAnInputOrNotAFileIsRefusedAndNothingIsTouched) {
    Sandbox box;
    const auto deck = DeckBuilder().addSlide(slideXml()).write(box.dir / "d.pptx");
    writeFile(box.dir / "m.mp4", craftedMovie(1000, 1500));
    fs::copy_file(deck, box.dir / "aula.orv");
    fs::create_symlink(deck, box.dir / "link.orv");
    fs::create_directories(box.dir / "folder.orv");
    fs::create_directories(box.dir / "p-preview");
    writeFile(box.dir / "p-preview" / "mine.txt", std::string("the user's"));
    const Bytes deckBytes = readFile(deck), movieBytes = readFile(box.dir / "m.mp4");

    for (const auto& [args, saying] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"export", "d.pptx", "-o", "d.pptx", "--mp4", "m.mp4"}, "the input file itself"},
             {{"export", "d.pptx", "-o", "./link.orv", "--mp4", "m.mp4"}, "the same file as the input d.pptx"},
             {{"export", "aula.orv", "--mp4", "m.mp4"}, "the input file itself"},
             {{"export", "d.pptx", "-o", "m.mp4", "--mp4", "m.mp4"}, "the input file itself"},
             {{"export", "d.pptx", "-o", "/dev/null", "--mp4", "m.mp4"}, "not a regular file"},
             {{"export", "d.pptx", "-o", "folder.orv", "--mp4", "m.mp4"}, "not a regular file"},
             {{"prepare", "d.pptx", "-o", "d.pptx"}, "the input file itself"},
             {{"export", "d.pptx", "-o", "p.orv", "--mp4", "m.mp4", "--preview"}, "other than an earlier preview"}}) {
        SCOPED_TRACE(args[3]);
        const auto r = box.run(args);
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_THAT(r.standardError, HasSubstr(saying));
        EXPECT_EQ(readFile(deck), deckBytes);
        EXPECT_EQ(readFile(box.dir / "m.mp4"), movieBytes);
        EXPECT_EQ(readFile(box.dir / "aula.orv"), deckBytes);
        EXPECT_TRUE(entriesNamed(box.dir.path(), ".tmp-").empty());
        EXPECT_TRUE(fs::is_empty(box.tmp));
    }
    EXPECT_FALSE(fs::exists(box.dir / "p.orv"));

    // A package that is replaced keeps its permissions; a new one follows the umask.
    writeFile(box.dir / "old.orv", std::string("old"));
    fs::permissions(box.dir / "old.orv", fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_EQ(box.run({"export", "d.pptx", "-o", "old.orv", "--mp4", "m.mp4"}).exitStatus, 0);
    EXPECT_EQ(fs::status(box.dir / "old.orv").permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ASSERT_EQ(box.run({"export", "d.pptx", "-o", "new.orv", "--mp4", "m.mp4"}).exitStatus, 0);
    struct stat st {};
    ASSERT_EQ(::stat((box.dir / "new.orv").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0666 & ~mask);
}

TEST(HostileInputTest, AbsurdNumbersDamagedPartsAndSpecialFilesEndInAClearErrorOrAWarning) {
    Sandbox box;
    writeFile(box.dir / "m.mp4", craftedMovie(1000, 1500));
    const std::string hugeDur = timing(step(anim("clickEffect", "4611686018427387904")));
    DeckBuilder().addSlide(slideXml()).addSlide(slideXml()).addSlide(slideXml()).write(box.dir / "three.pptx");
    DeckBuilder().addSlide(slideXml("", hugeDur)).write(box.dir / "huge.pptx");
    DeckBuilder().addSlide(slideXml("", "<p:timing><p:tnLst></p:timing>")).write(box.dir / "broken.pptx");
    DeckBuilder().addSlide(slideXml()).addNotes(1, notesWith("MARCADOR")).write(box.dir / "crc.pptx");
    Bytes crc = readFile(box.dir / "crc.pptx");  // a stored notes part whose bytes no longer match its CRC
    crc[toString(crc).find("MARCADOR") + 7] = 'X';
    writeFile(box.dir / "crc.pptx", crc);
    DeckBuilder().addSlide(slideXml()).addNotes(1, notesWith("ol\xE1 mundo")).write(box.dir / "latin1.pptx");
    auto entries = DeckBuilder().addSlide(slideXml()).addSlide(slideXml()).addSlide(slideXml()).entries();
    std::erase_if(entries, [](const auto& e) { return e.first == "ppt/slides/slide2.xml"; });
    ZipArchive::create(entries, box.dir / "gap.pptx");
    ASSERT_EQ(::mkfifo((box.dir / "fifo.pptx").c_str(), 0600), 0);
    auto commented = DeckBuilder().addSlide(slideXml()).entries();
    std::string presentation = toString(
        commented[2].second);  // after the content types and the package's relationships
    presentation.insert(presentation.find("<p:sldIdLst>") + 12, "<!-- <p:sldId id=\"999\" r:id=\"rId1\"/> -->");
    commented[2].second = toBytes(presentation);
    ZipArchive::create(commented, box.dir / "commented.pptx");

    for (const auto& [args, status, saying] : std::vector<std::tuple<std::vector<std::string>, int, std::string>>{
             {{"export", "three.pptx", "--gif", "2:9223372036854775807"},
              2,
              "--gif: the length in \"2:9223372036854775807\""},
             {{"export", "three.pptx", "--video", "1:0"}, 2, "--video: the length in \"1:0\""},
             {{"export", "three.pptx", "gap.pptx", "-o", "x.orv"}, 2, "-o: names one package"},
             {{"scan", "three.pptx", "--gif", "4:3000"}, 2, "--gif: slide 4 in \"4:3000\" does not exist"},
             {{"export", "huge.pptx", "--mp4", "m.mp4"}, 1, "slide 1: its timing value dur=\"4611686018427387904\""},
             {{"scan", "broken.pptx"}, 1, "orvandel: ppt/slides/slide1.xml: "},
             {{"export", "crc.pptx", "--mp4", "m.mp4"}, 0, "warning: slide 1: the speaker notes could not be read"},
             {{"export", "latin1.pptx", "--mp4", "m.mp4"},
              0,
              "warning: slide 1: the speaker notes are not valid UTF-8"},
             {{"export", "gap.pptx", "--mp4", "m.mp4"}, 0, "warning: the slide at position 2 of the deck"},
             {{"export", "fifo.pptx"}, 2, "not a regular file"},
             {{"scan", "fifo.pptx"}, 1, "not a regular file"}}) {
        SCOPED_TRACE(args[1] + " " + (args.size() > 2 ? args[2] : ""));
        const auto r = box.run(args);
        EXPECT_EQ(r.exitStatus, status) << r.standardError;
        EXPECT_THAT(r.standardError, HasSubstr(saying));
        EXPECT_TRUE(fs::is_empty(box.tmp));
    }
    // What survived: no notes for the damaged part, the readable rest of the
    // others, and the slides after the gap moved up.
    EXPECT_EQ(box.notesOf(box.dir / "crc.orv"), R"({"0":""})");
    EXPECT_EQ(box.notesOf(box.dir / "latin1.orv"), "{\"0\":\"ol\xEF\xBF\xBD mundo\"}");
    EXPECT_EQ(nlohmann::json::parse(box.run({"scan", "commented.pptx", "--json"}).standardOutput).size(), 1u);
    EXPECT_THAT(PptxArchive::readEntry(box.dir / "gap.orv", "manifest.json"), HasSubstr("\"slideCount\": 2"));
}

// A name JSON cannot hold as it is, and one too long for the package's
// temporary name: the batch goes on past both, before any render (neither
// file is a deck, which a scan would say), and its JSON holds every name.
TEST(HostileInputTest, NamesAreCarriedAsBytesAndTooLongOnesRefusedBeforeTheRender) {
    Sandbox box;
    fs::create_directories(box.dir / "in");
    writeFile(box.dir / "in" / (std::string(246, 'a') + ".pptx"), std::string("not a deck"));
    writeFile(box.dir / "in" / "aula\xFF.pptx", std::string("not a deck"));
    const auto r = box.run({"export", "in", "--json"});
    EXPECT_EQ(r.exitStatus, 1) << r.standardError;
    const auto rows = nlohmann::json::parse(r.standardOutput);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_NE(rows[0]["error"].get<std::string>().find("choose a shorter name"), std::string::npos) << rows[0];
    EXPECT_EQ(rows[1]["deck"], "in/aula\uFFFD.pptx");
    EXPECT_NE(rows[1]["error"].get<std::string>().find("in/aula\uFFFD.pptx"), std::string::npos) << rows[1];
    EXPECT_TRUE(fs::is_empty(box.tmp));
    EXPECT_TRUE(entriesNamed(box.dir / "in", ".tmp-").empty());
}

// Read-only as root sees it too: a read-only bind mount in a private mount namespace.
TEST(HostileInputTest, AReadOnlyFolderIsRefusedBeforeTheRender) {
    Sandbox box;
    fs::create_directories(box.dir / "ro");
    DeckBuilder().addSlide(slideXml()).write(box.dir / "d.pptx");
    writeFile(box.dir / "m.mp4", craftedMovie(1000, 1500));
    const std::string readOnly = "mount --bind ro ro && mount -o remount,bind,ro ro && ! touch ro/x 2>/dev/null";
    const auto inReadOnly = [&](const std::string& then) {
        return Subprocess::run({"unshare", "-m", "sh", "-c", readOnly + then, cliPath().string()},
                               {.environment = {"TMPDIR=" + box.tmp.string()}, .workingDirectory = box.dir.path()});
    };
    if (!haveProgram("unshare") || inReadOnly("").exitStatus != 0) GTEST_SKIP() << "needs unshare -m";
    const auto r = inReadOnly(" && exec \"$0\" export d.pptx --mp4 m.mp4 -o ro/d.orv");
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_THAT(r.standardError, HasSubstr("no file can be created in the folder ro (Read-only file system)"));
    EXPECT_TRUE(fs::is_empty(box.dir / "ro"));
}
