#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>

#include "TestSupport.hpp"
#include "ZipFixtures.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/XMLEmitter.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;
using PptxArchive::ArchiveError;
namespace fs = std::filesystem;

namespace {

// The status of a failed read; 0 when the entry was read.
int readStatus(const fs::path& deck, const std::string& entry) {
    try {
        PptxArchive::readEntryBytes(deck, entry);
        return 0;
    } catch (const ArchiveError& e) {
        EXPECT_EQ(e.errorCase(), ArchiveError::Case::readFailed);
        return e.status();
    }
}

ArchiveError failure(const fs::path& deck, const std::string& entry) {
    return test::thrown<ArchiveError>([&] { PptxArchive::readEntry(deck, entry); });
}

std::string emitted(const std::string& timing) {
    return XMLEmitter::emit(SlideXML::parseFragment(timing, "p:timing"), XMLEmitter::Options::identity);
}

std::string unzipPattern(const std::string& name) {
    std::string out;
    for (const char c : name) {
        if (c == '[' || c == ']' || c == '*' || c == '?') out += '\\';
        out += c;
    }
    return out;
}

}  // namespace

TEST(PptxArchiveCorpusTest, EveryDeckListsReadsAndRewritesAsUnzipDoesAndItsTimingsEmitAsParsed) {
    ORVANDEL_REQUIRE_CORPUS();
    if (!test::haveProgram("unzip")) GTEST_SKIP() << "no unzip";
    test::TempDir dir;
    const auto unzipAccepts = [](const fs::path& zip) {
        return Subprocess::run({"unzip", "-tq", zip.string()}).succeeded();
    };
    for (const auto& deck : test::corpusDecks()) {
        SCOPED_TRACE(deck.filename().string());
        if (deck.filename().string().find("BROKEN") != std::string::npos) {  // damaged on purpose
            EXPECT_THROW(ZipArchive::entryNames(deck), ZipArchive::ZipError);
            EXPECT_THROW(ZipArchive::rewrite(deck, {}, dir / "broken.pptx"), ZipArchive::ZipError);
            const auto error = failure(deck, "ppt/presentation.xml");
            EXPECT_TRUE(error.status() == 2 || error.status() == 9) << error.what();
            // Only an encrypted deck, an OLE2 file, is said to need a password.
            EXPECT_EQ(error.message().find("password") != std::string::npos, readFile(deck).at(0) == 0xD0);
            continue;
        }
        const auto names = ZipArchive::entryNames(deck);
        std::string listed;
        for (const auto& name : names) listed += name + "\n";
        EXPECT_EQ(listed, Subprocess::run({"unzip", "-Z1", deck.string()}).standardOutput);

        // An empty rewrite reproduces the archive, less any stray bytes after the end record.
        const Bytes src = readFile(deck);
        const auto parsed = ZipArchive::parse(src);
        ZipArchive::rewrite(deck, {}, dir / "same.pptx");
        EXPECT_EQ(readFile(dir / "same.pptx"), Bytes(src.begin(), src.begin() + parsed.eocd + 22 + parsed.commentLen));
        EXPECT_TRUE(unzipAccepts(dir / "same.pptx"));

        for (const auto& name : names) {
            SCOPED_TRACE(name);
            const auto unzip = Subprocess::run({"unzip", "-p", deck.string(), unzipPattern(name)});
            if (unzip.exitStatus != 0) {
                EXPECT_THROW(PptxArchive::readEntryBytes(deck, name), ArchiveError);
                continue;
            }
            EXPECT_EQ(toString(PptxArchive::readEntryBytes(deck, name)), unzip.standardOutput);
            if (!name.ends_with(".xml") && !name.ends_with(".rels")) continue;
            if (!isValidUtf8(unzip.standardOutput)) {
                EXPECT_THROW(PptxArchive::readEntry(deck, name), ArchiveError);
                continue;
            }
            const std::string xml = PptxArchive::readEntry(deck, name);
            EXPECT_EQ(xml, unzip.standardOutput);
            // Every slide's timing is a fixed point of parse and emit.
            const auto timing = SlideXML::elementRange(xml, "p:timing");
            if (!name.starts_with("ppt/slides/slide") || !timing) continue;
            const std::string first = emitted(xml.substr(timing->first, timing->second - timing->first));
            EXPECT_EQ(emitted(first), first);
        }
        // A rewrite that replaces entries is checked by the prepare walk over the corpus.
    }
}

