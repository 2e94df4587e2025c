#include "package/OrvExporter.hpp"

#include <algorithm>

#include "base/AtomicFile.hpp"
#include "base/Bytes.hpp"
#include "base/Checked.hpp"
#include "base/TemporaryDirectory.hpp"
#include "deck/DeckError.hpp"
#include "deck/DeckScanner.hpp"
#include "deck/LengthRules.hpp"
#include "deck/NotesScanner.hpp"
#include "deck/SlideTitles.hpp"
#include "deck/TimingPolicy.hpp"
#include "package/ChapterList.hpp"
#include "package/CueCalculator.hpp"
#include "package/CueInputAssembler.hpp"
#include "package/ManifestBuilder.hpp"
#include "package/OrvPackager.hpp"
#include "render/MasterDurationGuard.hpp"
#include "render/Mp4Duration.hpp"
#include "rewrite/DeckTransformer.hpp"

namespace orvandel::OrvExporter {

FlowError::FlowError(const Mp4Exporter::ExportError& error)
    : Error(std::string("Não foi possível automatizar o export do MP4 (motivo: ") + error.what() + "). " +
            "Exporte manualmente no PowerPoint (Arquivo → Exportar → Criar Vídeo, " +
            "1080p, 'Usar Narrações e Temporizações Gravadas' marcado) e rode de novo " + "passando --mp4 <arquivo>."),
      exportError_(error) {}

FlowError FlowError::automationFailed(const Mp4Exporter::ExportError& error) { return FlowError(error); }

namespace {

Result resultOf(const std::vector<SlideReport>& reports, bool movieHandedIn) {
    Result r;
    for (const auto& s : reports) {
        if (s.hasOnClickVideo && !movieHandedIn) r.convertedOnClickVideoSlides.push_back(s.displayIndex);
        if (s.hasExitEffect && !s.isHidden) r.slidesWithExitEffects.push_back(s.displayIndex);
        if (!s.isHidden) r.maxBulletsPerSlide = std::max(r.maxBulletsPerSlide, s.bulletCount);
    }
    return r;
}

// One warning per kind of medium, naming every visible slide where a click
// on another shape would start it: nobody clicks in a lesson.
std::vector<Warning> stillMediaWarnings(const std::vector<SlideReport>& reports) {
    std::vector<std::int64_t> videos, audio;
    for (const auto& s : reports) {
        if (s.isHidden) continue;
        if (s.triggerVideo) videos.push_back(s.displayIndex);
        if (s.triggerAudio) audio.push_back(s.displayIndex);
    }
    std::vector<Warning> warnings;
    if (!videos.empty()) warnings.push_back(Warning::mediaStaysStill(videos, "video"));
    if (!audio.empty()) warnings.push_back(Warning::mediaStaysStill(audio, "audio clip"));
    return warnings;
}

}  // namespace

std::int64_t expectedDurationMs(const std::vector<SlideReport>& preparedReports) {
    std::int64_t total = 0;
    for (const auto& s : preparedReports) {
        if (!s.isHidden && s.advTmMs) total = checkedAdd(total, *s.advTmMs);
    }
    return total;
}

Result export_(const std::filesystem::path& originalPptx, const std::optional<std::filesystem::path>& masterMp4,
               const std::filesystem::path& outOrv, const SlideDurations& videoMs, const SlideDurations& gifMs,
               std::chrono::system_clock::time_point generatedAt, const std::string& source,
               const std::string& pluginVersion, const std::function<bool()>& isRenderAlive,
               const Mp4Exporting& exporter, const RenderHooks& callerHooks, const ChapterWriter& writeChapters,
               LengthRules::Unused unusedLengths) {
    // The model opens the file on its first read, after the destination checks.
    DeckModel deck(originalPptx);
    return export_(deck, masterMp4, outOrv, videoMs, gifMs, generatedAt, source, pluginVersion, isRenderAlive, exporter,
                   callerHooks, writeChapters, unusedLengths);
}

Result export_(DeckModel& deck, const std::optional<std::filesystem::path>& masterMp4,
               const std::filesystem::path& outOrv, const SlideDurations& videoMs, const SlideDurations& gifMs,
               std::chrono::system_clock::time_point generatedAt, const std::string& source,
               const std::string& pluginVersion, const std::function<bool()>& isRenderAlive,
               const Mp4Exporting& exporter, const RenderHooks& callerHooks, const ChapterWriter& writeChapters,
               LengthRules::Unused unusedLengths) {
    const std::filesystem::path& originalPptx = deck.path();
    // Every warning, whoever notices it, reaches the caller and the result.
    std::vector<Warning> warnings;
    RenderHooks hooks = callerHooks;
    hooks.warn = [&](const Warning& w) {
        warnings.push_back(w);
        callerHooks.warning(w);
    };
    // A destination that is an input (the deck or the movie), or a folder, or
    // where the package could not be written, is refused before minutes of
    // rendering.
    std::vector<std::filesystem::path> inputs{originalPptx};
    if (masterMp4) inputs.push_back(*masterMp4);
    AtomicFile::checkDestination(outOrv, inputs);
    AtomicFile::checkWritable(outOrv);
    hooks.report(ExportStage::scan, 0);
    // The deck is read once: every step below asks this one reading.
    const auto given = DeckScanner::report(deck, videoMs, gifMs, hooks.warn);
    if (std::none_of(given.begin(), given.end(), [](const SlideReport& s) { return !s.isHidden; })) {
        throw DeckError::noVisibleSlides();
    }
    const auto media = DeckScanner::validateMedia(given);
    if (media.needsAttention()) throw DeckError::multipleVideosOnSlide(media.slidesWithMultipleVideos);
    // The lengths used, decided once: the scan, the prepared deck and the
    // cues all time the slides with these, or the movie and the cues part.
    const auto lengths = LengthRules::apply(given, videoMs, gifMs, unusedLengths);
    for (const auto& w : lengths.warnings) hooks.warn(w);
    const auto reports = lengths.videoMs == videoMs && lengths.gifMs == gifMs
                             ? given
                             : DeckScanner::report(deck, lengths.videoMs, lengths.gifMs);
    if (!masterMp4) {
        for (const auto& w : stillMediaWarnings(reports)) hooks.warn(w);
    }
    hooks.throwIfCancelled();

    // Removed with everything in it when the flow ends, however it ends.
    std::optional<TemporaryDirectory> work;
    std::filesystem::path movie;
    std::int64_t expectedMs = 0;
    if (masterMp4) {
        movie = *masterMp4;
    } else {
        work.emplace(exporter.workDirectoryBase(), "orv-chain-");
        const auto prepared = work->path() / "prepared.pptx";
        hooks.report(ExportStage::prepare, 0);
        std::vector<DeckTransformer::Branch> branches;
        const auto preparedReports = DeckTransformer::prepare(deck, prepared, lengths.videoMs, lengths.gifMs,
                                                              TimingPolicy::respiroMs, TimingPolicy::espacamentoMs,
                                                              branches);
        expectedMs = expectedDurationMs(preparedReports);
        hooks.throwIfCancelled();
        movie = work->path() / "master.mp4";
        try {
            exporter.export_(RenderRequest{prepared, deck.transitions()}, movie, isRenderAlive, hooks);
        } catch (const Mp4Exporter::ExportError& e) {
            throw FlowError::automationFailed(e);
        }
    }

    const auto cueInputs = CueInputAssembler::cueInputs(reports, lengths.videoMs, lengths.gifMs);
    const auto cues = CueCalculator::calculateCues(cueInputs);
    const auto notes = NotesScanner::notesBySlide(deck, hooks.warn);
    const std::int64_t measuredMs = Mp4Duration::measureMs(movie);
    if (!masterMp4 && !MasterDurationGuard::check(expectedMs, measuredMs).isOk()) {
        throw DeckError::masterDurationMismatch(expectedMs, measuredMs);
    }
    hooks.throwIfCancelled();

    if (writeChapters) {
        hooks.report(ExportStage::chapters, 0);
        if (!work) work.emplace(exporter.workDirectoryBase(), "orv-chain-");
        const auto chaptered = work->path() / "chaptered.mp4";
        writeChapters(movie, ChapterList::chapters(cueInputs, SlideTitles::titlesBySlide(deck)), chaptered, hooks);
        movie = chaptered;
        hooks.throwIfCancelled();
    }

    hooks.report(ExportStage::package, 0);
    // A file name is bytes, the manifest UTF-8: bytes of another encoding show as U+FFFD.
    const ManifestMetadata metadata{repairedUtf8(originalPptx.filename().string()),
                                    static_cast<std::int64_t>(reports.size()),
                                    measuredMs,
                                    generatedAt,
                                    source,
                                    pluginVersion};
    // A cancel that arrives while the archive is written still keeps an
    // existing package: the token is looked at once more before the rename.
    const auto writeUnlessCancelled = [&hooks](const std::vector<ZipArchive::StreamedEntry>& entries,
                                               const std::filesystem::path& to) {
        ZipArchive::createStreaming(entries, to);
        hooks.throwIfCancelled();
    };
    OrvPackager::package(ManifestBuilder::buildManifestV3(cues, notes, metadata), movie, outOrv, writeUnlessCancelled);
    hooks.report(ExportStage::package, 1);
    Result result = resultOf(reports, masterMp4.has_value());
    result.warnings = std::move(warnings);
    result.cueCount = static_cast<std::int64_t>(cues.size());
    result.masterVideoDurationMs = measuredMs;
    return result;
}

}  // namespace orvandel::OrvExporter
