#include <CLI/CLI.hpp>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>

#include "BatchExportCommand.hpp"
#include "Cli.hpp"
#include "Commands.hpp"
#include "DeckConversion.hpp"
#include "Interrupt.hpp"
#include "LessonLabels.hpp"
#include "RendererChoice.hpp"
#include "VideoOptions.hpp"
#include "base/ByteSize.hpp"
#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "base/ProgressEstimate.hpp"
#include "base/TemporaryDirectory.hpp"
#include "deck/SlideTitles.hpp"
#include "encode/MovieChapters.hpp"
#include "package/H5pPackage.hpp"
#include "package/ManifestReader.hpp"
#include "package/OrvExporter.hpp"
#include "package/PreviewPage.hpp"
#include "package/ScormPackage.hpp"

namespace orvandel::cli {

namespace {

struct ExportOptions {
    std::vector<std::string> decks;  // one deck, or several decks and folders (a batch)
    std::string outDir;
    int jobs = 0;
    std::string shard;
    bool json = false;
    std::string deck;
    std::string output;
    std::string mp4;
    std::vector<std::string> video;
    std::vector<std::string> gif;
    std::string renderer = "auto";
    std::string effects = "draw";
    bool chapters = false;
    bool preview = false;
    bool scorm = false;
    bool withNotes = false;
    bool h5p = false;
    bool allowLinksOutside = false;
    std::string maxMemory;                       // as given
    std::optional<std::int64_t> maxMemoryBytes;  // as read, by dispatchExport
    std::string cacheDir;
    bool noCache = false;
    std::string cacheMax;         // as given
    RendererChoice::Cache cache;  // as read, by dispatchExport
    VideoSettings videoSettings;
};

std::string joinNumbers(const std::vector<std::int64_t>& v) {
    std::string s;
    for (std::size_t i = 0; i < v.size(); ++i) s += (i ? ", " : "") + formatInt(v[i]);
    return s;
}

// One line on standard error, redrawn in place, when it is a terminal: the
// whole export's share done, the current stage and the time left.
class ProgressLine {
public:
    explicit ProgressLine(std::ostream& err) : err_(err), enabled_(::isatty(STDERR_FILENO) == 1), estimate_(nowMs()) {}
    ~ProgressLine() { finish(); }

    bool enabled() const { return enabled_; }

    void update(ExportStage stage, double fraction) {
        const std::int64_t now = nowMs();
        estimate_.report(stage, fraction, now);
        if (!enabled_) return;
        const std::string line = "  " +
                                 progressText(estimate_.permille(), stageName(stage), estimate_.remainingMs(now));
        if (line == line_) return;
        err_ << "\r" << line << std::string(width_ > line.size() ? width_ - line.size() : 0, ' ') << std::flush;
        width_ = line.size();
        line_ = line;
        shown_ = true;
    }
    void finish() {
        if (shown_) err_ << "\r" << std::string(width_, ' ') << "\r" << std::flush;
        shown_ = false;
        line_.clear();
    }

private:
    static std::int64_t nowMs() {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }

