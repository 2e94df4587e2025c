#pragma once
// One deck's way to a package, without any widget: the deck chosen (a deck
// in another format converted to a .pptx copy first) and scanned off the GUI
// thread, the length of every visible slide whose GIF moves, the video's
// settings, the export run off the GUI thread with its stage, its overall
// progress and time left, and its outcome, error or cancellation. The window's panels show this state and forward the
// user's actions; `changed` tells them to look again.
//
// The session marks its export in ExportCoordinator, so that the quit guard
// sees it. Destroying the session cancels a running export and waits for it
// (see OffThread): no child process or work directory outlives it. Touched
// only on the GUI thread.
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "OffThread.hpp"
#include "RendererChoice.hpp"
#include "base/Cancellation.hpp"
#include "base/ExportStage.hpp"
#include "base/ProgressEstimate.hpp"
#include "deck/SlideReport.hpp"
#include "package/OrvExporter.hpp"
#include "render/VideoSettings.hpp"

namespace orvandel {

class ExportSession : public QObject {
    Q_OBJECT
public:
    // A finished export, as the export itself reported it.
    struct Outcome {
        std::filesystem::path orvPath;
        std::int64_t cueCount = 0;
        double masterVideoSeconds = 0;
        std::vector<std::int64_t> convertedOnClickVideoSlides;
        // The movie's slides taken from earlier exports (the render cache),
        // of how many; 0 of 0 when the renderer did not say.
        int reusedSlides = 0;
        int movieSlides = 0;
    };

    // Makes the renderer of one export: the deck as the user chose it (its
    // folder is where linked media are looked for) and the settings chosen.
    using ExporterFactory = std::function<std::shared_ptr<const Mp4Exporting>(
        RendererChoice::Renderer renderer, const std::filesystem::path& deck,
        const RendererChoice::Settings& settings)>;
    // Reads a deck's slides (the .pptx to read, converted where it had to be).
    using Scanner = std::function<std::vector<SlideReport>(const std::filesystem::path& pptx)>;

    // `renderer` decides who renders and which texts are used (automatic: the
    // same choice as the command line). `exporter`, when given, renders
    // instead of the chosen renderer's own exporter.
    explicit ExportSession(RendererChoice::Renderer renderer = RendererChoice::Renderer::automatic,
                           std::shared_ptr<const Mp4Exporting> exporter = nullptr, QObject* parent = nullptr);
    ~ExportSession() override;

    // Seams for tests and tools: who makes the renderer (default
    // RendererChoice::make, or the exporter given to the constructor) and who
    // reads the deck (default DeckScanner::report).
    void setExporterFactory(ExporterFactory factory) { makeExporter_ = std::move(factory); }
    void setScanner(Scanner scanner) { scanner_ = std::move(scanner); }
    // The steady clock the time left is measured on, in milliseconds
    // (default: the system's); a fake one holds an export at a known pace.
    using Clock = std::function<std::int64_t()>;
    void setClock(Clock nowMs) { nowMs_ = std::move(nowMs); }

    // Where the package of `deck` goes: beside it, the extension replaced by .orv.
    static std::filesystem::path outputPath(const std::filesystem::path& deck);
    // Whether `path` is offered to the session as a deck: a presentation it
    // reads or converts, or a PDF (which it refuses with its own words).
    static bool looksLikeDeck(const std::filesystem::path& path);

