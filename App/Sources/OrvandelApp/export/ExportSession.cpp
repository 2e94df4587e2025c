#include "ExportSession.hpp"

#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "DeckConversion.hpp"
#include "ExportCoordinator.hpp"
#include "ExportCopy.hpp"
#include "GifDurations.hpp"
#include "base/Bytes.hpp"
#include "deck/DeckScanner.hpp"

namespace orvandel {

namespace {

// What the package's manifest says made it; the version comes from the build.
const char* const kSource = "orvandel-plugin";
const char* const kPluginVersion = ORVANDEL_PLUGIN_VERSION;

std::string lowercasedExtension(const std::filesystem::path& path) {
    return asciiLowercased(path.extension().string());
}

}  // namespace

ExportSession::ExportSession(RendererChoice::Renderer renderer, std::shared_ptr<const Mp4Exporting> exporter,
                             QObject* parent)
    : QObject(parent),
      renderer_(RendererChoice::resolve(renderer)),
      scanner_([](const std::filesystem::path& pptx) { return DeckScanner::report(pptx, {}, {}); }),
      nowMs_([] {
          using namespace std::chrono;
          return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
      }),
      scan_(this, [this](const ScanRun& run) { scanFinished(run); }),
      export_(this, [this](const ExportRun& run) { exportFinished(run); }) {
    if (exporter) {
        makeExporter_ = [exporter](RendererChoice::Renderer, const std::filesystem::path&,
                                   const RendererChoice::Settings&) { return exporter; };
    } else {
        makeExporter_ = [](RendererChoice::Renderer chosen, const std::filesystem::path& deck,
                           const RendererChoice::Settings& settings) {
            return std::shared_ptr<const Mp4Exporting>(RendererChoice::make(chosen, deck, settings));
        };
    }
    // The time left changes while an export says nothing new.
    ticker_.setInterval(1000);
    connect(&ticker_, &QTimer::timeout, this, &ExportSession::tick);
    connect(this, &ExportSession::stageReported, this, &ExportSession::showStage, Qt::QueuedConnection);
    connect(this, &ExportSession::reuseReported, this, &ExportSession::showReuse, Qt::QueuedConnection);
    connect(&ExportCoordinator::shared(), &ExportCoordinator::changed, this, &ExportSession::changed);
}

ExportSession::~ExportSession() {
    disconnect(&ExportCoordinator::shared(), nullptr, this, nullptr);
    // A worker must not outlive the session: the export stops its child
    // processes and removes its work directory as it unwinds.
    exportCancel_.cancel();
    scanCancel_.cancel();
    export_.wait();
    scan_.wait();
    dropScratch();
    if (isExporting_) {
        // Whatever waited for this export (a pending quit) goes with the session.
        ExportCoordinator::shared().setOnFinish(nullptr);
        ExportCoordinator::shared().end();
    }
}

std::filesystem::path ExportSession::outputPath(const std::filesystem::path& deck) {
    return std::filesystem::path(deck).replace_extension(".orv");
}

bool ExportSession::looksLikeDeck(const std::filesystem::path& path) {
    const auto extension = lowercasedExtension(path);
    for (const char* known : {".pptx", ".ppsx", ".ppt", ".pps", ".odp", ".key", ".pdf"}) {
        if (extension == known) return true;
    }
    return false;
}

void ExportSession::dropScratch() {
    if (scratch_) {
        std::error_code ec;
        std::filesystem::remove_all(*scratch_, ec);
    }
    scratch_.reset();
    convertedPptx_.reset();
}

void ExportSession::chooseDeck(const std::filesystem::path& deck) {
    if (isExporting_) return;
    // The earlier deck's conversion stops, and its copy goes, before the new one starts.
    scanCancel_.cancel();
    scan_.wait();
    dropScratch();
    scanCancel_ = CancellationToken();
    deckPath_ = deck;
    gifSlides_.clear();
    gifDurations_.clear();
    multiVideoSlides_.clear();
    scanError_.reset();
    outcome_.reset();
    wasCancelled_ = false;
    isScanning_ = true;
    const auto kind = DeckConversion::kindOf(deck);
    if (kind == DeckConversion::Kind::convertible) {
        QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/orvandel-deck-XXXXXX"));
        folder.setAutoRemove(false);
        if (folder.isValid()) scratch_ = std::filesystem::path(folder.path().toStdString());
    }
    emit changed();
    scan_.start([deck, kind, scratch = scratch_, cancel = scanCancel_, scanner = scanner_] {
        ScanRun run;
        try {
            std::filesystem::path pptx = deck;
            if (kind != DeckConversion::Kind::pptx) {
                if (kind == DeckConversion::Kind::convertible && !scratch) {
                    throw FileError("create the folder to convert the deck in", QDir::tempPath().toStdString(), EIO);
                }
                pptx = DeckConversion::toPptx(deck, scratch.value_or(std::filesystem::path()), cancel);
                run.converted = pptx;
            }
            run.reports = scanner(pptx);
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
        convertedPptx_ = run.converted;
        for (const auto& report : run.reports) {
            // A still GIF plays as the picture it is: only moving ones ask for a
            // length, and those the scan could not describe, as they always did.
            const bool undescribed = report.hasGif && report.gifs.empty();
            if (!(report.needsGifLength() || undescribed) || report.isHidden) continue;
            gifSlides_.push_back(report.displayIndex);
            if (const auto own = report.ownGifLengthMs())
                gifDurations_[report.displayIndex] = GifDurations::field(*own);
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
    if (isExporting_) return gifField(slide);
    QString kept = GifDurations::keepNumbers(typed);
    gifDurations_[slide] = kept;
    emit changed();
    return kept;
}

QString ExportSession::gifField(std::int64_t slide) const {
    const auto typed = gifDurations_.find(slide);
    return typed == gifDurations_.end() ? QString() : typed->second;
}

std::optional<std::int64_t> ExportSession::gifMilliseconds(std::int64_t slide) const {
    return GifDurations::milliseconds(gifField(slide));
}

void ExportSession::setVideoSettings(const VideoSettings& settings) {
    if (settings == videoSettings_) return;
    videoSettings_ = settings;
    emit changed();
}

RendererChoice::Settings ExportSession::rendererSettings() const {
    RendererChoice::Settings settings;
    settings.video = videoSettings_;
    return settings;
}

bool ExportSession::canExport() const {
    if (!deckPath_ || isBusy() || scanError_ || !multiVideoSlides_.empty()) return false;
    return std::all_of(gifSlides_.begin(), gifSlides_.end(),
                       [this](std::int64_t slide) { return gifMilliseconds(slide).has_value(); });
}

std::optional<std::int64_t> ExportSession::remainingMs() const {
    if (!isExporting_ || progressPermille_ < 0) return std::nullopt;
    return estimate_.remainingMs(nowMs_() - startedMs_);
}

void ExportSession::tick() {
    if (isExporting_) emit changed();
}

bool ExportSession::startExport(const std::optional<std::filesystem::path>& to) {
    if (!canExport()) return false;
    const auto deck = *deckPath_;
    // A converted deck is read from its copy; its package is still named after it.
    const auto pptx = convertedPptx_.value_or(deck);
    const auto destination = to.value_or(outputPath(deck));
    destination_ = destination;
    SlideDurations gifMs;
    for (const auto slide : gifSlides_) gifMs[slide] = *gifMilliseconds(slide);

    isExporting_ = true;
    outcome_.reset();
    stageLine_.reset();
    reuseLine_.reset();
    progressPermille_ = -1;
    wasCancelled_ = false;
    cancelAsked_ = false;
    estimate_ = ProgressEstimate(0);
    startedMs_ = nowMs_();
    ticker_.start();
    exportCancel_ = CancellationToken();
    ExportCoordinator::shared().begin([token = exportCancel_] { token.cancel(); });
    emit exportStarted();
    emit changed();

    // Throttled to what the window can show: a new stage or a new thousandth of it.
    struct Shown {
        std::optional<ExportStage> stage;
        int permille = -1;
    };
    auto shown = std::make_shared<Shown>();
    RenderHooks hooks{[this, shown](ExportStage stage, double fraction) {
                          const int permille = fraction >= 0 && fraction <= 1 ? static_cast<int>(fraction * 1000) : -1;
                          if (stage == shown->stage && permille == shown->permille) return;
                          shown->stage = stage;
                          shown->permille = permille;
                          emit stageReported(stage, fraction);
                      },
                      exportCancel_,
                      {},
                      [this](int reused, int slides) { emit reuseReported(reused, slides); }};
    // One renderer per export, made for the deck as chosen (media linked beside it play).
    const std::shared_ptr<const Mp4Exporting> exporter = makeExporter_(renderer_, deck, rendererSettings());
    export_.start([deck = pptx, destination, gifMs, hooks, exporter] {
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
    if (!isExporting_) return;
    cancelAsked_ = true;
    exportCancel_.cancel();
}

void ExportSession::showStage(ExportStage stage, double fraction) {
    if (!isExporting_) return;
    if (const auto line = ExportCopy::stageLine(stage)) stageLine_ = *line;
    estimate_.report(stage, fraction, nowMs_() - startedMs_);
    progressPermille_ = std::max(progressPermille_, estimate_.permille());
    emit changed();
}

void ExportSession::showReuse(int reused, int slides) {
    if (!isExporting_) return;
    reuseLine_ = ExportCopy::reusedSlides(reused, slides);
    emit changed();
}

void ExportSession::exportFinished(const ExportRun& run) {
    ticker_.stop();
    QStringList warnings;
    // Whatever an export asked to stop ends with (a cancellation, or a child
    // process that failed as it was stopped) is what the user asked for.
    const bool cancelled = run.error && cancelAsked_;
    if (cancelled) wasCancelled_ = true;
    if (!run.error) {
        const auto& r = run.result;
        outcome_ = Outcome{destination_,
                           r.cueCount,
                           static_cast<double>(r.masterVideoDurationMs) / 1000,
                           r.convertedOnClickVideoSlides,
                           run.reusedSlides,
                           run.movieSlides};
        auto reported = r.warnings;
        if (convertedPptx_) {
            const auto format = lowercasedExtension(*deckPath_);
            reported.insert(reported.begin(), Warning::deckConverted(deckPath_->filename().string(),
                                                                     format.empty() ? format : format.substr(1)));
        }
        warnings = ExportCopy::postExportWarnings(r.convertedOnClickVideoSlides, r.maxBulletsPerSlide, reported);
    }
    isExporting_ = false;
    emit changed();
    // May run a quit that waited for this export, closing the window.
    ExportCoordinator::shared().end();
    emit exportEnded(cancelled ? nullptr : run.error, warnings);
}

}  // namespace orvandel
