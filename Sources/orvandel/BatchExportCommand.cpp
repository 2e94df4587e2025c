#include "BatchExportCommand.hpp"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <chrono>
#include <iomanip>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Cli.hpp"
#include "DeckConversion.hpp"
#include "Interrupt.hpp"
#include "RendererChoice.hpp"
#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "base/ProgressEstimate.hpp"
#include "base/TemporaryDirectory.hpp"
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
        // Each deck's whole export as one share and its time left, as for one deck.
        const std::int64_t now = nowMs();
        auto& estimate = estimates_.try_emplace(deck, now).first->second;
        estimate.report(stage, fraction, now);
        running_[deck] = progressText(estimate.permille(), stageName(stage), estimate.remainingMs(now));
        redraw({});
    }
    void finished(const std::string& deck, const std::string& line) {
        std::lock_guard lock(mutex_);
        running_.erase(deck);
        estimates_.erase(deck);
        redraw(line);
    }

private:
    static std::int64_t nowMs() {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }

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
    std::map<std::string, ProgressEstimate> estimates_;
    std::size_t shown_ = 0;
};

// Why a file in a folder of decks is not exported; nothing when it is a deck.
std::optional<std::string> whySkipped(const std::filesystem::path& file) {
    const std::string name = file.filename().string();
    // What PowerPoint keeps beside a deck that is open: no deck.
    if (name.rfind("~$", 0) == 0) return "an Office lock file";
    const std::string extension = asciiLowercased(file.extension().string());
    switch (DeckConversion::kindOf(file)) {
        case DeckConversion::Kind::pdf: return "a PDF has no slides to animate: export the deck itself";
        case DeckConversion::Kind::convertible: return std::nullopt;
        case DeckConversion::Kind::pptx: break;
    }
    if (extension == ".pptx" || extension == ".ppsx" || extension == ".potx" || extension == ".pptm") {
        return std::nullopt;
    }
    return "not a deck (.pptx, .ppsx, .potx, .ppt, .pps, .odp, .key)";
}

// The decks the paths name: a file as it is, the decks in a folder (not its
// subfolders); every other file of a folder is said on `err` with why.
std::vector<std::filesystem::path> decksIn(const std::vector<std::string>& paths, std::ostream& err) {
    std::vector<std::filesystem::path> files;
    for (const std::filesystem::path path : paths) {
        std::error_code ec;
        if (!std::filesystem::is_directory(path, ec)) {
            files.push_back(path);
            continue;
        }
        std::vector<std::filesystem::path> entries;
        for (const auto& entry : std::filesystem::directory_iterator(path)) entries.push_back(entry.path());
        std::sort(entries.begin(), entries.end());
        for (const auto& entry : entries) {
            if (std::filesystem::is_directory(entry, ec)) continue;
            if (const auto why = whySkipped(entry)) {
                err << "skipped " << entry.filename().string() << ": " << *why << "\n";
            } else {
                files.push_back(entry);
            }
        }
    }
    return BatchExport::collectDecks(files);
}

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
    const auto decks = decksIn(options.decks, err);
    if (!options.outDir.empty()) std::filesystem::create_directories(options.outDir);
    auto items = BatchExport::plan(decks, options.outDir, *shard);

    InterruptGuard interrupt;
    // Decks in other formats are converted first, each to a .pptx copy in a
    // folder of its own that goes when the batch ends; their packages keep
    // the names and places planned for the decks themselves.
    const TemporaryDirectory scratch(std::filesystem::temp_directory_path(), "orvandel-batch-");
    std::map<std::filesystem::path, std::filesystem::path> originalOf;
    std::vector<BatchExport::Outcome> notConverted;
    for (std::size_t i = 0; i < items.size();) {
        const auto deck = items[i].deck;
        if (DeckConversion::kindOf(deck) == DeckConversion::Kind::pptx) {
            ++i;
            continue;
        }
        try {
            err << "converting " << deck.filename().string() << " to .pptx\n" << std::flush;
            const auto copy = DeckConversion::toPptx(deck, scratch.path() / std::to_string(i), interrupt.token());
            originalOf[copy] = deck;
            items[i].deck = copy;
            ++i;
        } catch (const CancelledError&) {
            if (!interrupt.signal()) throw;
            err << "orvandel: interrupted; nothing was written\n";
            return interrupt.exitStatus();
        } catch (const std::exception& e) {
            BatchExport::Outcome failed{.deck = deck, .package = items[i].package, .error = describe(e)};
            err << "FAILED  " << deck.filename().string() << ": " << failed.error << "\n";
            notConverted.push_back(std::move(failed));
            items.erase(items.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    const auto shownName = [&](const std::filesystem::path& deck) {
        const auto original = originalOf.find(deck);
        return (original == originalOf.end() ? deck : original->second).filename().string();
    };
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
        progress.update(shownName(items[i].deck), stage, f);
    };
    // A converted deck's outcome names the deck given, and says it was converted.
    const auto asGiven = [&](BatchExport::Outcome& o) {
        if (const auto original = originalOf.find(o.deck); original != originalOf.end()) {
            o.deck = original->second;
            o.warnings.insert(o.warnings.begin(),
                              Warning::deckConverted(o.deck.filename().string(),
                                                     asciiLowercased(o.deck.extension().string().substr(1))));
        }
    };
    run.finished = [&](std::size_t i, const BatchExport::Outcome& given) {
        BatchExport::Outcome o = given;
        asGiven(o);
        std::string line = (o.ok ? "done    " : "FAILED  ") + o.deck.filename().string() +
                           (o.ok ? " -> " + o.package.string() : ": " + o.error) +
                           (o.ok && o.reusedSlides > 0 ? " (reused " + formatInt(o.reusedSlides) + " of " +
                                                             formatInt(o.movieSlides) + " slides from the cache)"
                                                       : "");
        for (const auto& w : o.warnings) line += "\n        warning: " + w.text;
        progress.finished(shownName(items[i].deck), line);
    };
    err << "exporting " << items.size() << " of " << decks.size() << " decks, "
        << std::min<std::size_t>(run.jobs, items.size()) << " at a time\n";
    auto outcomes = BatchExport::run(items, run);
    for (auto& o : outcomes) asGiven(o);
    outcomes.insert(outcomes.end(), notConverted.begin(), notConverted.end());

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
