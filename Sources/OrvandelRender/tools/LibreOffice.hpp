#pragma once
// The one way this project runs LibreOffice, in the product and in tests:
// soffice found on PATH, a private profile per run (two runs sharing a
// profile fail silently), a font configuration that maps the usual Office
// fonts to free twins or look-alikes (FontAliases), a time limit and a memory
// limit that kill the whole process group, and a check that the expected
// output exists. A run that hangs before it has loaded the deck is tried
// once more with a fresh profile; one that runs out of time or memory on
// the deck itself is not (it would fail the same way). Failures throw
// RenderError naming the deck and the limit.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Cancellation.hpp"

namespace orvandel::LibreOffice {

struct ConvertOptions {
    // Scratch space for this run: the profile and the font configuration go here.
    std::filesystem::path workDir;
    std::chrono::milliseconds timeout{120'000};
    std::optional<CancellationToken> cancel;
    // The most resident memory LibreOffice may take, in bytes.
    std::optional<std::int64_t> memoryLimit;
    // The deck as the user knows it, for messages; default: input's file name.
    std::string deckName;
    // Folders of fonts LibreOffice sees besides the system's (the deck's
    // embedded fonts), and the families they hold: no stand-in replaces those.
    std::vector<std::filesystem::path> fontDirs;
    std::vector<std::string> embeddedFamilies;
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

// LibreOffice's time limit for a deck of `pages` pages: two minutes, and
// a second more per page.
std::chrono::milliseconds timeLimit(std::int64_t pages);

// "512 MiB", "2.5 GiB": a memory size as a person reads it.
std::string memorySize(std::int64_t bytes);

// The fontconfig file text used for every run (exposed for tests): the
// system's fonts and those in fontDirs, the Office fonts mapped to their
// stand-ins (FontAliases) except the embeddedFamilies.
std::string fontConfiguration(const std::filesystem::path& cacheDir,
                              const std::vector<std::filesystem::path>& fontDirs = {},
                              const std::vector<std::string>& embeddedFamilies = {});

}  // namespace orvandel::LibreOffice