TEST(PptxArchiveTest, TextEntriesAndMissingPartsWithTheToolsStatuses) {
    test::TempDir dir;
    const auto deck = dir / "deck.pptx";
    ZipArchive::create(
        {{"empty.xml", {}}, {"bom.xml", toBytes("\xEF\xBB\xBF<x/>")}, {"latin1.xml", toBytes("caf\xE9")}}, deck);
    EXPECT_EQ(PptxArchive::readEntry(deck, "empty.xml"), "");
    EXPECT_EQ(PptxArchive::readEntry(deck, "bom.xml"), "\xEF\xBB\xBF<x/>");
    const auto latin1 = failure(deck, "latin1.xml");
    EXPECT_EQ(latin1.errorCase(), ArchiveError::Case::decodeFailed);
    EXPECT_STREQ(latin1.what(), "could not decode latin1.xml as UTF-8");
    const auto missing = failure(deck, "ppt/nope.xml");
    EXPECT_EQ(missing.status(), 11);
    EXPECT_EQ(std::string(missing.what()), missing.message() + " (reading ppt/nope.xml)");
    EXPECT_NE(missing.message().find(deck.string()), std::string::npos);

    EXPECT_EQ(readStatus(dir / "missing.pptx", "x"), 9);
    EXPECT_EQ(readStatus(dir.path(), "x"), 9);
    // An encrypted deck is an OLE2 file.
    writeFile(dir / "locked.pptx", std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1") + std::string(4088, '\0'));
    const auto locked = failure(dir / "locked.pptx", "ppt/presentation.xml");
    EXPECT_EQ(locked.status(), 9);
    EXPECT_NE(locked.message().find("password"), std::string::npos);
}

TEST(PptxArchiveTest, DeflatedEntriesAreCheckedAndDamageIsStatusTwo) {
    test::TempDir dir;
    const Bytes text = toBytes(std::string(3000, 'x') + "end");
    auto status = [&](test::RawEntry e) {
        e.name = "e.xml";
        if (e.data.empty()) e.data = text;
        writeFile(dir / "t.zip", test::buildZip({e}));
        return readStatus(dir / "t.zip", "e.xml");
    };
    writeFile(dir / "ok.zip", test::buildZip({{"e.xml", text, true, true}}));
    EXPECT_EQ(PptxArchive::readEntryBytes(dir / "ok.zip", "e.xml"), text);  // sizes from the directory
    // A head is inflated no further than asked, stored or deflated alike; a short entry comes whole.
    const Bytes large = toBytes(std::string(200000, 'y'));
    writeFile(dir / "heads.zip", test::buildZip({{"d", large}, {"s", large, false}, {"e.xml", text}}));
    PptxArchive::Deck heads(dir / "heads.zip");
    EXPECT_EQ(heads.readEntryHead("d", 5000), Bytes(large.begin(), large.begin() + 5000));
    EXPECT_EQ(heads.readEntryHead("s", 7), Bytes(large.begin(), large.begin() + 7));
    EXPECT_EQ(heads.readEntryHead("e.xml", 9000), text);

    Bytes truncated = test::rawDeflate(text);
    truncated.resize(truncated.size() - 4);
    // A wrong CRC, encryption, an unknown method, sizes that lie (the last the ZIP64 marker), bad or cut data.
    const std::vector<test::RawEntry> damaged{{.crc = 1234},
                                              {.extraFlags = 1},
                                              {.method = 12},
                                              {.declaredSize = 100},
                                              {.declaredSize = 4000},
                                              {.deflated = false, .declaredSize = 4000},
                                              {.payload = Bytes(200, 0xFF)},
                                              {.payload = truncated},
                                              {.declaredSize = 0xFFFFFFFF}};
    for (std::size_t i = 0; i < damaged.size(); ++i) EXPECT_EQ(status(damaged[i]), 2) << "case " << i;
}

TEST(PptxArchiveTest, HostileArchivesGiveTypedErrorsNeverCrashes) {
    test::TempDir dir;
    const auto path = dir / "t.zip";
    std::mt19937 rng(42);
    for (const std::size_t size : {0, 3, 22, 100, 70000}) {
        Bytes noise(size);
        for (auto& b : noise) b = static_cast<std::uint8_t>(rng());
        writeFile(path, noise);
        EXPECT_EQ(readStatus(path, "a.xml"), 9);
    }

    const Bytes zip = test::buildZip({{"a.xml", toBytes(std::string(2000, 'a') + "!")},
                                      {"b.xml", toBytes("<b/>"), false},
                                      {"c.xml", toBytes(std::string(900, 'c')), true, true}});
    for (std::size_t n = 0; n < zip.size(); ++n) {
        writeFile(path, Bytes(zip.begin(), zip.begin() + static_cast<std::ptrdiff_t>(n)));
        for (const char* name : {"a.xml", "c.xml"}) EXPECT_NE(readStatus(path, name), 0) << "prefix " << n;
    }
    for (int round = 0; round < 2000; ++round) {
        Bytes flipped = zip;
        for (int k = 0; k < 3; ++k) flipped[rng() % flipped.size()] = static_cast<std::uint8_t>(rng());
        writeFile(path, flipped);
        for (const char* name : {"a.xml", "b.xml", "c.xml"}) readStatus(path, name);
    }

    // A directory past the end, a local header overlapping the directory.
    const std::size_t end = test::endRecordOf(zip);
    for (const auto& [at, value] : std::vector<std::pair<std::size_t, std::uint32_t>>{
             {end + 16, 0x7FFFFFF0}, {ZipArchive::u32(zip, end + 16) + 42, std::uint32_t(zip.size() - 10)}}) {
        Bytes patched = zip;
        ZipArchive::patchU32(patched, at, value);
        writeFile(path, patched);
        EXPECT_EQ(readStatus(path, "a.xml"), 2) << at;
    }
}

TEST(PptxArchiveTest, InflationStopsAtTheDeclaredSizeUnderAMemoryLimit) {
    test::TempDir dir;
    // 1 GiB of zeros in about 1 MiB: one fully flushed 1 MiB block repeated
    // (each copy decodes on its own), then an empty final block.
    const Bytes block = test::rawDeflate(Bytes(std::size_t(1) << 20, 0), Z_FULL_FLUSH);
    Bytes bomb;
    for (int i = 0; i < 1024; ++i) bomb.insert(bomb.end(), block.begin(), block.end());
    bomb.insert(bomb.end(), {0x03, 0x00});
    const test::RawEntry claimsKiB{.name = "bomb.xml", .data = Bytes(1024, 0), .payload = bomb};
    const test::RawEntry claimsHuge{.name = "huge.xml", .data = Bytes(100, 'h'), .declaredSize = 0xFFFFFFFE};
    writeFile(dir / "bomb.zip", test::buildZip({claimsKiB, claimsHuge}));

    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
#ifndef __SANITIZE_ADDRESS__  // the sanitizer reserves far more address space
        long pages = 0;       // what the process holds now
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t limit = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (256u << 20);
        const rlimit rl{limit, limit};
        setrlimit(RLIMIT_AS, &rl);
#endif
        int code = 0;
        for (const char* name : {"bomb.xml", "huge.xml"}) {
            try {
                PptxArchive::readEntryBytes(dir / "bomb.zip", name);
                code |= 1;
            } catch (const ArchiveError& e) {
                if (e.status() != 2 || e.message().find("declared") == std::string::npos) code |= 2;
            } catch (...) {
                code |= 4;
            }
        }
        // As text, a part claiming 4 GiB is refused before anything is unpacked.
        try {
            PptxArchive::readEntry(dir / "bomb.zip", "huge.xml");
            code |= 1;
        } catch (const ArchiveError& e) {
            if (e.errorCase() != ArchiveError::Case::partTooLarge) code |= 8;
        }
        _exit(code);
    }
    int wstatus = 0;
    ASSERT_EQ(waitpid(child, &wstatus, 0), child);
    ASSERT_TRUE(WIFEXITED(wstatus)) << "child killed by signal " << WTERMSIG(wstatus);
    EXPECT_EQ(WEXITSTATUS(wstatus), 0) << "1: read, 2: wrong status, 4: other exception, 8: not refused as too large";
}
