#pragma once
// PDF pages to stills with poppler: pdfinfo for the page count, pdftocairo for
// the pixels (TIFF with packbits: about 9x faster to write than PNG for the
// same pixels, and fast for ffmpeg to read). Page ranges are split across
// worker processes so that every core draws.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Cancellation.hpp"
#include "plan/FrameSize.hpp"

namespace orvandel::PageRasterizer {

struct Options {
    int workers = 2;
    std::optional<CancellationToken> cancel;
    std::function<void(int done, int total)> onProgress;  // pages done so far
};

int pageCount(const std::filesystem::path& pdf, const std::optional<CancellationToken>& cancel);

// Checks that the PDF LibreOffice made of the storyboard has its `pages`:
// LibreOffice can leave out pages it cannot draw and still succeed, and then
// pages cannot be matched to slides. deckName: the deck as the user knows it.
// Throws RenderError.
void requirePages(const std::filesystem::path& pdf, std::int64_t pages, const std::string& deckName,
                  const std::optional<CancellationToken>& cancel);

// Copies the stills (by page) into `folder` as still-<page>.tif.
void keepCopies(const std::map<int, std::filesystem::path>& stills, const std::filesystem::path& folder);

// Draws the given 1-based pages at exactly `size` into outDir; returns each
// page's image. Throws RenderError.
std::map<int, std::filesystem::path> rasterize(const std::filesystem::path& pdf, const std::vector<int>& pages,
                                               FrameSize size, const std::filesystem::path& outDir,
                                               const Options& options);

// Contiguous runs of the sorted pages, at most maxRun pages each, dealt to
// `workers` lists of roughly equal page counts (exposed for tests).
std::vector<std::vector<std::pair<int, int>>> planRuns(std::vector<int> pages, int workers, int maxRun);

}  // namespace orvandel::PageRasterizer
