#pragma once
// What a slide costs to render, kept between exports: the stills of its
// storyboard pages, its encoded segment of the movie, the soundtrack. An
// entry is a file named by its key (a ContentHash of everything that decides
// it) under the kind it is ("still", "segment", "sound"), with a check file
// beside it (its size and content hash).
//
// Several exports may use one cache at once: an entry is written under a
// temporary name and renamed into place (two writers of one key write the
// same bytes; the last rename wins), and a reader takes its own hard link or
// copy of an entry before checking it, so that another export trimming the
// cache cannot pull it away. An entry whose check fails (size, hash, a
// missing check file) is never used: it is removed and rebuilt.
//
// Entries used or stored get the current time; trim removes the least
// recently used until the cache holds at most maxBytes. The cache is a help,
// never a need: a cache that cannot be read or written makes every lookup a
// miss and every store a no-op, and the export goes on.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace orvandel {

class RenderCache {
public:
    static constexpr std::int64_t kDefaultMaxBytes = std::int64_t(2) << 30;

    struct Options {
        std::filesystem::path folder;
        std::int64_t maxBytes = kDefaultMaxBytes;
    };

    explicit RenderCache(Options options);

    const std::filesystem::path& folder() const { return options_.folder; }
    std::int64_t maxBytes() const { return options_.maxBytes; }

    // Puts the entry (kind, key) at `to` (a hard link where the cache and `to`
    // share a file system, else a copy) and checks it there; true when it is
    // there and sound. False when there is none, or it fails its check (the
    // entry is then removed, and nothing is left at `to`). Marks it used.
    bool fetch(std::string_view kind, std::string_view key, const std::filesystem::path& to) const;

    // Keeps a copy of `from` as the entry (kind, key). False when the cache
    // cannot take it (the export goes on without).
    bool store(std::string_view kind, std::string_view key, const std::filesystem::path& from) const;

    // Removes the least recently used entries (and leftovers of writers that
    // died) until the entries take at most maxBytes.
    void trim() const;

    // The bytes the entries take now.
    std::int64_t size() const;

    // $XDG_CACHE_HOME/orvandel, else ~/.cache/orvandel; nothing when neither
    // XDG_CACHE_HOME nor HOME is set to an absolute path.
    static std::optional<std::filesystem::path> defaultFolder();

    // ORVANDEL_CACHE_MAX when it is set to a size (parseByteSize: "2G",
    // "500M", bytes), else kDefaultMaxBytes.
    static std::int64_t defaultMaxBytes();

private:
    Options options_;
};

}  // namespace orvandel
