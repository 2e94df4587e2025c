#include "ExportSession.hpp"

#include <algorithm>
#include <chrono>

#include "ExportCoordinator.hpp"
#include "ExportCopy.hpp"
#include "ExportProgress.hpp"
#include "GifDurations.hpp"
#include "deck/DeckScanner.hpp"

namespace orvandel {

namespace {

// What the package's manifest says made it; the version comes from the build.
const char* const kSource = "orvandel-plugin";
const char* const kPluginVersion = ORVANDEL_PLUGIN_VERSION;

}  // namespace

ExportSession::ExportSession(RendererChoice::Renderer renderer, std::shared_ptr<const Mp4Exporting> exporter,
                             QObject* parent)
    : QObject(parent),
      renderer_(RendererChoice::resolve(renderer)),
      exporter_(std::move(exporter)),
      scan_(this, [this](const ScanRun& run) { scanFinished(run); }),
      export_(this, [this](const ExportRun& run) { exportFinished(run); }) {
    connect(this, &ExportSession::stageReported, this, &ExportSession::showStage, Qt::QueuedConnection);
    connect(this, &ExportSession::reuseReported, this, &ExportSession::showReuse, Qt::QueuedConnection);
    connect(&ExportCoordinator::shared(), &ExportCoordinator::changed, this, &ExportSession::changed);
}

ExportSession::~ExportSession() {
    disconnect(&ExportCoordinator::shared(), nullptr, this, nullptr);
    // A worker must not outlive the session: the export stops its child
    // processes and removes its work directory as it unwinds.
    exportCancel_.cancel();
    export_.wait();
    scan_.wait();
    if (isExporting_) {
        // Whatever waited for this export (a pending quit) goes with the session.
        ExportCoordinator::shared().setOnFinish(nullptr);
        ExportCoordinator::shared().end();
    }
}

std::filesystem::path ExportSession::outputPath(const std::filesystem::path& deck) {
    return std::filesystem::path(deck).replace_extension(".orv");
}

void ExportSession::chooseDeck(const std::filesystem::path& deck) {
    if (isExporting_) return;
    deckPath_ = deck;
    gifSlides_.clear();
    gifDurations_.clear();
    multiVideoSlides_.clear();
    scanError_.reset();
    outcome_.reset();
    isScanning_ = true;
    emit changed();
    // A scan still running for an earlier deck finishes first; its result is dropped.
    scan_.start([deck] {
        ScanRun run;
        try {
            run.reports = DeckScanner::report(deck, {}, {});
        } catch (...) {
            run.error = std::current_exception();
        }
        return run;
    });
}

void ExportSession::scanFinished(const ScanRun& run) {
    if (run.error) {
        scanError_ = ExportCopy::errorMessage(run.error, renderer_);
    } else {
        for (const auto& report : run.reports) {
            if (report.hasGif && !report.isHidden) gifSlides_.push_back(report.displayIndex);
        }
        std::sort(gifSlides_.begin(), gifSlides_.end());
        multiVideoSlides_ = DeckScanner::validateMedia(run.reports).slidesWithMultipleVideos;
        std::sort(multiVideoSlides_.begin(), multiVideoSlides_.end());
    }
    isScanning_ = false;
    emit scanned();
    emit changed();
}

QString ExportSession::typeDuration(std::int64_t slide, const QString& typed) {
    QString kept = GifDurations::keepNumbers(typed);
    gifDurations_[slide] = kept;
    emit changed();
    return kept;
}

bool ExportSession::canExport() const {
    if (!deckPath_ || isBusy() || !multiVideoSlides_.empty()) return false;
    return std::all_of(gifSlides_.begin(), gifSlides_.end(), [this](std::int64_t slide) {
        const auto typed = gifDurations_.find(slide);
        return typed != gifDurations_.end() && GifDurations::seconds(typed->second).has_value();
    });
}

bool ExportSession::startExport(const std::optional<std::filesystem::path>& to) {
    if (!canExport()) return false;
    const auto deck = *deckPath_;
    const auto destination = to.value_or(outputPath(deck));
    destination_ = destination;
    SlideDurations gifMs;
    for (const auto slide : gifSlides_) gifMs[slide] = *GifDurations::seconds(gifDurations_[slide]) * 1000;

    isExporting_ = true;
    outcome_.reset();
    stageLine_.reset();
    reuseLine_.reset();
    progressPermille_ = -1;
    exportCancel_ = CancellationToken();
    ExportCoordinator::shared().begin([token = exportCancel_] { token.cancel(); });
    emit exportStarted();
    emit changed();

    // Throttled to what the window can show: a new stage or a new thousandth.
    struct Shown {
        std::optional<ExportStage> stage;
        int permille = -1;
    };
    auto shown = std::make_shared<Shown>();
    RenderHooks hooks{[this, shown](ExportStage stage, double fraction) {
                          const int permille = ExportProgress::permille(stage, fraction).value_or(-1);
                          if (stage == shown->stage && permille == shown->permille) return;
                          shown->stage = stage;
                          shown->permille = permille;
                          emit stageReported(stage, fraction);
                      },
                      exportCancel_,
                      {},
                      [this](int reused, int slides) { emit reuseReported(reused, slides); }};
    // One renderer per export, made for its deck (media linked beside the deck play).
    std::shared_ptr<const Mp4Exporting> exporter = exporter_;
    if (!exporter) exporter = RendererChoice::make(renderer_, deck);
    export_.start([deck, destination, gifMs, hooks, exporter] {
        ExportRun run;
        // The outcome keeps the count too, whenever the window's copy of it arrives.
        RenderHooks counted = hooks;
        counted.reused = [&run, &hooks](int reused, int slides) {
            run.reusedSlides = reused;
            run.movieSlides = slides;
            hooks.reportReused(reused, slides);
        };
        try {
            run.result = OrvExporter::export_(deck, std::nullopt, destination, {}, gifMs,
                                              std::chrono::system_clock::now(), kSource, kPluginVersion, {}, *exporter,
                                              counted);
        } catch (...) {
            run.error = std::current_exception();
        }
        return run;
    });
    return true;
}

void ExportSession::cancel() {
    if (isExporting_) exportCancel_.cancel();
}

void ExportSession::showStage(ExportStage stage, double fraction) {
    if (!isExporting_) return;
    if (const auto line = ExportCopy::stageLine(stage)) stageLine_ = *line;
    if (const auto permille = ExportProgress::permille(stage, fraction)) {
        progressPermille_ = std::max(progressPermille_, *permille);
    }
    emit changed();
}

void ExportSession::showReuse(int reused, int slides) {
    if (!isExporting_) return;
    reuseLine_ = ExportCopy::reusedSlides(reused, slides);
    emit changed();
}

void ExportSession::exportFinished(const ExportRun& run) {
    QStringList warnings;
    if (!run.error) {
        const auto& r = run.result;
        outcome_ = Outcome{destination_,
                           r.cueCount,
                           static_cast<double>(r.masterVideoDurationMs) / 1000,
                           r.convertedOnClickVideoSlides,
                           run.reusedSlides,
                           run.movieSlides};
        warnings = ExportCopy::postExportWarnings(r.convertedOnClickVideoSlides, r.maxBulletsPerSlide, r.warnings);
    }
    isExporting_ = false;
    emit changed();
    // May run a quit that waited for this export, closing the window.
    ExportCoordinator::shared().end();
    emit exportEnded(run.error, warnings);
}

}  // namespace orvandel
