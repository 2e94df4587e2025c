#include "package/CueInputAssembler.hpp"

#include "deck/DeckError.hpp"
#include "deck/DeckScanner.hpp"

namespace orvandel::CueInputAssembler {

namespace {

std::optional<std::int64_t> lookup(const SlideDurations& durations, std::int64_t slide) {
    const auto it = durations.find(slide);
    if (it == durations.end()) return std::nullopt;
    return it->second;
}

}  // namespace

std::vector<CueInput> cueInputs(const std::vector<SlideReport>& reports, const SlideDurations& videoMs,
                                const SlideDurations& gifMs) {
    std::vector<std::int64_t> withoutLength;
    for (const SlideReport& report : reports) {
        if (!report.advTmMs && !report.isHidden) withoutLength.push_back(report.displayIndex);
    }
    if (!withoutLength.empty()) throw DeckError::missingVideoDuration(std::move(withoutLength));
    std::vector<CueInput> inputs;
    inputs.reserve(reports.size());
    for (const SlideReport& report : reports) {
        CueInput input;
        input.slideIndex = report.displayIndex;
        input.isHidden = report.isHidden;
        input.advanceTimeMs = report.advTmMs.value_or(0);
        input.bulletCount = report.bulletCount;
        input.bulletDursMs = report.bulletDursMs;
        input.exitGroupCount = report.exitGroupCount;
        input.orderedGroupKinds = report.orderedGroupKinds;
        input.opensWithMedia = report.opensWithMedia;
        input.videoDurationMs = lookup(videoMs, report.displayIndex);
        if (!input.videoDurationMs) input.videoDurationMs = report.videoDurationMs;
        // The report knows that a GIF is there, never how long it runs.
        input.gifDurationMs = lookup(gifMs, report.displayIndex);
        if (report.autoDurationMs >= 1) input.autoDurationMs = report.autoDurationMs;
        inputs.push_back(std::move(input));
    }
    return inputs;
}

std::vector<CueInput> cueInputs(const std::filesystem::path& pptx, const SlideDurations& videoMs,
                                const SlideDurations& gifMs) {
    return cueInputs(DeckScanner::report(pptx, videoMs, gifMs), videoMs, gifMs);
}

}  // namespace orvandel::CueInputAssembler
