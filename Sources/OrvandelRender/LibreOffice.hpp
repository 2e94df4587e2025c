#pragma once
// The one way this project runs LibreOffice, in the product and in tests:
// soffice found on PATH, a private profile per run (two runs sharing a
// profile fail silently), a font configuration that maps the usual Office
// fonts to their metric-compatible free twins, a time limit that kills the
// whole process group, one retry with a fresh profile after a hang, and a
// check that the expected output exists. Failures throw RenderError.
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "base/Cancellation.hpp"

namespace orvandel::LibreOffice {

struct ConvertOptions {
    // Scratch space for this run: the profile and the font configuration go here.
    std::filesystem::path workDir;
    std::chrono::milliseconds timeout{120'000};
    std::optional<CancellationToken> cancel;
};

// soffice on PATH, or nothing.
std::optional<std::filesystem::path> findSoffice();

// Converts `input` with `soffice --headless --convert-to <convertTo>` into
// `outDir` and returns the path of the file written there (input's stem +
// "." + outputExtension). convertTo is LibreOffice's target, e.g. "pdf" or
// "pdf:impress_pdf_Export:{...}".
std::filesystem::path convert(const std::filesystem::path& input, const std::string& convertTo,
                              const std::string& outputExtension, const std::filesystem::path& outDir,
                              const ConvertOptions& options);

// The fontconfig file text used for every run (exposed for tests).
std::string fontConfiguration(const std::filesystem::path& cacheDir);

}  // namespace orvandel::LibreOffice
