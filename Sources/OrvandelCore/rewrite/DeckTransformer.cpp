#include "rewrite/DeckTransformer.hpp"

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "base/AtomicFile.hpp"
#include "base/Bytes.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckError.hpp"
#include "deck/DeckScanner.hpp"
#include "deck/TimingPolicy.hpp"
#include "rewrite/ExitWriter.hpp"
#include "rewrite/MediaWriter.hpp"
#include "rewrite/SlideValidator.hpp"
#include "rewrite/TimingTransformer.hpp"
#include "rewrite/TransitionWriter.hpp"

namespace orvandel::DeckTransformer {

namespace {

// The presentation part without the p:sldId entries of the slides that cannot
// be found, so that the prepared deck holds exactly the slides the reports
// number. Nothing when the list cannot be edited this way.
std::optional<std::string> presentationWithout(std::string xml, const std::vector<std::string>& droppedIds) {
    auto list = SlideXML::parseElement(xml, "p:sldIdLst");
    if (!list) return std::nullopt;
    for (auto& slideId : list->childElements("p:sldId")) {
        const auto id = slideId.attribute("r:id");
        if (std::find(droppedIds.begin(), droppedIds.end(), id.value_or("")) != droppedIds.end()) slideId.detach();
    }
    return SlideXML::replaceElement(std::move(xml), "p:sldIdLst", *list);
}

struct Rewritten {
    std::string xml;
    Branch branch = Branch::static_;
};

// The slide's text moves through the writers: a large slide is held once.
Rewritten rewriteSlide(std::string xml, std::int64_t slide, const SlideReport& report, std::int64_t respiroMs,
                       std::int64_t espacamentoMs) {
    const std::int64_t advTm = *report.advTmMs;
    if (report.bulletCount >= 1) {
        std::string out = TimingTransformer::transformBulletSlide(xml, {advTm, respiroMs, espacamentoMs});
        if (report.exitGroupCount < 1) return {std::move(out), Branch::bullets};
        return {ExitWriter::retimeExitHeads(std::move(out), TimingPolicy::EXIT_OFFSET), Branch::bulletsWithExits};
    }
    if (report.hasOnClickVideo) {
        std::string out = MediaWriter::setAutoplayPreroll(MediaWriter::convertOnClickToAutoplay(std::move(xml)),
                                                          TimingPolicy::VIDEO_PRE);
        return {TransitionWriter::insert(std::move(out), advTm), Branch::clickVideo};
    }
    if (report.hasVideoAutoplay) {
        return {TransitionWriter::insert(MediaWriter::setAutoplayPreroll(std::move(xml), TimingPolicy::VIDEO_PRE),
                                         advTm),
                Branch::autoplayVideo};
    }
    // A video nothing starts cannot be played; one that a click on another
    // shape starts stays still (its poster), as nobody clicks in a lesson.
    if (report.videoCount > 0 && !report.triggerVideo) throw DeckError::videoWithoutMediaCall(slide);
    if (report.exitGroupCount >= 1) {
        return {TransitionWriter::insert(ExitWriter::convertExitToAfterEffect(std::move(xml)), advTm), Branch::exits};
    }
    return {TransitionWriter::insert(std::move(xml), advTm), Branch::static_};
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

std::vector<SlideReport> prepare(DeckModel& deck, const std::filesystem::path& output, const SlideDurations& videoMs,
                                 const SlideDurations& gifMs, std::int64_t respiroMs, std::int64_t espacamentoMs,
                                 std::vector<Branch>& branches) {
    // Refused before any work: the deck itself, or a folder, as the output.
    AtomicFile::checkDestination(output, {deck.path()});
    const SlideList& list = deck.slideList();
    const std::vector<std::string>& files = list.files;
    std::map<std::string, std::string> replacing;
    if (!list.droppedIds.empty()) {
        const std::string presentation = "ppt/presentation.xml";
        if (auto edited = presentationWithout(deck.part(presentation), list.droppedIds)) {
            replacing[presentation] = std::move(*edited);
        }
    }
    std::vector<DeckError::SlideFailure> failures;
    std::vector<std::int64_t> withoutLength, withoutMediaCall;
    std::vector<SlideReport> reports;
    std::vector<Branch> taken;
    reports.reserve(files.size());
    taken.reserve(files.size());

    for (const Slide& slide : deck.slides()) {
        const std::int64_t n = slide.number;
        const std::string& file = slide.file;
        std::string xml = deck.part(file);
        // The same analysis as the deck report, without reading the GIFs: a
        // GIF's length only enters the advance time, through gifMs.
        SlideReport report = DeckScanner::slideReport(slide, xml, "", videoMs, gifMs);
        if (!report.advTmMs) {
            withoutLength.push_back(n);
            continue;
        }
        // Every slide is looked at before refusing, so that the refusal names them all.
        Rewritten rewritten;
        try {
            rewritten = rewriteSlide(std::move(xml), n, report, respiroMs, espacamentoMs);
        } catch (const DeckError& e) {
            if (e.errorCase() != DeckError::Case::videoWithoutMediaCall) throw;
            withoutMediaCall.push_back(n);
            continue;
        }
        if (auto reason = SlideValidator::validationFailure(rewritten.xml)) {
            failures.push_back({n, std::move(*reason)});
        }
        replacing[file] = std::move(rewritten.xml);
        taken.push_back(rewritten.branch);
        reports.push_back(std::move(report));
    }

    if (!withoutLength.empty()) throw DeckError::missingVideoDuration(std::move(withoutLength));
    if (!withoutMediaCall.empty()) throw DeckError::videoWithoutMediaCall(std::move(withoutMediaCall));
    if (!failures.empty()) throw DeckError::invalidOutput(std::move(failures));
    // Written beside the destination and renamed into place: a failed write
    // never leaves a half-written or missing file behind.
    AtomicFile::replace(
        output,
        [&](const std::filesystem::path& temporary) { ZipArchive::rewriteText(deck.archive(), replacing, temporary); },
        {deck.path()}, true);
    branches = std::move(taken);
    return reports;
}

std::vector<SlideReport> prepare(const std::filesystem::path& deck, const std::filesystem::path& output,
                                 const SlideDurations& videoMs, const SlideDurations& gifMs, std::int64_t respiroMs,
                                 std::int64_t espacamentoMs) {
    DeckModel model(deck);  // opened by the first read, after the destination's check
    std::vector<Branch> ignored;
    return prepare(model, output, videoMs, gifMs, respiroMs, espacamentoMs, ignored);
}

}  // namespace orvandel::DeckTransformer
