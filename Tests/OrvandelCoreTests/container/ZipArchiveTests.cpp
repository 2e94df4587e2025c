#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "TestSupport.hpp"
#include "ZipFixtures.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;
using namespace orvandel::ZipArchive;
namespace fs = std::filesystem;

namespace {

ZipError::Case zipFailure(const std::function<void()>& f) { return test::thrown<ZipError>(f).errorCase(); }

bool unzipAccepts(const fs::path& zip) { return Subprocess::run({"unzip", "-tq", zip.string()}).exitStatus == 0; }

Bytes range(const Bytes& b, std::int64_t begin, std::int64_t end) { return Bytes(b.begin() + begin, b.begin() + end); }

}  // namespace

// Archives with entries are written by every deck built in the tests, and
// streamed packages must equal them byte for byte (OrvPackagerTest).
TEST(ZipArchiveTest, AnEmptyArchiveIsTheEndRecordAlone) {
    test::TempDir dir;
    create({}, dir / "empty.zip");
    EXPECT_EQ(toString(readFile(dir / "empty.zip")), "PK\x05\x06" + std::string(18, '\0'));
    EXPECT_TRUE(entryNames(dir / "empty.zip").empty());
}

TEST(ZipArchiveTest, EndRecordIsFoundUnderLongCommentsAndStrayBytes) {
    const Bytes plain = test::buildZip({{"a.xml", toBytes("<a/>")}});
    EXPECT_EQ(parse(test::buildZip({{"a.xml", toBytes("<a/>")}}, std::string(65535, 'c'))).entries.size(), 1u);

    // A comment length reaching past the end is no end record.
    Bytes cut = test::buildZip({{"a.xml", toBytes("<a/>")}}, "abc");
    cut.pop_back();
    EXPECT_EQ(zipFailure([&] { parse(cut); }), ZipError::Case::notAZip);
    EXPECT_EQ(zipFailure([&] { parse(Bytes(21, 0)); }), ZipError::Case::notAZip);

    // Stray bytes after the record are tolerated on reading and dropped on rewriting.
    test::TempDir dir;
    Bytes stray = plain;
    stray.insert(stray.end(), {0, 'x', 0});
    writeFile(dir / "stray.zip", stray);
    EXPECT_EQ(entryNames(dir / "stray.zip"), std::vector<std::string>{"a.xml"});
    rewrite(dir / "stray.zip", {}, dir / "out.zip");
    EXPECT_EQ(readFile(dir / "out.zip"), plain);
}

TEST(ZipArchiveTest, RewriteStoresReplacedEntriesAndKeepsNeighboursByteForByte) {
    test::TempDir dir;
    Bytes src = test::buildZip({{"a.xml", toBytes(std::string(500, 'a')), true, true},
                                {"b.xml", toBytes(std::string(500, 'b')), true, true, 0x0800},
                                {"c.xml", toBytes(std::string(500, 'c'))}});
    const ParseResult before = parse(src);
    patchU32(src, static_cast<std::size_t>(before.entries[1].cdRange.begin + 12), 0x12345678);  // time, date
    writeFile(dir / "src.zip", src);

    EXPECT_EQ(zipFailure([&] {
                  rewrite(dir / "src.zip", {{"zzz", {}}}, dir / "no.zip");
              }),
              ZipError::Case::entryNotFound);
    EXPECT_FALSE(fs::exists(dir / "no.zip"));

    rewrite(dir / "src.zip", {{"b.xml", toBytes("new")}}, dir / "out.zip");
    const Bytes out = readFile(dir / "out.zip");
    const ParseResult after = parse(out);
    ASSERT_EQ(after.entries.size(), 3u);
    const auto &was = before.entries, &now = after.entries;
    const auto& b1 = now[1];
    EXPECT_EQ(range(out, now[0].localOffset, b1.localOffset), range(src, was[0].localOffset, was[1].localOffset));
    EXPECT_EQ(range(out, now[2].localOffset, after.cdOffset), range(src, was[2].localOffset, before.cdOffset));
    EXPECT_EQ(u16(out, static_cast<std::size_t>(now[2].cdRange.begin + 10)), 8);  // neighbours stay deflated
    EXPECT_EQ(b1.flags, 0x0800);                                                  // bit 3 cleared, bit 11 kept
    EXPECT_EQ(u16(out, static_cast<std::size_t>(b1.cdRange.begin + 10)), 0);
    EXPECT_EQ(u16(out, static_cast<std::size_t>(b1.localOffset + 6)), 0x0800);  // local agrees with central
    EXPECT_EQ(u32(out, static_cast<std::size_t>(b1.localOffset + 10)), 0x12345678u);
    EXPECT_EQ(PptxArchive::readEntry(dir / "out.zip", "b.xml"), "new");
    EXPECT_EQ(PptxArchive::readEntry(dir / "out.zip", "a.xml"), std::string(500, 'a'));
    EXPECT_TRUE(!test::haveProgram("unzip") || unzipAccepts(dir / "out.zip"));
}

TEST(ZipArchiveTest, MalformedDirectoriesAreTypedErrors) {
    const Bytes zip = test::buildZip({{"\xff\xfe.xml", toBytes("x")}, {"ok.xml", toBytes("y")}});
    EXPECT_EQ(parse(zip).entries[0].name, "");  // undecodable names list as empty
    EXPECT_EQ(parse(zip).entries[1].name, "ok.xml");

    const std::size_t end = test::endRecordOf(zip);
    auto patched = [&](std::size_t at, std::uint32_t value, bool wide) {
        Bytes b = zip;
        wide ? patchU32(b, at, value) : patchU16(b, at, static_cast<std::uint16_t>(value));
        return b;
    };
    const std::size_t cd = u32(zip, end + 16);
    using enum ZipError::Case;
    // Where a field is patched, its new value, whether it is 32 bits wide: the error.
    using Patch = std::tuple<std::size_t, std::uint32_t, bool, ZipError::Case>;
    for (const auto& [at, value, wide, error] : std::vector<Patch>{{end + 10, 0xFFFF, false, zip64Unsupported},
                                                                   {end + 16, 0xFFFFFFFF, true, zip64Unsupported},
                                                                   {end + 16, 0x7FFFFFFF, true, badCentralDirectory},
                                                                   {end + 10, 3, false, badCentralDirectory},
                                                                   {cd, 0, true, badCentralDirectory},
                                                                   {cd + 28, 0xFFFF, false, badCentralDirectory}}) {
        EXPECT_EQ(zipFailure([&] { parse(patched(at, value, wide)); }), error) << at;
    }

    // A local offset beyond the directory gives no extent to copy.
    test::TempDir dir;
    writeFile(dir / "bad.zip", patched(cd + 42, 0x00FFFFFF, true));
    EXPECT_EQ(zipFailure([&] { rewrite(dir / "bad.zip", {}, dir / "out.zip"); }), badCentralDirectory);
}
