#pragma once
// One deck's way to a package, without any widget: the deck chosen and
// scanned off the GUI thread, the length typed for every visible GIF slide,
// the export run off the GUI thread with its stage and progress, and its
// outcome or error. The window's panels show this state and forward the
// user's actions; `changed` tells them to look again.
//
// The session marks its export in ExportCoordinator, so that the quit guard
// sees it. Destroying the session cancels a running export and waits for it
// (see OffThread): no child process or work directory outlives it. Touched
// only on the GUI thread.
#include <QObject>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "OffThread.hpp"
#include "RendererChoice.hpp"
#include "base/Cancellation.hpp"
#include "base/ExportStage.hpp"
#include "deck/SlideReport.hpp"
#include "package/OrvExporter.hpp"

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

    // `renderer` decides who renders and which texts are used (automatic: the
    // same choice as the command line). `exporter`, when given, renders
    // instead of the chosen renderer's own exporter.
    explicit ExportSession(RendererChoice::Renderer renderer = RendererChoice::Renderer::automatic,
                           std::shared_ptr<const Mp4Exporting> exporter = nullptr, QObject* parent = nullptr);
    ~ExportSession() override;

    // Where the package of `deck` goes: beside it, the extension replaced by .orv.
    static std::filesystem::path outputPath(const std::filesystem::path& deck);

    RendererChoice::Renderer renderer() const { return renderer_; }
    const std::optional<std::filesystem::path>& deckPath() const { return deckPath_; }
    bool isScanning() const { return isScanning_; }
    bool isExporting() const { return isExporting_; }
    bool isBusy() const { return isScanning_ || isExporting_; }
    // The visible GIF slides and the slides with more than one video, in order.
    const std::vector<std::int64_t>& gifSlides() const { return gifSlides_; }
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
    const std::optional<Outcome>& outcome() const { return outcome_; }

    // Forgets the previous deck's state and scans `deck` (nothing during an export).
    void chooseDeck(const std::filesystem::path& deck);
    // The digits kept of what was typed for `slide`'s GIF; returns them.
    QString typeDuration(std::int64_t slide, const QString& typed);
    bool canExport() const;
    // Starts the export when canExport(), into `to` (default: outputPath of
    // the deck, an existing package there replaced); whether it started.
    bool startExport(const std::optional<std::filesystem::path>& to = std::nullopt);
    // Asks the running export to stop; it still ends through `exportEnded`.
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

    RendererChoice::Renderer renderer_;
    std::shared_ptr<const Mp4Exporting> exporter_;  // injected; otherwise one per export

    std::optional<std::filesystem::path> deckPath_;
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

    CancellationToken exportCancel_;
    OffThread<ScanRun> scan_;
    OffThread<ExportRun> export_;
};

}  // namespace orvandel
