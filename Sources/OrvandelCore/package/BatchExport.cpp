#include "package/BatchExport.hpp"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "base/Error.hpp"
#include "base/Numbers.hpp"
#include "base/SystemMemory.hpp"
#include "package/OrvExporter.hpp"

namespace orvandel::BatchExport {

namespace {

bool isDeck(const std::filesystem::path& path) {
    const auto ext = path.extension().string();
    return ext == ".pptx" || ext == ".ppsx" || ext == ".potx";
}

}  // namespace

std::optional<Shard> parseShard(std::string_view text) {
    const auto slash = text.find('/');
    if (slash == std::string_view::npos) return std::nullopt;
    const auto index = parseInt64(text.substr(0, slash));
    const auto count = parseInt64(text.substr(slash + 1));
    if (!index || !count || *count < 1 || *index < 0 || *index >= *count) return std::nullopt;
    return Shard{*index, *count};
}

std::vector<std::filesystem::path> collectDecks(const std::vector<std::filesystem::path>& paths) {
    std::set<std::filesystem::path> decks;
    for (const auto& path : paths) {
        std::error_code ec;
        const auto status = std::filesystem::status(path, ec);
        if (ec || !std::filesystem::exists(status)) throw FileError("find", path.string(), ENOENT);
        if (!std::filesystem::is_directory(status)) {
            decks.insert(path.lexically_normal());
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            if (entry.is_regular_file() && isDeck(entry.path())) decks.insert(entry.path().lexically_normal());
        }
    }
    return {decks.begin(), decks.end()};
}

std::vector<Item> plan(const std::vector<std::filesystem::path>& decks, const std::filesystem::path& outDir,
                       Shard shard) {
    std::map<std::string, int> taken;
    std::vector<Item> items;
    for (std::size_t i = 0; i < decks.size(); ++i) {
        const std::string stem = decks[i].stem().string();
        const int n = ++taken[stem];
        const auto dir = outDir.empty() ? decks[i].parent_path() : outDir;
        const auto package = dir / (n == 1 ? stem + ".orv" : stem + "-" + std::to_string(n) + ".orv");
        if (static_cast<std::int64_t>(i % static_cast<std::size_t>(shard.count)) == shard.index) {
            items.push_back({decks[i], package});
        }
    }
    return items;
}

int defaultJobs() {
    const auto cores = static_cast<std::int64_t>(std::thread::hardware_concurrency());
    const std::int64_t byCores = std::max<std::int64_t>(1, cores / 2);
    const std::int64_t perExport = std::int64_t{1} << 30;
    const auto memory = SystemMemory::available();
    const std::int64_t byMemory = memory ? std::max<std::int64_t>(1, *memory / perExport) : byCores;
    return static_cast<int>(std::min(byCores, byMemory));
}

std::vector<Outcome> run(const std::vector<Item>& items, const Options& options) {
    std::vector<Outcome> outcomes(items.size());
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < items.size(); i = next++) {
            Outcome& outcome = outcomes[i];
            outcome.deck = items[i].deck;
            outcome.package = items[i].package;
            const auto start = std::chrono::steady_clock::now();
            try {
                if (options.cancel && options.cancel->isCancelled()) throw CancelledError();
                const auto renderer = options.makeRenderer(items[i].deck);
                RenderHooks hooks;
                if (options.progress) {
                    hooks.progress = [&, i](ExportStage stage, double f) { options.progress(i, stage, f); };
                }
                hooks.cancel = options.cancel;
                hooks.reused = [&outcome](int reused, int slides) {
                    outcome.reusedSlides = reused;
                    outcome.movieSlides = slides;
                };
                const auto result = OrvExporter::export_(items[i].deck, std::nullopt, items[i].package, options.videoMs,
                                                         options.gifMs, std::chrono::system_clock::now(),
                                                         options.source, options.pluginVersion, {}, *renderer, hooks,
                                                         {}, LengthRules::Unused::ignore);
                outcome.warnings = result.warnings;
                outcome.cues = result.cueCount;
                outcome.movieMs = result.masterVideoDurationMs;
                outcome.ok = true;
            } catch (const std::exception& e) {
                outcome.error = describe(e);
            }
            outcome.wall = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                                 start);
            if (options.finished) options.finished(i, outcome);
        }
    };
    const int jobs = std::max(1, std::min<int>(options.jobs, static_cast<int>(items.size())));
    std::vector<std::thread> workers;
    for (int k = 1; k < jobs; ++k) workers.emplace_back(work);
    work();
    for (auto& w : workers) w.join();
    return outcomes;
}

}  // namespace orvandel::BatchExport