    RendererChoice::Renderer renderer() const { return renderer_; }
    const std::optional<std::filesystem::path>& deckPath() const { return deckPath_; }
    bool isScanning() const { return isScanning_; }
    bool isExporting() const { return isExporting_; }
    bool isBusy() const { return isScanning_ || isExporting_; }
    // The visible slides whose GIFs move (or could not be read), which need a
    // length, and the slides with more than one video, in order.
    const std::vector<std::int64_t>& gifSlides() const { return gifSlides_; }
    // What `slide`'s field holds: at first the GIFs' own loop length when
    // they have one ("2,4"), then what was typed.
    QString gifField(std::int64_t slide) const;
    // The length `slide`'s field stands for, in milliseconds; nothing when
    // it says none.
    std::optional<std::int64_t> gifMilliseconds(std::int64_t slide) const;
    // The chosen deck was not a .pptx and is read from its converted copy.
    bool isConverted() const { return convertedPptx_.has_value(); }
    const std::vector<std::int64_t>& multiVideoSlides() const { return multiVideoSlides_; }
    // The scan's failure, in Portuguese.
    const std::optional<QString>& scanError() const { return scanError_; }
    // What the headless export is doing now, once it has said.
    const std::optional<QString>& stageLine() const { return stageLine_; }
    // How many slides the running export reuses from the previous one, once
    // the renderer has said and when there are any.
    const std::optional<QString>& reuseLine() const { return reuseLine_; }
    // Thousandths of the export done; -1 until known. Only moves forward.
    int progressPermille() const { return progressPermille_; }
    // The running export's time left, once it can be told; recomputed every
    // second (`changed` follows) even when the export reports nothing new.
    std::optional<std::int64_t> remainingMs() const;
    const std::optional<Outcome>& outcome() const { return outcome_; }
    // The last export was stopped by cancel() (not by the window closing).
    bool wasCancelled() const { return wasCancelled_; }

    // The movie's size, frame rate and quality for the headless renderer.
    const VideoSettings& videoSettings() const { return videoSettings_; }
    void setVideoSettings(const VideoSettings& settings);
    // What the next export's renderer is made with.
    RendererChoice::Settings rendererSettings() const;

    // Forgets the previous deck's state and scans `deck` (nothing during an export).
    void chooseDeck(const std::filesystem::path& deck);
    // What is kept of what was typed for `slide`'s GIF (GifDurations::keepNumbers); returns it.
    QString typeDuration(std::int64_t slide, const QString& typed);
    bool canExport() const;
    // Starts the export when canExport(), into `to` (default: outputPath of
    // the deck, an existing package there replaced); whether it started.
    bool startExport(const std::optional<std::filesystem::path>& to = std::nullopt);
    // Stops the running export: its child processes, its work folder and its
    // partial package go, an older package stays as it was. It still ends
    // through `exportEnded`, without an error: wasCancelled() says why.
    void cancel();

signals:
    // Anything shown may have changed.
    void changed();
    // The scan of the chosen deck is done (successfully or not).
    void scanned();
    void exportStarted();
    // The export is over: `error` null on success, `warnings` the lines of
    // the "finished with warnings" alert (empty: none).
    void exportEnded(const std::exception_ptr& error, const QStringList& warnings);
    // From the export's worker thread; connected queued.
    void stageReported(ExportStage stage, double fraction);
    void reuseReported(int reused, int slides);

private:
    struct ScanRun {
        std::vector<SlideReport> reports;
        std::optional<std::filesystem::path> converted;  // the .pptx copy read instead of the deck
        std::exception_ptr error;
    };
    struct ExportRun {
        OrvExporter::Result result;
        int reusedSlides = 0;
        int movieSlides = 0;
        std::exception_ptr error;
    };

    void scanFinished(const ScanRun& run);
    void exportFinished(const ExportRun& run);
    void showStage(ExportStage stage, double fraction);
    void showReuse(int reused, int slides);

    void dropScratch();
    void tick();

    RendererChoice::Renderer renderer_;
    ExporterFactory makeExporter_;
    Scanner scanner_;
    Clock nowMs_;
    VideoSettings videoSettings_;

    std::optional<std::filesystem::path> deckPath_;
    // The folder this session converts decks into, and the copy of the chosen deck there.
    std::optional<std::filesystem::path> scratch_;
    std::optional<std::filesystem::path> convertedPptx_;
    std::filesystem::path destination_;  // of the running or last export
    bool isScanning_ = false;
    bool isExporting_ = false;
    std::vector<std::int64_t> gifSlides_;
    std::map<std::int64_t, QString> gifDurations_;
    std::vector<std::int64_t> multiVideoSlides_;
    std::optional<QString> scanError_;
    std::optional<Outcome> outcome_;
    std::optional<QString> stageLine_;
    std::optional<QString> reuseLine_;
    int progressPermille_ = -1;
    bool wasCancelled_ = false;
    bool cancelAsked_ = false;
    ProgressEstimate estimate_;
    std::int64_t startedMs_ = 0;
    QTimer ticker_;

    CancellationToken scanCancel_;
    CancellationToken exportCancel_;
    OffThread<ScanRun> scan_;
    OffThread<ExportRun> export_;
};

}  // namespace orvandel
