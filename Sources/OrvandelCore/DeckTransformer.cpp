#include "DeckTransformer.hpp"

#include <map>
#include <optional>
#include <string>

#include "AdvanceTimeCalculator.hpp"
#include "AdvanceTimeScanner.hpp"
#include "AtomicFile.hpp"
#include "Bytes.hpp"
#include "DeckError.hpp"
#include "DeckScanner.hpp"
#include "ExitWriter.hpp"
#include "MediaWriter.hpp"
#include "PptxArchive.hpp"
#include "SlideValidator.hpp"
#include "TimingTransformer.hpp"
#include "TransitionWriter.hpp"
#include "ZipArchive.hpp"

namespace orvandel::DeckTransformer {

namespace {

constexpr std::int64_t kVideoPreMs = 500;
constexpr std::int64_t kExitHeadOffsetMs = 500;
constexpr std::string_view kVideoFile = "<a:videoFile";

std::int64_t occurrences(std::string_view text, std::string_view needle) {
    std::int64_t count = 0;
    for (std::size_t at = text.find(needle); at != std::string_view::npos; at = text.find(needle, at + needle.size())) {
        ++count;
    }
    return count;
}

std::optional<std::int64_t> lookUp(const SlideDurations& map, std::int64_t slide) {
    const auto it = map.find(slide);
    return it == map.end() ? std::nullopt : std::optional(it->second);
}

struct Rewritten {
    std::string xml;
    Branch branch;
};

Rewritten rewriteSlide(const std::string& xml, std::int64_t slide, const ScanResult& scan, bool autoplay,
                       bool onClickVideo, std::int64_t advTm, std::int64_t respiroMs, std::int64_t espacamentoMs) {
    if (scan.bulletCount >= 1) {
        std::string out = TimingTransformer::transformBulletSlide(xml, {advTm, respiroMs, espacamentoMs});
        if (scan.exitGroupCount < 1) return {std::move(out), Branch::bullets};
        return {ExitWriter::retimeExitHeads(std::move(out), kExitHeadOffsetMs), Branch::bulletsWithExits};
    }
    if (onClickVideo) {
        std::string out = MediaWriter::setAutoplayPreroll(MediaWriter::convertOnClickToAutoplay(xml), kVideoPreMs);
        return {TransitionWriter::insert(std::move(out), advTm), Branch::clickVideo};
    }
    if (autoplay) {
        return {TransitionWriter::insert(MediaWriter::setAutoplayPreroll(xml, kVideoPreMs), advTm),
                Branch::autoplayVideo};
    }
    if (xml.find(kVideoFile) != std::string::npos) throw DeckError::videoWithoutMediaCall(slide);
    if (scan.exitGroupCount >= 1) {
        return {TransitionWriter::insert(ExitWriter::convertExitToAfterEffect(xml), advTm), Branch::exits};
    }
    return {TransitionWriter::insert(xml, advTm), Branch::static_};
}

}  // namespace

std::string_view toString(Branch branch) {
    switch (branch) {
        case Branch::bullets: return "bullets";
        case Branch::bulletsWithExits: return "bullets+exits";
        case Branch::clickVideo: return "click video";
        case Branch::autoplayVideo: return "autoplay video";
        case Branch::exits: return "exits";
        case Branch::static_: return "static";
    }
    return "static";
}

std::vector<SlideReport> prepare(const std::filesystem::path& inputURL, const std::filesystem::path& outputURL,
                                 const SlideDurations& videoMs, const SlideDurations& gifMs, std::int64_t respiroMs,
                                 std::int64_t espacamentoMs, std::vector<Branch>& branches) {
    PptxArchive::Deck deck(inputURL);
    const std::vector<std::string> files = DeckScanner::orderedSlideFiles(deck);
    std::map<std::string, Bytes> replacing;
    std::vector<DeckError::SlideFailure> failures;
    std::vector<SlideReport> reports;
    std::vector<Branch> taken;
    reports.reserve(files.size());
    taken.reserve(files.size());

    std::int64_t n = 0;
    for (const std::string& file : files) {
        ++n;
        const std::string xml = deck.readEntry(file);
        const ScanResult scan = AdvanceTimeScanner::scan(xml);
        const bool autoplay = DeckScanner::hasVideoAutoplay(xml);
        const auto video = DeckScanner::mainSeqVideo(xml);
        const auto gif = lookUp(gifMs, n);

        std::optional<std::int64_t> videoDuration = lookUp(videoMs, n);
        if (!videoDuration) videoDuration = video.durationMs;
        if (video.present && !videoDuration) throw DeckError::missingVideoDuration(n);

        const std::int64_t advTm = AdvanceTimeCalculator::advanceTimeMs(
            scan.bulletDursMs, scan.autoDurationMs >= 1, scan.autoDurationMs, videoDuration.has_value(),
            videoDuration.value_or(0), gif.has_value(), gif.value_or(0), scan.exitGroupCount);

        const bool onClickVideo = video.present && video.isOnClick;
        Rewritten rewritten =
            rewriteSlide(xml, n, scan, autoplay, onClickVideo, advTm, respiroMs, espacamentoMs);
        if (auto reason = SlideValidator::validationFailure(rewritten.xml)) {
            failures.push_back({n, std::move(*reason)});
        }
        replacing[file] = toBytes(rewritten.xml);
        taken.push_back(rewritten.branch);

        SlideReport report;
        report.displayIndex = n;
        report.file = file;
        report.bulletCount = scan.bulletCount;
        report.bulletDursMs = scan.bulletDursMs;
        report.autoDurationMs = scan.autoDurationMs;
        report.hasVideoAutoplay = autoplay;
        report.videoCount = occurrences(xml, kVideoFile);
        report.advTmMs = advTm;
        report.isHidden = DeckScanner::isSlideHidden(xml);
        report.videoDurationMs = videoDuration;
        report.hasOnClickVideo = onClickVideo;
        report.hasGif = false;
        report.hasExitEffect = scan.hasExitEffect;
        report.exitGroupCount = scan.exitGroupCount;
        report.orderedGroupKinds = scan.orderedGroupKinds;
        reports.push_back(std::move(report));
    }

    if (!failures.empty()) throw DeckError::invalidOutput(std::move(failures));
    // Written beside the destination and renamed into place: a failed write
    // never leaves a half-written or missing file behind.
    AtomicFile::replace(outputURL, [&](const std::filesystem::path& temporary) {
        ZipArchive::rewrite(inputURL, replacing, temporary);
    });
    branches = std::move(taken);
    return reports;
}

std::vector<SlideReport> prepare(const std::filesystem::path& inputURL, const std::filesystem::path& outputURL,
                                 const SlideDurations& videoMs, const SlideDurations& gifMs, std::int64_t respiroMs,
                                 std::int64_t espacamentoMs) {
    std::vector<Branch> ignored;
    return prepare(inputURL, outputURL, videoMs, gifMs, respiroMs, espacamentoMs, ignored);
}

}  // namespace orvandel::DeckTransformer
