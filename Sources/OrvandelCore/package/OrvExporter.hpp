#pragma once
// The export flow: a deck becomes one .orv package end to end. It scans the
// deck and refuses decks that cannot be exported, prepares a self-playing
// copy, has a renderer turn it into the master movie (unless a movie is
// handed in), measures the movie against the plan, computes the cues, reads
// the speaker notes and writes the package. Its work directory is removed on
// every exit.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "base/Warning.hpp"
#include "deck/DeckModel.hpp"
#include "deck/LengthRules.hpp"
#include "deck/SlideReport.hpp"
#include "render/Chapter.hpp"
#include "render/ExportError.hpp"
#include "render/Mp4Exporting.hpp"

namespace orvandel::OrvExporter {

struct Result {
    std::vector<std::int64_t> convertedOnClickVideoSlides;
    std::vector<std::int64_t> slidesWithExitEffects;
    std::int64_t maxBulletsPerSlide = 0;
    // What the export went on past (damaged notes, a medium shown still...),
    // in the order it was noticed.
    std::vector<Warning> warnings;
    // What the package holds: its number of cues and the movie's measured length.
    std::int64_t cueCount = 0;
    std::int64_t masterVideoDurationMs = 0;
    bool operator==(const Result&) const = default;
};

// Rendering failed with the renderer's ExportError.
class FlowError : public Error {
public:
    enum class Case { automationFailed };

    static FlowError automationFailed(const Mp4Exporter::ExportError& error);

    Case errorCase() const { return Case::automationFailed; }
    const Mp4Exporter::ExportError& exportError() const { return exportError_; }

private:
    explicit FlowError(const Mp4Exporter::ExportError& error);
    Mp4Exporter::ExportError exportError_;
};

// The arguments of one export. masterMp4 present: the deck is neither
// prepared nor rendered and the duration check is skipped. An outOrv that is
// the deck or the movie, or is not a regular file, or where the package could
// not be written (AtomicFile::checkWritable), throws OutputError before
// anything else. The manifest names the deck with U+FFFD for the bytes of its
// file name that are not UTF-8; the package is written under outOrv's bytes.
// isRenderAlive is handed to the renderer as it is (empty: the renderer's own
// default). The work directory goes into
// exporter.workDirectoryBase(). hooks reach the renderer; a cancelled token
// ends the flow with CancelledError, cleaned up like any other failure.
// Warnings reach hooks.warn as they are noticed and are also returned in
// Result::warnings.
// writeChapters present: the packaged movie gets one chapter per visible
// slide (ChapterList, titled from SlideTitles), written by it into a copy in
// the work directory (also made for a handed-in movie, which stays as it
// was); the manifest is what it would be without them.
// The lengths given are checked against the deck (LengthRules): a moving GIF
// without one plays its own loop, a length for a still GIF is ignored, and a
// length for a slide without a GIF or video is refused (DeckError::
// lengthForSlideWithout) or, with unusedLengths = ignore (a batch, which gives
// every deck the same lengths), ignored with a warning. A deck whose moving
// GIF has no known length is refused (DeckError::gifWithoutDuration, every
// such slide). Videos and audio clips that only a click on another shape
// starts stay still: one warning per kind names their slides.
Result export_(const std::filesystem::path& originalPptx, const std::optional<std::filesystem::path>& masterMp4,
               const std::filesystem::path& outOrv, const SlideDurations& videoMs, const SlideDurations& gifMs,
               std::chrono::system_clock::time_point generatedAt, const std::string& source,
               const std::string& pluginVersion, const std::function<bool()>& isRenderAlive,
               const Mp4Exporting& exporter, const RenderHooks& hooks = {}, const ChapterWriter& writeChapters = {},
               LengthRules::Unused unusedLengths = LengthRules::Unused::refuse);
// The same with the deck already open (a caller that has read it too shares
// the one reading); the deck is deck.path().
Result export_(DeckModel& deck, const std::optional<std::filesystem::path>& masterMp4,
               const std::filesystem::path& outOrv, const SlideDurations& videoMs, const SlideDurations& gifMs,
               std::chrono::system_clock::time_point generatedAt, const std::string& source,
               const std::string& pluginVersion, const std::function<bool()>& isRenderAlive,
               const Mp4Exporting& exporter, const RenderHooks& hooks = {}, const ChapterWriter& writeChapters = {},
               LengthRules::Unused unusedLengths = LengthRules::Unused::refuse);

// The expected movie length of a prepared deck: the advance times of its
// visible slides.
std::int64_t expectedDurationMs(const std::vector<SlideReport>& preparedReports);

}  // namespace orvandel::OrvExporter
