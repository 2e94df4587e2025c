#include "BatchExportCommand.hpp"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <iomanip>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Cli.hpp"
#include "Interrupt.hpp"
#include "RendererChoice.hpp"
#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "package/BatchExport.hpp"

namespace orvandel::cli {

namespace {

// The running decks' lines, redrawn in place under the lines of the decks
// that have finished, when standard error is a terminal; otherwise only the
// finished lines. Called from the export threads.
class BatchProgress {
public:
    explicit BatchProgress(std::ostream& err) : err_(err), live_(::isatty(STDERR_FILENO) == 1) {}

    void update(const std::string& deck, ExportStage stage, double fraction) {
        std::lock_guard lock(mutex_);
        running_[deck] = stageName(stage) + (fraction >= 0
                                                 ? " " + std::to_string(static_cast<int>(fraction * 100 + 0.5)) + "%"
                                                 : std::string("..."));
        redraw({});
    }
    void finished(const std::string& deck, const std::string& line) {
        std::lock_guard lock(mutex_);
        running_.erase(deck);
        redraw(line);
    }

private:
    void redraw(const std::string& permanent) {
        if (!live_) {
            if (!permanent.empty()) err_ << permanent << "\n" << std::flush;
            return;
        }
        // Back to the top of the block, then every line anew.
        if (shown_ > 0) err_ << "\x1b[" << shown_ << "F";
        err_ << "\x1b[J";
        if (!permanent.empty()) err_ << permanent << "\n";
        for (const auto& [deck, status] : running_) err_ << "  " << deck << ": " << status << "\n";
        shown_ = running_.size();
        err_ << std::flush;
    }

    std::ostream& err_;
    bool live_;
    std::mutex mutex_;
    std::map<std::string, std::string> running_;
    std::size_t shown_ = 0;
};

std::string seconds(std::int64_t ms) { return msAsDecimalSeconds(ms); }

// "99/100" where the cache saved work, else "-".
std::string reused(const BatchExport::Outcome& o) {
    return o.ok && o.reusedSlides > 0 ? formatInt(o.reusedSlides) + "/" + formatInt(o.movieSlides) : "-";
}

std::string summaryTable(const std::vector<BatchExport::Outcome>& outcomes) {
    std::ostringstream table;
    table << std::left << std::setw(32) << "deck" << std::setw(8) << "cues" << std::setw(12) << "movie (s)"
          << std::setw(10) << "wall (s)" << std::setw(10) << "reused"
          << "result\n";
    for (const auto& o : outcomes) {
        table << std::setw(32) << o.deck.filename().string() << std::setw(8) << (o.ok ? formatInt(o.cues) : "-")
              << std::setw(12) << (o.ok ? seconds(o.movieMs) : "-") << std::setw(10)
              << seconds(static_cast<std::int64_t>(o.wall.count())) << std::setw(10) << reused(o)
              << (o.ok ? "ok: " + o.package.string() : o.error) << "\n";
    }
    return table.str();
}

nlohmann::ordered_json summaryJson(const std::vector<BatchExport::Outcome>& outcomes) {
    auto array = nlohmann::ordered_json::array();
    for (const auto& o : outcomes) {
        // File names are bytes, JSON is UTF-8: other bytes show as U+FFFD (the
        // error is already UTF-8, see describe).
        nlohmann::ordered_json row;
        row["deck"] = repairedUtf8(o.deck.string());
        row["package"] = repairedUtf8(o.package.string());
        row["ok"] = o.ok;
        row["error"] = o.ok ? nlohmann::ordered_json() : nlohmann::ordered_json(o.error);
        row["cues"] = o.cues;
        row["movieMs"] = o.movieMs;
        row["wallMs"] = static_cast<std::int64_t>(o.wall.count());
        row["reusedSlides"] = o.reusedSlides;
        auto warnings = nlohmann::ordered_json::array();
        for (const auto& w : o.warnings) warnings.push_back(repairedUtf8(w.text));
        row["warnings"] = std::move(warnings);
        array.push_back(std::move(row));
    }
    return array;
}

}  // namespace

int runBatchExport(const BatchExportOptions& options, std::ostream& out, std::ostream& err) {
    std::optional<BatchExport::Shard> shard = BatchExport::Shard{};
    if (!options.shard.empty()) {
        shard = BatchExport::parseShard(options.shard);
        if (!shard)
            throw CLI::ValidationError("--shard", "expected I/N with 0 <= I < N, got \"" + options.shard + "\"");
    }
    std::vector<std::filesystem::path> paths(options.decks.begin(), options.decks.end());
    const auto decks = BatchExport::collectDecks(paths);
    if (!options.outDir.empty()) std::filesystem::create_directories(options.outDir);
    const auto items = BatchExport::plan(decks, options.outDir, *shard);

    InterruptGuard interrupt;
    BatchProgress progress(err);
    BatchExport::Options run;
    run.jobs = options.jobs > 0 ? options.jobs : BatchExport::defaultJobs();
    run.videoMs = parseSlideDurations(options.video, "--video");
    run.gifMs = parseSlideDurations(options.gif, "--gif");
    run.source = "orvandel-cli";
    run.pluginVersion = std::string("orvandel-core/") + ORVANDEL_VERSION;
    const auto renderer = *RendererChoice::fromName(options.renderer);
    const RendererChoice::Settings settings{.drawEffects = options.effects == "draw",
                                            .allowLinksOutside = options.allowLinksOutside,
                                            .maxMemory = options.maxMemory
                                                             ? options.maxMemory
                                                             : RendererChoice::defaultMemoryLimit(run.jobs),
                                            .cache = options.cache,
                                            .video = options.videoSettings};
    run.makeRenderer = [renderer, settings](const std::filesystem::path& deck) {
        return RendererChoice::make(renderer, deck, settings);
    };
    run.cancel = interrupt.token();
    run.progress = [&](std::size_t i, ExportStage stage, double f) {
        progress.update(items[i].deck.filename().string(), stage, f);
    };
    run.finished = [&](std::size_t i, const BatchExport::Outcome& o) {
        std::string line = (o.ok ? "done    " : "FAILED  ") + o.deck.filename().string() +
                           (o.ok ? " -> " + o.package.string() : ": " + o.error) +
                           (o.ok && o.reusedSlides > 0 ? " (reused " + formatInt(o.reusedSlides) + " of " +
                                                             formatInt(o.movieSlides) + " slides from the cache)"
                                                       : "");
        for (const auto& w : o.warnings) line += "\n        warning: " + w.text;
        progress.finished(items[i].deck.filename().string(), line);
    };
    err << "exporting " << items.size() << " of " << decks.size() << " decks, "
        << std::min<std::size_t>(run.jobs, items.size()) << " at a time\n";
    const auto outcomes = BatchExport::run(items, run);

    if (interrupt.signal()) {
        err << "orvandel: interrupted; the decks that had not finished wrote nothing\n";
        return interrupt.exitStatus();
    }
    if (options.json) {
        out << summaryJson(outcomes).dump(2) << "\n";
    } else {
        out << summaryTable(outcomes);
    }
    const bool anyFailed = std::any_of(outcomes.begin(), outcomes.end(), [](const auto& o) { return !o.ok; });
    return anyFailed ? kExitFailure : kExitOk;
}

}  // namespace orvandel::cli