    std::ostream& err_;
    bool enabled_;
    ProgressEstimate estimate_;
    bool shown_ = false;
    std::string line_;
    std::size_t width_ = 0;
};

int runExport(const ExportOptions& options, std::ostream& out, std::ostream& err) {
    const auto videoMs = parseSlideDurations(options.video, "--video");
    const auto gifMs = parseSlideDurations(options.gif, "--gif");
    const std::filesystem::path deck = options.deck;
    // A deck in another format is read from a .pptx copy in a folder of its
    // own, which goes however the export ends; the package is still named
    // after the deck and goes beside it, and its links point from its folder.
    InterruptGuard interrupt;
    std::optional<TemporaryDirectory> scratch;
    std::filesystem::path readable = deck;
    if (DeckConversion::kindOf(deck) != DeckConversion::Kind::pptx) {
        if (DeckConversion::kindOf(deck) == DeckConversion::Kind::convertible) {
            scratch.emplace(std::filesystem::temp_directory_path(), "orvandel-convert-");
            if (::isatty(STDERR_FILENO) == 1)
                err << "  converting " << deck.filename().string() << " to .pptx...\r" << std::flush;
        }
        try {
            readable = DeckConversion::toPptx(deck, scratch ? scratch->path() : std::filesystem::path(),
                                              interrupt.token());
        } catch (const CancelledError&) {
            if (!interrupt.signal()) throw;
            err << "\norvandel: interrupted; nothing was written\n";
            return interrupt.exitStatus();
        }
        err << "warning: "
            << Warning::deckConverted(deck.filename().string(), asciiLowercased(deck.extension().string().substr(1)))
                   .text
            << "\n";
    }
    // One reading of the deck serves the check and the export.
    DeckModel model{readable};
    checkSlidesExist(videoMs, gifMs, model);
    std::filesystem::path destination = options.output;
    if (destination.empty()) destination = std::filesystem::path(deck).replace_extension(".orv");
    checkFolderExists(destination, "-o");
    std::optional<std::filesystem::path> movie;
    if (!options.mp4.empty()) movie = options.mp4;
    const auto renderer = RendererChoice::make(*RendererChoice::fromName(options.renderer), deck,
                                               {.drawEffects = options.effects == "draw",
                                                .allowLinksOutside = options.allowLinksOutside,
                                                .maxMemory = options.maxMemoryBytes,
                                                .cache = options.cache,
                                                .video = options.videoSettings});

    // The preview comes after minutes of rendering: its folder is checked first.
    if (options.preview) PreviewPage::checkFolder(PreviewPage::defaultFolder(destination));
    if (options.scorm) ScormPackage::checkDestination(ScormPackage::defaultPath(destination), destination);
    if (options.h5p) H5pPackage::checkDestination(H5pPackage::defaultPath(destination), destination);

    ProgressLine line(err);
    RenderHooks hooks{[&](ExportStage stage, double f) { line.update(stage, f); }, interrupt.token(),
                      [&, print = printWarnings(err)](const Warning& w) {
                          line.finish();
                          print(w);
                      },
                      // A progress note like the others: where progress shows, and only when it saved work.
                      [&](int reused, int slides) {
                          if (!line.enabled() || reused <= 0) return;
                          line.finish();
                          err << "reused " << reused << " of " << slides << " slides from the cache\n";
                      }};
    // The chapters the export lays out say where each slide appears and its
    // title, which the pages' outline and the H5P's bookmarks need; without
    // --chapters they stay out of the movie.
    std::vector<Chapter> slideChapters;
    ChapterWriter chapterWriter;
    if (options.chapters || options.preview || options.scorm || options.h5p) {
        chapterWriter = [&](const std::filesystem::path& in, const std::vector<Chapter>& chapters,
                            const std::filesystem::path& to, const RenderHooks& h) {
            slideChapters = chapters;
            if (options.chapters) return MovieChapters::embed(in, chapters, to, h);
            std::error_code linkError;
            std::filesystem::create_hard_link(in, to, linkError);
            if (linkError) std::filesystem::copy_file(in, to);
        };
    }
    OrvExporter::Result result;
    try {
        result = OrvExporter::export_(model, movie, destination, videoMs, gifMs, std::chrono::system_clock::now(),
                                      "orvandel-cli", std::string("orvandel-core/") + ORVANDEL_VERSION, {}, *renderer,
                                      hooks, chapterWriter);
    } catch (...) {
        line.finish();
        // Whatever the stage noticed first, an interrupt is reported as one.
        if (interrupt.signal()) {
            err << "orvandel: interrupted; nothing was written\n";
            return interrupt.exitStatus();
        }
        throw;
    }
    // The pages' labels come from the deck, their slides start where the export laid them out.
    const auto outline = [&](const LessonPackage::Lesson& lesson) {
        return LessonOutline::fromDeck(model, lesson.cues, slideChapters);
    };
    // What goes beside the package comes after it: a failure there leaves the package.
    const auto beside = [&](const char* what, const std::function<void()>& write) -> std::optional<int> {
        try {
            write();
        } catch (...) {
            line.finish();
            err << "orvandel: the package was written to " << destination.string() << ", " << what << " was not\n";
            if (interrupt.signal()) return interrupt.exitStatus();
            throw;
        }
        return std::nullopt;
    };
    std::optional<int> status;
    if (options.preview) {
        status = beside("the preview", [&] {
            PreviewPage::write(destination, PreviewPage::defaultFolder(destination), {.withNotes = options.withNotes},
                               outline, hooks);
        });
    }
    if (!status && options.scorm) {
        status = beside("the SCORM package", [&] {
            ScormPackage::write(destination, ScormPackage::defaultPath(destination),
                                {.withNotes = options.withNotes, .outline = outline}, hooks);
        });
    }
    if (!status && options.h5p) {
        status = beside("the H5P", [&] {
            H5pPackage::write(destination, H5pPackage::defaultPath(destination), slideChapters,
                              SlideTitles::titlesBySlide(model), hooks);
        });
    }
    if (status) return *status;
    line.finish();

    out << "Package written to " << destination.string() << "\n";
    try {
        const auto probe = ManifestReader::read(destination);
        out << "  cues: " << probe.cues.size() << "\n";
        out << "  movie length: " << formatFixed(probe.masterVideoDuration, 3) << " s\n";
    } catch (const std::exception& e) {
        out << "  (could not read the package back: " << e.what() << ")\n";
    }
    if (!result.convertedOnClickVideoSlides.empty()) {
        out << "  videos that waited for a click now play by themselves on slides "
            << joinNumbers(result.convertedOnClickVideoSlides) << "\n";
    }
    if (!result.slidesWithExitEffects.empty()) {
        out << "  exit effects play by themselves on slides " << joinNumbers(result.slidesWithExitEffects) << "\n";
    }
    out << "  most bullets on one slide: " << result.maxBulletsPerSlide << "\n";
    if (options.preview) {
        out << "Preview written to " << (PreviewPage::defaultFolder(destination) / PreviewPage::kPage).string() << " "
            << notesNote(options.withNotes) << "\n";
    }
    if (options.scorm) out << "SCORM package written to " << ScormPackage::defaultPath(destination).string() << "\n";
    if (options.h5p) out << "H5P written to " << H5pPackage::defaultPath(destination).string() << "\n";
    return kExitOk;
}

}  // namespace

// Several decks, a folder or the batch options make a batch; with a batch, -o
// and --mp4 (one package, one movie) make no sense.
int dispatchExport(ExportOptions& options, std::ostream& out, std::ostream& err) {
    // A usage error before any work.
    if (!options.maxMemory.empty()) options.maxMemoryBytes = parseMemorySize(options.maxMemory, "--max-memory");
    options.cache = {.enabled = !options.noCache, .folder = options.cacheDir};
    if (!options.cacheMax.empty()) {
        options.cache.maxBytes = parseByteSize(options.cacheMax);
        if (!options.cache.maxBytes) {
            throw CLI::ValidationError("--cache-max", "expected a size such as 2G, 500M or 1073741824, got \"" +
                                                          options.cacheMax + "\"");
        }
    }
    const bool batch = options.decks.size() > 1 || std::filesystem::is_directory(options.decks.front()) ||
                       !options.outDir.empty() || !options.shard.empty() || options.json || options.jobs > 0;
    if (batch) {
        if (!options.output.empty() || !options.mp4.empty()) {
            throw CLI::ValidationError(!options.output.empty() ? "-o" : "--mp4",
                                       "names one package or one movie; it cannot go with several decks, a folder "
                                       "or the batch options (--out-dir, -j, --shard, --json)");
        }
        if (options.chapters || options.preview || options.scorm || options.h5p || options.withNotes) {
            throw CLI::ValidationError(options.chapters  ? "--chapters"
                                       : options.preview ? "--preview"
                                       : options.scorm   ? "--scorm"
                                       : options.h5p     ? "--h5p"
                                                         : "--with-notes",
                                       "is for one deck at a time; a batch (several decks, a folder, --out-dir, -j, "
                                       "--shard, --json) does not take it");
        }
        return runBatchExport({options.decks, options.outDir, options.jobs, options.shard, options.json, options.video,
                               options.gif, options.renderer, options.effects, options.allowLinksOutside,
                               options.maxMemoryBytes, options.cache, options.videoSettings},
                              out, err);
    }
    if (options.withNotes && !options.preview && !options.scorm) {
        throw CLI::ValidationError("--with-notes", "goes with --preview or --scorm: the package itself always holds "
                                                   "the notes");
    }
    if (const std::string problem = RegularFile(options.decks.front()); !problem.empty()) {
        throw CLI::ValidationError("DECK", problem);
    }
    options.deck = options.decks.front();
    return runExport(options, out, err);
}

void setupExportCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto options = std::make_shared<ExportOptions>();
    auto* cmd = app.add_subcommand(
        "export",
        "Turn a deck into a lesson package (.orv): prepare a self-playing copy, render it to one movie, compute "
        "the cue of every slide and bullet, and write manifest.json and assets/master.mp4.");
    cmd->add_option("DECK", options->decks,
                    "the deck (.pptx; a .ppt, .pps, .odp or .key deck is converted first); several decks or folders "
                    "of decks export them all (a batch)")
        ->required();
    cmd->add_option("--out-dir", options->outDir,
                    "batch: where the packages go (default: beside each deck); a name taken twice gets -2, -3...")
        ->type_name("DIR");
    cmd->add_option("-j,--jobs", options->jobs,
                    "batch: how many decks at once (default: one for every two cores, each with 1 GiB of free "
                    "memory)")
        ->check(CLI::Range(1, 64));
    cmd->add_option("--shard", options->shard,
                    "batch: export only share I of N (I from 0) of the sorted deck list, so that N machines share "
                    "a course")
        ->type_name("I/N");
    cmd->add_flag("--json", options->json, "batch: print the summary as JSON");
    cmd->add_option("-o,--output", options->output, "where the package goes (default: the deck's name with .orv)")
        ->type_name("FILE");
    cmd->add_option("--mp4", options->mp4,
                    "a movie of the deck rendered by hand; the deck is then neither prepared nor rendered")
        ->check(RegularFile);
    addSlideDurationOptions(*cmd, options->video, options->gif);
    addLargestPartOption(*cmd);
    addVideoOptions(*cmd, options->videoSettings);
    cmd->add_option("--renderer", options->renderer,
                    "who renders the movie: libreoffice (headless, this machine), powerpoint (PowerPoint for Mac) "
                    "or auto (PowerPoint where it is installed, else LibreOffice)")
        ->check(CLI::IsMember({"auto", "libreoffice", "powerpoint"}));
    cmd->add_option("--effects", options->effects,
                    "how the headless movie shows animations and slide transitions: draw (default) animates them "
                    "over their durations; cut switches at once (faster)")
        ->check(CLI::IsMember({"cut", "draw"}));
    cmd->add_flag("--allow-links-outside", options->allowLinksOutside,
                  "also read linked pictures and media that lie outside the deck's folder (by default they keep "
                  "their poster and a warning says so). Unsafe on a server that exports decks sent by others: a "
                  "deck could then put any file the server can read into its movie. URLs are never fetched");
    cmd->add_option("--max-memory", options->maxMemory,
                    "the most memory LibreOffice may take while it draws the slides, as bytes or with K, M or G "
                    "(2G, 1500M); beyond it the export stops with an error (default: half the machine's memory, "
                    "shared among the decks of a batch)")
        ->type_name("SIZE");
    auto* cacheDir =
        cmd->add_option("--cache-dir", options->cacheDir,
                        "where the stills and encoded slides of earlier exports are kept, so that a re-export "
                        "draws and encodes only the slides that changed (default: $XDG_CACHE_HOME/orvandel, else "
                        "~/.cache/orvandel)")
            ->type_name("DIR");
    auto* cacheMax = cmd->add_option("--cache-max", options->cacheMax,
                                     "how much the cache may hold, as bytes or with K, M or G (500M, 2G); the "
                                     "least recently used go first (default: $ORVANDEL_CACHE_MAX, else 2G)")
                         ->type_name("SIZE");
    cmd->add_flag("--no-cache", options->noCache, "neither reuse nor keep anything: render every slide anew")
        ->excludes(cacheDir)
        ->excludes(cacheMax);
    cmd->add_flag("--chapters", options->chapters,
                  "put one chapter per visible slide, titled with the slide's title, into the movie (players such "
                  "as VLC and mpv list them); needs ffmpeg");
    cmd->add_flag("--preview", options->preview,
                  "also write the preview page beside the package, in a folder named after it (aula.orv: "
                  "aula-preview/index.html; see 'orvandel preview --help')");
    cmd->add_flag("--scorm", options->scorm,
                  "also write the SCORM 1.2 package for an LMS beside the package (aula.orv: aula-scorm.zip; see "
                  "'orvandel scorm --help')");
    cmd->add_flag("--with-notes", options->withNotes,
                  "with --preview or --scorm: also show the speaker notes of the visible slides on the page (they "
                  "are left out by default; a hidden slide's never appear)");
    cmd->add_flag("--h5p", options->h5p,
                  "also write the lesson as an H5P Interactive Video beside the package (aula.orv: aula.h5p), "
                  "with the slides' titles from the deck; see 'orvandel h5p --help'");
    cmd->footer("Examples:\n  orvandel export aula.pptx --gif 4:3000\n"
                "  orvandel export aula.pptx -o aula.orv --mp4 aula-gravada.mp4\n"
                "  orvandel export aula.pptx --chapters --preview\n"
                "  orvandel export curso/ --out-dir pacotes/ -j 2\n"
                "  orvandel export curso/ --out-dir /dados/pacotes --shard 0/3 --json\n");
    cmd->callback([&action, &out, &err, options] {
        action = [&out, &err, options] { return dispatchExport(*options, out, err); };
    });
}

}  // namespace orvandel::cli
