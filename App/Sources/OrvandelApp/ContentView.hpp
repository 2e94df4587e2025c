#pragma once
// The app's one window. The user picks a deck (button, first argument or
// drop), the window scans it off the GUI thread, asks for the length of every
// visible GIF slide in seconds, and "Exportar" runs the whole export off the
// GUI thread while a progress line (and, for the headless renderer, its stage
// and a bar) shows what happens. The result view or a Portuguese alert ends
// the run. Workers never touch a widget: their results come back through
// QFutureWatcher's and this view's queued signals.
//
// In the application a QuitController asks before the window closes during
// an export. A close that goes through cancels the export; the view waits
// for the worker when it is destroyed, so that no child process or work
// directory outlives it. Where PowerPoint renders, "Exportar" first warns
// about other decks with unsaved changes (UnsavedDecksGate).
#include <QFutureWatcher>
#include <QString>
#include <QWidget>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "RendererChoice.hpp"
#include "base/Cancellation.hpp"
#include "deck/SlideReport.hpp"
#include "package/ManifestReader.hpp"
#include "package/OrvExporter.hpp"

class QLabel;
class QLineEdit;
class QMessageBox;
class QMimeData;
class QProgressBar;
class QPushButton;
class QGridLayout;

namespace orvandel {

class ElidedLabel;
class Spinner;

class ContentView : public QWidget {
    Q_OBJECT
public:
    // The result shown in the window.
    struct Outcome {
        std::filesystem::path orvURL;
        // Read back from the package; unknown when it could not be read.
        std::optional<std::int64_t> cueCount;
        std::optional<double> masterVideoDuration;  // seconds
        std::vector<std::int64_t> convertedOnClickVideoSlides;
    };

    // `renderer` decides who renders and which texts are shown (automatic:
    // the same choice as the command line). `exporter`, when given, renders
    // instead of the chosen renderer's own exporter (the texts stay the
    // chosen renderer's).
    explicit ContentView(RendererChoice::Renderer renderer = RendererChoice::Renderer::automatic,
                         std::shared_ptr<const Mp4Exporting> exporter = nullptr, QWidget* parent = nullptr);
    ~ContentView() override;

    // A deck picked by the user: forgets the previous deck's state and scans it.
    void chooseDeck(const std::filesystem::path& url);
    // A deck named on the command line or dropped: chooseDeck, or the "could
    // not open" alert when it is not a file.
    void openDeck(const std::filesystem::path& url);
    bool canExport() const;
    void runExport();

    const std::optional<std::filesystem::path>& deckURL() const { return deckURL_; }
    const std::vector<std::int64_t>& gifSlides() const { return gifSlides_; }
    const std::vector<std::int64_t>& multiVideoSlides() const { return multiVideoSlides_; }
    bool isScanning() const { return isScanning_; }
    bool isExporting() const { return isExporting_; }
    const std::optional<Outcome>& outcome() const { return outcome_; }
    RendererChoice::Renderer renderer() const { return renderer_; }

    // Where the package of `deck` goes: beside it, the extension replaced by .orv.
    static std::filesystem::path outputPath(const std::filesystem::path& deck);
    // What a GIF field keeps of what was typed: the characters that are
    // numbers in the Unicode sense.
    static QString keepNumbers(const QString& typed);
    // The seconds a GIF field stands for: a decimal integer (optional sign,
    // ASCII digits only) from 1 up to a day; nothing otherwise.
    static std::optional<std::int64_t> gifSeconds(const QString& field);
    // The longest GIF loop accepted. Anything longer is a typing slip, and its
    // milliseconds, summed over the deck, could leave the range of a 64-bit count.
    static constexpr std::int64_t kMaxGifSeconds = 24 * 60 * 60;

signals:
    // The scan of the chosen deck is done (successfully or not).
    void scanned();
    // The export ended and its outcome or alert is shown.
    void exported();
    // From the export's worker thread: a stage reported by the export flow
    // or the renderer. Connected queued.
    void stageReported(ExportStage stage, double fraction);

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct ScanRun {
        std::vector<SlideReport> reports;
        std::exception_ptr error;
    };
    struct ExportRun {
        OrvExporter::Result result;
        std::optional<ManifestReader::Probe> probe;
        std::exception_ptr error;
    };

    void buildLayout();
    void applyColors();
    void showImporter();
    void prescan(const std::filesystem::path& url);
    void scanFinished();
    void exportFinished();
    void showStage(ExportStage stage, double fraction);
    void rebuildGifForm();
    void refresh();
    void setFloating(bool floating);
    QMessageBox* presentAlert(bool warning, const QString& title, const QString& text);
    void presentExportError(const std::exception_ptr& error);
    void presentWarnings(const QStringList& lines);
    static std::optional<std::filesystem::path> droppedDeck(const QMimeData* data);

    RendererChoice::Renderer renderer_;
    std::shared_ptr<const Mp4Exporting> exporter_;  // injected; otherwise one per export

    // View state, changed only on the GUI thread.
    std::optional<std::filesystem::path> deckURL_;
    bool isScanning_ = false;
    bool isExporting_ = false;
    std::vector<std::int64_t> gifSlides_;
    std::map<std::int64_t, QString> gifDurations_;
    std::vector<std::int64_t> multiVideoSlides_;
    std::optional<QString> scanError_;
    std::optional<Outcome> outcome_;
    std::optional<QString> stageLine_;
    int progressPermille_ = -1;
    bool closing_ = false;

    CancellationToken exportCancel_;
    QFutureWatcher<ScanRun> scanWatcher_;
    QFutureWatcher<ExportRun> exportWatcher_;

    // Widgets, owned by the view.
    QLabel* help_ = nullptr;
    QPushButton* chooseButton_ = nullptr;
    ElidedLabel* deckName_ = nullptr;
    QLabel* noDeck_ = nullptr;
    QLabel* scanErrorLabel_ = nullptr;
    QLabel* multiVideoLabel_ = nullptr;
    QWidget* gifForm_ = nullptr;
    QGridLayout* gifRows_ = nullptr;
    std::map<std::int64_t, QLineEdit*> gifFields_;
    QWidget* progressRow_ = nullptr;
    Spinner* spinner_ = nullptr;
    QLabel* progressLabel_ = nullptr;
    QProgressBar* progressBar_ = nullptr;
    QPushButton* exportButton_ = nullptr;
    QWidget* divider_ = nullptr;
    QWidget* resultView_ = nullptr;
    ElidedLabel* resultName_ = nullptr;
    QLabel* resultSummary_ = nullptr;
    QPushButton* revealButton_ = nullptr;
};

}  // namespace orvandel
