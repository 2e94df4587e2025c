// The H5P Interactive Video of an exported lesson, as a learning platform
// reads it on import.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "Lessons.hpp"
#include "TestSupport.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;
using namespace orvandel::test;
using Json = nlohmann::json;

namespace {

// What the platform's validator and the player take from the two files:
// the mandatory h5p.json fields, and content.json as the content type's
// semantics describe it (types, and values its selects allow).
void expectValidH5p(const Json& h5p, const Json& content) {
    for (const char* key : {"title", "language", "mainLibrary"}) EXPECT_TRUE(h5p[key].is_string()) << key;
    EXPECT_EQ(h5p["embedTypes"], Json({"iframe"}));
    const auto& main = h5p["preloadedDependencies"][0];
    EXPECT_EQ(main["machineName"], h5p["mainLibrary"]);
    EXPECT_EQ(main["majorVersion"], 1);
    EXPECT_GE(main["minorVersion"].get<int>(), 27);
    for (const auto& d : h5p["preloadedDependencies"]) {
        EXPECT_TRUE(d["machineName"].is_string() && d["majorVersion"].is_number_integer() &&
                    d["minorVersion"].is_number_integer());
    }
    const auto& iv = content["interactiveVideo"];
    EXPECT_EQ(iv["video"]["files"], Json::parse(R"([{"path": "videos/master.mp4", "mime": "video/mp4",
                                                     "copyright": {"license": "U"}}])"));
    EXPECT_LE(iv["video"]["startScreenOptions"]["title"].get<std::string>().size(), 60u);
    EXPECT_TRUE(iv["assets"]["interactions"].is_array() && iv["assets"]["endscreens"].is_array());
    for (const auto& b : iv["assets"]["bookmarks"]) EXPECT_TRUE(b["time"].is_number() && b["label"].is_string());
    EXPECT_EQ(iv["summary"]["task"]["library"], "H5P.Summary 1.10");
    EXPECT_TRUE(content["override"]["retryButton"] == "on" || content["override"]["retryButton"] == "off");
    EXPECT_EQ(content["override"]["preventSkippingMode"], "none");
    for (const auto& [key, word] : content["l10n"].items()) EXPECT_TRUE(word.is_string()) << key;
}

}  // namespace

TEST(H5pCommandTest, OneBookmarkPerVisibleSlideWhereItAppearsBesideTheMovie) {
    if (!haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir, other;
    const auto chaptered = exportLesson(dir, {"--h5p"});
    const auto plain = exportLesson(other, {});
    const auto deck = chaptered.deck.string();
    const Json titled = {{{"time", 0}, {"label", "Fotossíntese"}},
                         {{"time", 1.5}, {"label", "Luz &amp; água"}},
                         {{"time", 6}, {"label", "Slide 4"}}};
    const Json untitled = {{{"time", 0}, {"label", "Slide 1"}},
                           {{"time", 1.5}, {"label", "Slide 3"}},
                           {{"time", 6}, {"label", "Slide 4"}}};
    struct Case {
        std::vector<std::string> args;  // none: the export's own .h5p
        std::string h5p;
        Json bookmarks;
        std::filesystem::path orv;
    };
    const std::string out = (dir / "out.h5p").string();
    for (const auto& c :
         std::vector<Case>{{{}, (dir / "aula.h5p").string(), titled, chaptered.orv},
                           {{"h5p", plain.orv.string(), "-o", out}, out, untitled, plain.orv},
                           {{"h5p", plain.orv.string(), "-o", out, "--deck", deck}, out, titled, plain.orv}}) {
        if (!c.args.empty()) {
            ASSERT_EQ(runCli(c.args).exitStatus, 0);
        }
        EXPECT_EQ(ZipArchive::entryNames(c.h5p),
                  (std::vector<std::string>{"h5p.json", "content/content.json", "content/videos/master.mp4"}));
        const auto h5p = Json::parse(PptxArchive::readEntry(c.h5p, "h5p.json"));
        const auto content = Json::parse(PptxArchive::readEntry(c.h5p, "content/content.json"));
        expectValidH5p(h5p, content);
        EXPECT_EQ(h5p["title"], "aula");
        EXPECT_EQ(content["interactiveVideo"]["assets"]["bookmarks"], c.bookmarks) << c.h5p;
        EXPECT_EQ(PptxArchive::readEntryBytes(c.h5p, "content/videos/master.mp4"),
                  PptxArchive::readEntryBytes(c.orv, "assets/master.mp4"));
    }
    // The movie's scratch copy and the temporary archive are gone.
    for (const auto& folder : {dir.path(), other.path()}) {
        for (const auto& e : std::filesystem::directory_iterator(folder)) {
            EXPECT_NE(e.path().filename().string().front(), '.') << e.path();
        }
    }
}
