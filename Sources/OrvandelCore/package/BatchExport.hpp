#pragma once
// Many decks exported as one job: the decks named, or found in the folders
// named, each exported by itself (its own work directory and renderer), a
// few at a time; one deck's failure never stops the others. A job can be
// split into deterministic shares so that several machines, each given its
// share index, cover the list exactly once without talking to each other.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Cancellation.hpp"
#include "base/Warning.hpp"
#include "deck/SlideReport.hpp"
#include "render/Mp4Exporting.hpp"

namespace orvandel::BatchExport {

// Share `index` (from 0) of `count`.
struct Shard {
    std::int64_t index = 0;
    std::int64_t count = 1;
    bool operator==(const Shard&) const = default;
};

// "I/N" with 0 <= I < N; nothing otherwise.
std::optional<Shard> parseShard(std::string_view text);

// The decks among `paths`: a file as it is, a folder's .pptx, .ppsx and .potx
// files (not its subfolders). Sorted by path, each once. Throws FileError for
// a path that does not exist.
std::vector<std::filesystem::path> collectDecks(const std::vector<std::filesystem::path>& paths);

// How many exports at once by default: one for every two cores (one export
// already keeps two cores busy while it draws and encodes; a second overlaps
// the other's LibreOffice stage, which uses one), as long as each can have a
// gibibyte of the memory available (one export's processes peak near
// 300 MiB), and at least one.
int defaultJobs();

struct Item {
    std::filesystem::path deck;
    std::filesystem::path package;
    bool operator==(const Item&) const = default;
};

// The items of one share of a job: every count-th deck from the index-th (so
// the shares of one list are disjoint and together hold it all), each with
// its package: outDir/<deck name>.orv, where a name already taken by an
// earlier deck of the whole list gets "-2", "-3"... (so that every machine
// names each deck alike); beside the deck when outDir is empty.
std::vector<Item> plan(const std::vector<std::filesystem::path>& decks, const std::filesystem::path& outDir,
                       Shard shard);

struct Outcome {
    std::filesystem::path deck;
    std::filesystem::path package;
    bool ok = false;
    std::string error;  // the failure's description (with its cause), when !ok
    std::int64_t cues = 0;
    std::int64_t movieMs = 0;
    // The movie's slides the renderer took from earlier exports, of how many
    // (RenderHooks::reused); 0 of 0 when it did not say.
    std::int64_t reusedSlides = 0;
    std::int64_t movieSlides = 0;
    std::vector<Warning> warnings;
    std::chrono::milliseconds wall{0};
};

struct Options {
    int jobs = 1;
    // Applied to every deck: where a deck's slide has no GIF (no video), its
    // length is ignored with a warning in that deck's outcome, not refused.
    SlideDurations videoMs;
    SlideDurations gifMs;
    std::string source;
    std::string pluginVersion;
    std::function<std::unique_ptr<Mp4Exporting>(const std::filesystem::path& deck)> makeRenderer;
    std::optional<CancellationToken> cancel;
    // From the worker threads: an item's stage, and an item done.
    std::function<void(std::size_t item, ExportStage stage, double fraction)> progress;
    std::function<void(std::size_t item, const Outcome&)> finished;
};

// Exports every item, options.jobs at a time, and returns the outcomes in
// item order. A cancelled token stops the running exports (they clean up as
// any failed export does) and starts no more; their outcomes say "cancelled".
std::vector<Outcome> run(const std::vector<Item>& items, const Options& options);

}  // namespace orvandel::BatchExport
