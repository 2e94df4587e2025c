#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "base/AtomicFile.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckError.hpp"
#include "package/ManifestReader.hpp"
#include "package/OrvPackager.hpp"

using namespace orvandel;

namespace {

const std::string kManifest = R"({"cues": [{}, {}, {}], "masterVideoDuration": 12.345})";

Bytes movieBytes(std::size_t n) {
    Bytes b(n);
    for (std::size_t i = 0; i < n; ++i) b[i] = static_cast<std::uint8_t>(i * 7 + (i >> 11));
    return b;
}

}  // namespace

TEST(OrvPackagerTest, StreamingWriterMatchesInMemoryCreateByteForByte) {
    test::TempDir dir;
    const Bytes movie = movieBytes(3 << 20);  // several copy chunks
    writeFile(dir / "m.mp4", movie);
    writeFile(dir / "empty", std::string());
    ZipArchive::create({{"manifest.json", toBytes(kManifest)}, {"assets/master.mp4", movie}, {"e", {}}},
                       dir / "a.zip");
    ZipArchive::createStreaming({{"manifest.json", toBytes(kManifest), std::nullopt},
                                 {"assets/master.mp4", {}, dir / "m.mp4"},
                                 {"e", {}, dir / "empty"}},
                                dir / "b.zip");
    EXPECT_EQ(readFile(dir / "a.zip"), readFile(dir / "b.zip"));
}

TEST(OrvPackagerTest, WritesTwoStoredEntriesAndReplacesAnExistingPackage) {
    test::TempDir dir;
    const Bytes movie = movieBytes(100000);
    writeFile(dir / "master.mp4", movie);
    writeFile(dir / "lesson.orv", std::string("old package"));

    OrvPackager::package(kManifest, dir / "master.mp4", dir / "lesson.orv");

    EXPECT_EQ(ZipArchive::entryNames(dir / "lesson.orv"),
              (std::vector<std::string>{"manifest.json", "assets/master.mp4"}));
    EXPECT_EQ(PptxArchive::readEntryBytes(dir / "lesson.orv", "assets/master.mp4"), movie);
    EXPECT_EQ(readFile(dir / "master.mp4"), movie) << "the movie is copied, never moved";
    const auto probe = ManifestReader::read(dir / "lesson.orv");
    EXPECT_EQ(probe.cues.size(), 3u);
    EXPECT_DOUBLE_EQ(probe.masterVideoDuration, 12.345);
    EXPECT_TRUE(test::entriesNamed(dir.path(), ".tmp-").empty());
    if (!test::haveProgram("unzip")) return;
    const auto listing = Subprocess::run({"unzip", "-v", (dir / "lesson.orv").string()});
    EXPECT_EQ(listing.exitStatus, 0);
    EXPECT_NE(listing.standardOutput.find("Stored"), std::string::npos);
    EXPECT_EQ(listing.standardOutput.find("Defl"), std::string::npos);
}

TEST(OrvPackagerTest, WriteFailuresKeepTheOldPackageAndLeaveNoTemporaryFile) {
    test::TempDir dir;
    writeFile(dir / "master.mp4", movieBytes(5000));
    auto expectWriteFailed = [&](const std::filesystem::path& to,
                                 const OrvPackager::ArchiveWriter& writer = ZipArchive::createStreaming) {
        const auto e =
            test::thrown<DeckError>([&] { OrvPackager::package(kManifest, dir / "master.mp4", to, writer); });
        EXPECT_EQ(e.errorCase(), DeckError::Case::orvWriteFailed);
        EXPECT_EQ(e.path(), to.string());
        EXPECT_NE(std::string(e.what()).find(to.string()), std::string::npos);
    };

    // The destination is a directory with something in it: refused before writing.
    std::filesystem::create_directories(dir / "busy.orv");
    writeFile(dir / "busy.orv" / "keep", std::string("x"));
    EXPECT_THROW(OrvPackager::package(kManifest, dir / "master.mp4", dir / "busy.orv"), OutputError);
    EXPECT_EQ(toString(readFile(dir / "busy.orv" / "keep")), "x");

    // The destination's folder does not exist.
    expectWriteFailed(dir / "missing" / "lesson.orv");

    // The writer fails half way through: the old package must survive untouched.
    writeFile(dir / "lesson.orv", std::string("old package"));
    expectWriteFailed(dir / "lesson.orv", [](const auto& entries, const std::filesystem::path& to) {
        ZipArchive::createStreaming({entries.front()}, to);
        throw FileError("write", to.string(), ENOSPC);
    });
    EXPECT_EQ(toString(readFile(dir / "lesson.orv")), "old package");
    EXPECT_TRUE(test::entriesNamed(dir.path(), ".tmp-").empty());

    // An unreadable movie is the file system's error and writes nothing.
    EXPECT_THROW(OrvPackager::package(kManifest, dir / "nope.mp4", dir / "lesson.orv"), FileError);
    EXPECT_EQ(toString(readFile(dir / "lesson.orv")), "old package");
}
