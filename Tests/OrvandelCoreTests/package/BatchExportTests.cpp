#include <gtest/gtest.h>

#include <set>

#include "DeckBuilder.hpp"
#include "MovieFixtures.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "package/BatchExport.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;

TEST(BatchExportTest, SharesCoverTheSortedListOnceAndNameEachDeckAlike) {
    for (const auto& [text, shard] :
         std::vector<std::pair<std::string, std::optional<BatchExport::Shard>>>{{"0/3", BatchExport::Shard{0, 3}},
                                                                                {"2/3", BatchExport::Shard{2, 3}},
                                                                                {"0/1", BatchExport::Shard{0, 1}},
                                                                                {"3/3", std::nullopt},
                                                                                {"-1/3", std::nullopt},
                                                                                {"1/0", std::nullopt},
                                                                                {"1", std::nullopt},
                                                                                {"a/b", std::nullopt}}) {
        EXPECT_EQ(BatchExport::parseShard(text), shard) << text;
    }

    TempDir dir;
    for (const char* name : {"b/aula.pptx", "a/aula.pptx", "a/intro.pptx", "a/z.ppsx", "a/fim.pptx", "b/meio.pptx",
                             "b/aula2.pptx", "a/notas.txt"}) {
        fs::create_directories((dir / name).parent_path());
        writeFile(dir / name, std::string("x"));
    }
    const auto decks = BatchExport::collectDecks({dir / "b", dir / "a", dir / "a" / "intro.pptx"});
    ASSERT_EQ(decks.size(), 7u);
    EXPECT_TRUE(std::is_sorted(decks.begin(), decks.end()));

    std::multiset<std::string> seen;
    std::set<fs::path> packages;
    for (std::int64_t i = 0; i < 3; ++i) {
        for (const auto& item : BatchExport::plan(decks, dir / "out", {i, 3})) {
            seen.insert(item.deck.string());
            packages.insert(item.package);
        }
    }
    EXPECT_EQ(seen.size(), 7u);
    for (const auto& deck : decks) EXPECT_EQ(seen.count(deck.string()), 1u) << deck;
    // The second "aula" in path order takes "-2", whichever share exports it.
    EXPECT_TRUE(packages.count(dir / "out" / "aula.orv") && packages.count(dir / "out" / "aula-2.orv"));
    EXPECT_EQ(packages.size(), 7u);
    EXPECT_EQ(BatchExport::plan(decks, {}, {0, 1}).front().package, dir / "a" / "aula.orv");
    EXPECT_THROW(BatchExport::collectDecks({dir / "missing"}), FileError);
}

TEST(BatchExportTest, OneBrokenDeckFailsAloneAndNothingIsLeftBehind) {
    TempDir dir;
    fs::create_directories(dir / "in");
    fs::create_directories(dir / "tmp");
    ScopedEnv env({{"TMPDIR", (dir / "tmp").string()}});
    for (const char* name : {"um", "dois", "tres"}) {
        DeckBuilder().addSlide(slideXml()).addSlide(slideXml()).write(dir / "in" / (std::string(name) + ".pptx"));
    }
    writeFile(dir / "in" / "quebrado.pptx", std::string("not a deck"));

    BatchExport::Options options;
    options.jobs = 2;
    // What the plan of two plain slides asks: 3 s.
    options.makeRenderer = [](const auto&) { return std::make_unique<FakeRenderer>(movieOf(3000)); };
    int finished = 0;
    options.finished = [&](std::size_t, const BatchExport::Outcome&) { ++finished; };
    const auto items = BatchExport::plan(BatchExport::collectDecks({dir / "in"}), dir / "out", {});
    fs::create_directories(dir / "out");
    const auto outcomes = BatchExport::run(items, options);

    ASSERT_EQ(outcomes.size(), 4u);
    EXPECT_EQ(finished, 4);
    for (const auto& o : outcomes) {
        SCOPED_TRACE(o.deck.string());
        const bool broken = o.deck.filename() == "quebrado.pptx";
        EXPECT_EQ(o.ok, !broken) << o.error;
        EXPECT_EQ(fs::exists(o.package), !broken);
        if (broken) {
            EXPECT_NE(o.error.find("is not a .pptx deck"), std::string::npos) << o.error;
        } else {
            EXPECT_EQ(o.cues, 2);
            EXPECT_EQ(o.movieMs, 3000);
        }
    }
    EXPECT_TRUE(fs::is_empty(dir / "tmp"));
    EXPECT_TRUE(entriesNamed(dir / "out", ".tmp-").empty());
}
