#include "pixels/PageRasterizer.hpp"

#include <algorithm>
#include <atomic>
#include <mutex>

#include "base/Numbers.hpp"
#include "base/Regex.hpp"
#include "base/Subprocess.hpp"
#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel::PageRasterizer {

namespace {
// How the errors of this stage begin.
const char* const kErrorLead = "drawing the slides";
// How the errors of the PDF's own check begin: the stage before this one.
const char* const kPdfErrorLead = "converting slides";
}  // namespace

int pageCount(const std::filesystem::path& pdf, const std::optional<CancellationToken>& cancel) {
    const auto r = RenderTools::runTool(ExportStage::draw, kErrorLead, "pdfinfo", "poppler-utils", {pdf.string()},
                                        {.timeout = std::chrono::seconds(60), .cancel = cancel});
    const auto m = Regex(R"(\nPages:\s+(\d+))").firstMatch("\n" + r.standardOutput);
    const std::string text = "\n" + r.standardOutput;
    const auto n = m ? parseInt64(m->group(text, 1)) : std::nullopt;
    if (!n) {
        throw RenderError(RenderError::Case::badOutput, ExportStage::draw,
                          std::string(kErrorLead) + ": pdfinfo did not report a page count for " +
                              pdf.filename().string() +
                              ". The PDF LibreOffice wrote is damaged; try the export again.");
    }
    return static_cast<int>(*n);
}

void requirePages(const std::filesystem::path& pdf, std::int64_t pages, const std::string& deckName,
                  const std::optional<CancellationToken>& cancel) {
    const int made = pageCount(pdf, cancel);
    if (made != pages) {
        throw RenderError(RenderError::Case::badOutput, ExportStage::pdf,
                          std::string(kPdfErrorLead) + ": LibreOffice made " + std::to_string(made) + " pages of " +
                              deckName + " where " + std::to_string(pages) +
                              " were asked for, so pages cannot be matched to slides. Open the deck in "
                              "LibreOffice Impress to see which slides it cannot read, or pass a movie you "
                              "rendered yourself with --mp4.");
    }
}

void keepCopies(const std::map<int, std::filesystem::path>& stills, const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    for (const auto& [page, still] : stills) {
        std::filesystem::copy_file(still, folder / ("still-" + std::to_string(page) + ".tif"),
                                   std::filesystem::copy_options::overwrite_existing);
    }
}

std::vector<std::vector<std::pair<int, int>>> planRuns(std::vector<int> pages, int workers, int maxRun) {
    std::sort(pages.begin(), pages.end());
    pages.erase(std::unique(pages.begin(), pages.end()), pages.end());
    const std::size_t n = pages.size();
    const std::size_t w = static_cast<std::size_t>(std::max(1, workers));
    std::vector<std::vector<std::pair<int, int>>> plan;
    for (std::size_t k = 0; k < w; ++k) {
        // Worker k takes the k-th of w equal slices of the pages.
        const std::size_t begin = n * k / w, end = n * (k + 1) / w;
        std::vector<std::pair<int, int>> runs;
        for (std::size_t i = begin; i < end;) {
            std::size_t j = i + 1;
            while (j < end && pages[j] == pages[j - 1] + 1 && static_cast<int>(j - i) < maxRun) ++j;
            runs.emplace_back(pages[i], pages[j - 1]);
            i = j;
        }
        if (!runs.empty()) plan.push_back(std::move(runs));
    }
    return plan;
}

std::map<int, std::filesystem::path> rasterize(const std::filesystem::path& pdf, const std::vector<int>& pages,
                                               FrameSize size, const std::filesystem::path& outDir,
                                               const Options& options) {
    std::filesystem::create_directories(outDir);
    // Each pdftocairo opens the whole PDF: runs of up to 32 pages keep that
    // small on a storyboard of hundreds of pages, and progress still moves.
    const auto plan = planRuns(pages, options.workers, 32);
    const int total = static_cast<int>(pages.size());
    std::atomic<int> done{0};
    std::mutex progressMutex;
    // A failure in one worker stops the others at their next process.
    CancellationToken stopOthers;
    RenderTools::inParallel(static_cast<int>(plan.size()), [&](int worker) {
        for (const auto& [first, last] : plan[static_cast<std::size_t>(worker)]) {
            if (stopOthers.isCancelled() || (options.cancel && options.cancel->isCancelled())) return;
            try {
                const auto count = last - first + 1;
                RenderTools::runTool(ExportStage::draw, kErrorLead, "pdftocairo", "poppler-utils",
                                     {"-tiff", "-tiffcompression", "packbits", "-scale-to-x",
                                      std::to_string(size.width), "-scale-to-y", std::to_string(size.height), "-f",
                                      std::to_string(first), "-l", std::to_string(last), pdf.string(),
                                      (outDir / "page").string()},
                                     {.timeout = std::chrono::seconds(60 + 5 * count), .cancel = options.cancel});
                const int now = done += count;
                if (options.onProgress) {
                    std::lock_guard lock(progressMutex);
                    options.onProgress(now, total);
                }
            } catch (...) {
                stopOthers.cancel();
                throw;
            }
        }
    });
    if (options.cancel && options.cancel->isCancelled()) throw CancelledError();

    // pdftocairo zero-pads the page number to the width of the page count.
    std::map<int, std::filesystem::path> images;
    const Regex numbered(R"(^page-(\d+)\.tif$)");
    for (const auto& e : std::filesystem::directory_iterator(outDir)) {
        const std::string name = e.path().filename().string();
        if (const auto m = numbered.firstMatch(name)) {
            if (const auto n = parseInt64(m->group(name, 1))) images[static_cast<int>(*n)] = e.path();
        }
    }
    for (int p : pages) {
        if (!images.count(p)) {
            throw RenderError(RenderError::Case::badOutput, ExportStage::draw,
                              std::string(kErrorLead) + ": pdftocairo wrote no image for page " + std::to_string(p) +
                                  " of " + pdf.filename().string() + ". Check free disk space and try again.");
        }
    }
    return images;
}

}  // namespace orvandel::PageRasterizer
