#include "cache/RenderCache.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <thread>

#include "TestSupport.hpp"
#include "cache/ContentHash.hpp"
#include "cache/RenderFingerprint.hpp"

using namespace orvandel;
namespace fs = std::filesystem;

namespace {

void write(const fs::path& file, const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; }
std::string read(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}
// The data file of an entry, wherever the cache keeps it.
fs::path entryFile(const fs::path& folder, const std::string& key) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && entry.path().filename() == key) return entry.path();
    }
    return {};
}

}  // namespace

TEST(RenderCacheTest, GivesBackWhatWasStoredAndDropsAnEntryThatFailsItsCheck) {
    test::TempDir dir;
    std::optional<test::TempDir> shm;  // another file system, where fetch copies instead of linking
    if (fs::is_directory("/dev/shm")) {
        const test::ScopedEnv env{{{"TMPDIR", "/dev/shm"}}};
        shm.emplace();
    }
    write(dir / "in", "frame bytes");
    const fs::path to = dir / "out";
    const std::vector<std::function<void(const fs::path&)>> damages{
        [](const fs::path& data) {
            fs::permissions(data, fs::perms::owner_write, fs::perm_options::add);
            write(data, "frame bytez");
        },
        [](const fs::path& data) { fs::resize_file(data, 5); },
        [](const fs::path& data) { fs::remove(data.string() + ".check"); }};
    for (const fs::path& folder : {dir / "cache", shm ? shm->path() : dir / "cache"}) {
        const RenderCache cache({folder});
        EXPECT_FALSE(cache.fetch("still", "ab12", to));
        for (const auto& [kind, key] : {std::pair("still", "../ab"), {"../x", "ab"}, {"still", ""}, {"Still", "ab"}}) {
            EXPECT_FALSE(cache.store(kind, key, dir / "in")) << kind << " " << key;
        }
        for (const auto& damage : damages) {
            ASSERT_TRUE(cache.store("still", "ab12", dir / "in"));
            ASSERT_TRUE(cache.fetch("still", "ab12", to)) << folder;
            EXPECT_EQ(read(to), "frame bytes");
            damage(entryFile(folder, "ab12"));
            EXPECT_FALSE(cache.fetch("still", "ab12", to));
            EXPECT_FALSE(fs::exists(to));
            EXPECT_EQ(cache.size(), 0);
        }
    }
}

TEST(RenderCacheTest, TrimRemovesTheLeastRecentlyUsedFirstAndDeadWritersLeftovers) {
    test::TempDir dir;
    const RenderCache cache({dir / "cache", 250});
    write(dir / "in", std::string(100, 'x'));
    const auto now = fs::file_time_type::clock::now();
    for (int i = 0; i < 4; ++i) {
        ASSERT_TRUE(cache.store("segment", "k" + std::to_string(i), dir / "in"));
        fs::last_write_time(entryFile(dir / "cache", "k" + std::to_string(i)), now - std::chrono::hours(i + 1));
    }
    ASSERT_TRUE(cache.fetch("segment", "k2", dir / "out"));  // now the most recently used
    const fs::path stale = entryFile(dir / "cache", "k0").parent_path() / ".tmp-1-2-3", fresh = stale.string() + "4";
    write(stale, "x");
    write(fresh, "x");
    fs::last_write_time(stale, now - std::chrono::hours(2));
    cache.trim();
    EXPECT_EQ(cache.size(), 200);
    for (const auto& [key, kept] : {std::pair("k0", true), {"k1", false}, {"k2", true}, {"k3", false}}) {
        EXPECT_EQ(cache.fetch("segment", key, dir / "out"), kept) << key;
    }
    EXPECT_FALSE(fs::exists(stale));
    EXPECT_TRUE(fs::exists(fresh));
}

TEST(RenderCacheTest, WritersReadersAndATrimmerAtOnceNeverGiveWrongBytes) {
    test::TempDir dir;
    const RenderCache cache({dir / "cache", 3000});
    const auto in = [&](int k) { return dir / ("in" + std::to_string(k)); };
    for (int k = 0; k < 4; ++k) write(in(k), std::string(1000, char('a' + k)));
    std::atomic<int> wrong{0}, hits{0};
    const auto work = [&](int thread) {
        const fs::path to = dir / ("out" + std::to_string(thread));
        for (int round = 0; round < 200; ++round) {
            const int k = (round + thread) % 4;
            cache.store("sound", "key" + std::to_string(k), in(k));
            if (cache.fetch("sound", "key" + std::to_string(k), to)) {
                ++hits;
                wrong += read(to) != read(in(k));
            }
            if (round % 16 == thread) cache.trim();
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) threads.emplace_back(work, t);
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(hits, 0);
}

TEST(RenderCacheTest, TakesItsDefaultsFromTheEnvironment) {
    const std::vector<std::tuple<std::string, std::string, std::optional<fs::path>>> cases{
        {"/x", "/h", "/x/orvandel"}, {"x", "/h", "/h/.cache/orvandel"}, {"", "h", std::nullopt}};
    for (const auto& [xdg, home, folder] : cases) {
        const test::ScopedEnv env{{{"XDG_CACHE_HOME", xdg}, {"HOME", home}, {"ORVANDEL_CACHE_MAX", xdg + "1M"}}};
        EXPECT_EQ(RenderCache::defaultFolder(), folder) << xdg << " " << home;
        EXPECT_EQ(RenderCache::defaultMaxBytes(), xdg.empty() ? 1 << 20 : RenderCache::kDefaultMaxBytes);
    }
}

TEST(RenderCacheTest, HashesAndFingerprints) {
    EXPECT_EQ(ContentHash::of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_NE(ContentHash().field("ab").field("c").hex(), ContentHash().field("a").field("bc").hex());
    test::TempDir dir;
    const test::ScopedEnv env{{{"PATH", dir.path().string()}}};
    const std::string without = RenderFingerprint::current();
    EXPECT_EQ(RenderFingerprint::current(), without);
    write(dir / "ffmpeg", "#!/bin/sh\n");
    fs::permissions(dir / "ffmpeg", fs::perms::owner_exec, fs::perm_options::add);
    const std::string with = RenderFingerprint::current();
    EXPECT_NE(with, without);
    fs::last_write_time(dir / "ffmpeg", fs::last_write_time(dir / "ffmpeg") - std::chrono::hours(1));
    EXPECT_NE(RenderFingerprint::current(), with);
}
