#include "HeadlessRenderer.hpp"

#include <algorithm>
#include <exception>
#include <map>
#include <thread>

#include "pixels/DrawnChanges.hpp"
#include "encode/DrawnMovie.hpp"
#include "pixels/FrameConverter.hpp"
#include "tools/LibreOffice.hpp"
#include "storyboard/LinkSweep.hpp"
#include "media/MediaLayers.hpp"
#include "encode/MovieEncoder.hpp"
#include "pixels/PageRasterizer.hpp"
#include "encode/RawVideoStream.hpp"
#include "tools/RenderError.hpp"
#include "plan/RenderPlan.hpp"
#include "plan/SlideTransitions.hpp"
#include "storyboard/Storyboard.hpp"
#include "encode/FrameSchedule.hpp"
#include "base/Bytes.hpp"
#include "base/TemporaryDirectory.hpp"
#include "render/Mp4Duration.hpp"

namespace orvandel {

namespace {

// The GIFs the movie draws are left out of the stills: their own
// transparent pixels would show the first frame beneath.
void hideDrawnGifs(RenderPlan& plan, const std::map<std::int64_t, std::vector<std::string>>& gifs) {
    for (auto& slide : plan.slides) {
        const auto drawn = gifs.find(slide.displayIndex);
        if (drawn == gifs.end()) continue;
        for (auto& state : slide.playout.states) {
            for (const auto& id : drawn->second) state.hidden.push_back({id, std::nullopt});
            std::sort(state.hidden.begin(), state.hidden.end());
            state.hidden.erase(std::unique(state.hidden.begin(), state.hidden.end()), state.hidden.end());
        }
    }
}

}  // namespace

void HeadlessRenderer::export_(const RenderRequest& request, const std::filesystem::path& to,
                                     const std::function<bool()>&, const RenderHooks& hooks) const {
    const std::filesystem::path& preparedDeck = request.preparedDeck;
    // Opened once: every stage reads the prepared deck through it.
    DeckModel deck(preparedDeck);
    hooks.report(kStageRead, 0);
    RenderPlan plan = RenderPlanReader::read(deck);
    if (options_.showSteps) {
        for (const auto& warning : plan.warnings) hooks.warning(warning);
    }
    if (plan.totalMs() <= 0) {
        throw RenderError(RenderError::Case::badDeck, kStageRead,
                          std::string(kStageRead) + ": the deck has no visible slides, so there is nothing to render.");
    }
    std::error_code ec;
    std::filesystem::remove(to, ec);
    // The renderer's scratch space beside the movie, removed on every exit.
    const TemporaryDirectory scratch(to.parent_path(), ".render-");
    const auto frame = fitFrame(plan.slideWidthEmu, plan.slideHeightEmu);
    const DeckLinks::Rule links{std::filesystem::absolute(options_.deckFolder.value_or(preparedDeck.parent_path())),
                                options_.allowLinksOutside};
    MediaLayers::Gathered media;
    // A missing ffprobe is told where a missing ffmpeg would be, so that the
    // tools are asked for in the order the stages need them.
    std::exception_ptr missingProbe;
    if (options_.playMedia) {
        try {
            media = MediaLayers::gather(deck, plan, frame, scratch.path() / "media", links, hooks.warn,
                                        hooks.cancel);
        } catch (const RenderError& e) {
            if (e.errorCase() != RenderError::Case::missingTool) throw;
            missingProbe = std::current_exception();
        }
        hideDrawnGifs(plan, media.drawnGifs);
    }
    const Storyboard::Layout storyboard =
        Storyboard::layout(plan, options_.showSteps,
                           options_.drawEffects ? SlideTransitions::ofMarkup(request.sourceTransitions)
                                                : std::map<std::string, DrawnEffect>{});
    hooks.throwIfCancelled();

    // LibreOffice is given a deck that reaches nothing outside itself.
    const LinkSweep::Sweep sweep = LinkSweep::sweep(deck, plan, links);
    auto notFollowed = std::move(media.notFollowed);
    notFollowed.insert(notFollowed.end(), sweep.notFollowed.begin(), sweep.notFollowed.end());
    for (const auto& warning : DeckLinks::warnings(notFollowed)) hooks.warning(warning);
    hooks.throwIfCancelled();

    hooks.report(kStagePdf, 0);
    std::filesystem::path deckToDraw = preparedDeck;
    if (storyboard.needsDeck() || !sweep.empty()) {
        deckToDraw = scratch.path() / "storyboard.pptx";
        Storyboard::write(deck, plan, storyboard, deckToDraw, sweep);
    }
    const auto pageTotal = static_cast<std::int64_t>(storyboard.pages.size());
    const std::string deckName = options_.deckName.empty() ? preparedDeck.filename().string() : options_.deckName;
    const auto pdf = LibreOffice::convert(deckToDraw, kPdfFilter, "pdf", scratch.path() / "pdf",
                                          {.workDir = scratch.path() / "lo",
                                           .timeout = options_.libreOfficeTimeout.value_or(
                                               LibreOffice::timeLimit(pageTotal)),
                                           .cancel = hooks.cancel,
                                           .memoryLimit = options_.libreOfficeMemoryLimit,
                                           .deckName = deckName});
    hooks.report(kStagePdf, 1);

    // LibreOffice can leave out pages it cannot draw and still succeed: every
    // page is accounted for before any is drawn.
    const int pageCount = PageRasterizer::pageCount(pdf, hooks.cancel);
    if (pageCount != pageTotal) {
        throw RenderError(RenderError::Case::badOutput, kStagePdf,
                          std::string(kStagePdf) + ": LibreOffice made " + std::to_string(pageCount) +
                              " pages of " + deckName + " where " + std::to_string(pageTotal) +
                              " were asked for, so pages cannot be matched to slides. Open the deck in "
                              "LibreOffice Impress to see which slides it cannot read, or pass a movie you "
                              "rendered yourself with --mp4.");
    }

    const int workers = options_.workers > 0 ? options_.workers
                                             : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    hooks.report(kStageDraw, 0);
    std::vector<int> pages;
    for (const auto& shot : storyboard.shots) pages.push_back(shot.page);
    std::sort(pages.begin(), pages.end());
    pages.erase(std::unique(pages.begin(), pages.end()), pages.end());
    const auto images = PageRasterizer::rasterize(
        pdf, pages, frame, scratch.path() / "pages",
        {.workers = workers,
         .cancel = hooks.cancel,
         .onProgress = [&](int done, int total) { hooks.report(kStageDraw, double(done) / double(total)); }});

    std::vector<std::filesystem::path> stills;
    for (int page : pages) stills.push_back(images.at(page));
    if (options_.keepStillsIn) {
        std::filesystem::create_directories(*options_.keepStillsIn);
        for (int page : pages) {
            std::filesystem::copy_file(images.at(page), *options_.keepStillsIn / ("still-" + std::to_string(page) + ".tif"),
                                       std::filesystem::copy_options::overwrite_existing);
        }
    }
    const auto frames = FrameConverter::convert(stills, frame, scratch.path() / "frames", workers, hooks.cancel);
    std::map<int, std::filesystem::path> frameOf;
    for (std::size_t i = 0; i < pages.size(); ++i) frameOf[pages[i]] = frames.at(i);
    std::vector<ScheduledStill> entries;
    for (const auto& shot : storyboard.shots) entries.push_back({frameOf.at(shot.page), shot.durationMs});
    const auto changes = options_.drawEffects ? DrawnChanges::plan(storyboard.shots) : std::vector<DrawnChange>{};
    // Drawn changes move as media do: 30 frames a second.
    std::vector<MsRange> moving = media.moving;
    for (const auto& change : changes) moving.push_back(change.span);
    hooks.throwIfCancelled();

    if (missingProbe) std::rethrow_exception(missingProbe);
    hooks.report(kStageEncode, 0);
    const std::int64_t totalMs = plan.totalMs();
    MovieEncoder::Options encoding{.timeout = std::chrono::milliseconds(300'000 + totalMs / 2),
                                   .cancel = hooks.cancel,
                                   .onProgress = [&](double f) { hooks.report(kStageEncode, f); },
                                   .silentAudio = options_.silentAudio,
                                   .media = std::move(media.layers)};
    // Without anything to draw the frames are the stills themselves, read by
    // ffmpeg from a list; otherwise they are made here and piped.
    std::filesystem::path list;
    if (changes.empty()) {
        list = scratch.path() / "timeline.ffconcat";
        writeFile(list, FrameSchedule::ffconcat(entries, options_.periodicFrameMs, moving));
    } else {
        encoding.frames = [&](int fd) {
            RawVideoStream stream(fd, frame);
            DrawnMovie::write(stream, FrameSchedule::frames(entries, options_.periodicFrameMs, moving), entries, changes,
                              frame, hooks.cancel);
        };
    }
    MovieEncoder::encode(list, totalMs, to, encoding);
    hooks.report(kStageEncode, 1);

    std::int64_t measured = 0;
    try {
        measured = Mp4Duration::measureMs(to);
    } catch (const Mp4Duration::Mp4Error& e) {
        throw RenderError(RenderError::Case::badOutput, kStageEncode,
                          std::string(kStageEncode) + ": the movie ffmpeg wrote cannot be measured (" + e.what() +
                              "). Check free disk space and try again.");
    }
    if (measured < options_.minPlausibleMs) {
        throw RenderError(RenderError::Case::badOutput, kStageEncode,
                          std::string(kStageEncode) + ": the rendered movie is implausibly short (" +
                              std::to_string(measured) + " ms < " + std::to_string(options_.minPlausibleMs) +
                              " ms).");
    }
}

}  // namespace orvandel
