// The SCORM 1.2 package of a lesson: what the ZIP holds, and a manifest the
// SCORM schemas accept.
#include <gtest/gtest.h>

#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"
#include "package/ManifestBuilder.hpp"
#include "package/PackagedMovie.hpp"
#include "package/ScormManifest.hpp"
#include "package/ScormPackage.hpp"
#include "package/ScormSchemas.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

namespace {

fs::path writePackage(const fs::path& path, const Bytes& movie) {
    const std::string manifest = ManifestBuilder::buildManifestV3(
        {{0, 1, CueKind::slide, "Slide 1", 1000}, {1, 2, CueKind::slide, "Slide 2", 5000}},
        {{1, "Nota secreta do professor"}},
        {"aula.pptx", 2, 9000, std::chrono::system_clock::time_point{}, "test", "test/1"});
    ZipArchive::create({{"manifest.json", toBytes(manifest)}, {LessonPackage::kMovieEntry, movie}}, path);
    return path;
}

}  // namespace

TEST(ScormPackageTest, HoldsManifestSchemasPageAndMovieWithNotesOnlyWhenAsked) {
    TempDir dir;
    const Bytes movie = joined({stillsMovie(9000), box("mdat", Bytes(3 << 20, 7))});
    const auto orv = writePackage(dir / "aula.orv", movie);
    const auto zip = ScormPackage::defaultPath(orv);
    for (const bool withNotes : {false, true}) {
        SCOPED_TRACE(withNotes);
        ScormPackage::write(orv, zip, {.withNotes = withNotes});  // the second over the first
        EXPECT_EQ(ZipArchive::entryNames(zip),
                  (std::vector<std::string>{"imsmanifest.xml", "imscp_rootv1p1p2.xsd", "adlcp_rootv1p2.xsd",
                                            "imsmd_rootv1p2p1.xsd", "ims_xml.xsd", "index.html", "master.mp4"}));
        EXPECT_EQ(PptxArchive::readEntryBytes(zip, "master.mp4"), movie);
        const std::string page = PptxArchive::readEntry(zip, "index.html");
        EXPECT_EQ(page.find("Nota secreta") != std::string::npos, withNotes);
        EXPECT_NE(page.find("LMSInitialize"), std::string::npos);
    }

    // A damaged movie leaves the earlier ZIP as it was and no scratch file.
    const Bytes before = readFile(zip);
    EXPECT_THROW(ScormPackage::write(writePackage(dir / "text.orv", toBytes("not a movie")), zip),
                 PackagedMovie::MovieError);
    Bytes damaged = readFile(orv);
    damaged[damaged.size() / 2] ^= 1;
    writeFile(dir / "damaged.orv", damaged);
    EXPECT_THROW(ScormPackage::write(dir / "damaged.orv", zip), PptxArchive::ArchiveError);
    EXPECT_EQ(readFile(zip), before);
    EXPECT_TRUE(entriesNamed(dir.path(), ".tmp-").empty());
    EXPECT_TRUE(entriesNamed(dir.path(), ".orvandel-scorm-").empty());
}

TEST(ScormManifestTest, ValidAgainstTheScormSchemasWhateverTheTitle) {
    const auto xmllint = Subprocess::findOnPath("xmllint");
    if (!xmllint) GTEST_SKIP() << "xmllint (libxml2-utils) is not installed";
    TempDir dir;
    for (const auto& schema : ScormSchemas::files()) writeFile(dir / std::string(schema.name), schema.bytes);
    std::string accented;
    for (int i = 0; i < 150; ++i) accented += "ção ";  // 600 characters, 900 bytes
    for (const std::string& title :
         {std::string("Fotossíntese"), std::string("A & B <c> \"d\"\x01\x1f fim"), accented, std::string()}) {
        SCOPED_TRACE(title);
        writeFile(dir / "imsmanifest.xml",
                  ScormManifest::xml(title, "orvandel-0123abcd", {"index.html", "master.mp4"}));
        const auto result = Subprocess::run({xmllint->string(), "--noout", "--schema",
                                             (dir / "adlcp_rootv1p2.xsd").string(),
                                             (dir / "imsmanifest.xml").string()});
        EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    }
}
