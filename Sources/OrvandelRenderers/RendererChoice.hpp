#pragma once
// Which renderer makes the movie, the same for the command line and the app:
// `automatic` means PowerPoint for Mac where it is installed, the headless
// renderer everywhere else.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

#include "cache/RenderCache.hpp"
#include "render/Mp4Exporting.hpp"
#include "render/VideoSettings.hpp"

namespace orvandel::RendererChoice {

enum class Renderer { automatic, headless, powerPoint };

// "auto", "libreoffice", "powerpoint"; nothing for any other name.
std::optional<Renderer> fromName(std::string_view name);

// The renderer `automatic` stands for on this machine; the others as they are.
Renderer resolve(Renderer requested);

// Where the headless renderer keeps the stills and encoded slides of earlier
// exports, to reuse those of slides that have not changed. On by default, so
// that nobody has to ask for a fast re-export.
struct Cache {
    bool enabled = true;
    std::filesystem::path folder;          // empty: RenderCache::defaultFolder()
    std::optional<std::int64_t> maxBytes;  // nothing: RenderCache::defaultMaxBytes()
};

// The cache `choice` stands for on this machine: nothing when it is off, or
// when no folder is given and there is no default one (no HOME).
std::optional<RenderCache::Options> cacheOptions(const Cache& choice);

// How the headless renderer works; PowerPoint takes none of these.
struct Settings {
    // Animations and the deck's slide transitions drawn over their durations
    // (false: cuts).
    bool drawEffects = true;
    // Linked local files outside the deck's folder are read too. Never
    // right on a server that exports decks it did not make; URLs are never
    // fetched either way.
    bool allowLinksOutside = false;
    // The most memory LibreOffice may take, in bytes; nothing: a share of
    // the machine's (defaultMemoryLimit(1)).
    std::optional<std::int64_t> maxMemory;
    Cache cache;
    // The movie's size, frame rate where things move, and quality.
    VideoSettings video;
};

// LibreOffice's share of this machine's memory when `exports` run at once:
// half of it, split between them; nothing when the memory cannot be read.
std::optional<std::int64_t> defaultMemoryLimit(int exports);

// deck: the deck to be exported; links out of it point from its folder and
// stay inside it (the headless renderer plays linked media); empty: the
// prepared copy's folder.
std::unique_ptr<Mp4Exporting> make(Renderer requested, const std::filesystem::path& deck = {},
                                   const Settings& settings = {});

}  // namespace orvandel::RendererChoice
