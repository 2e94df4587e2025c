#include "HeadlessRenderer.hpp"

#include <algorithm>
#include <exception>
#include <set>
#include <thread>

#include "base/TemporaryDirectory.hpp"
#include "cache/ContentHash.hpp"
#include "cache/RenderFingerprint.hpp"
#include "deck/DeckModel.hpp"
#include "encode/FrameSchedule.hpp"
#include "encode/MasterMovie.hpp"
#include "encode/MovieEncoder.hpp"
#include "encode/SegmentKeys.hpp"
#include "encode/SlideSegments.hpp"
#include "media/MediaLayers.hpp"
#include "pixels/DrawnChanges.hpp"
#include "pixels/FrameConverter.hpp"
#include "pixels/PageRasterizer.hpp"
#include "plan/RenderPlan.hpp"
#include "plan/SlideTransitions.hpp"
#include "storyboard/BlipRecolour.hpp"
#include "storyboard/LinkSweep.hpp"
#include "storyboard/PageKeys.hpp"
#include "storyboard/Storyboard.hpp"
#include "storyboard/StoryboardPdf.hpp"
#include "tools/DeckFontSetup.hpp"
#include "tools/LibreOffice.hpp"
#include "tools/RenderError.hpp"
#include "tools/RenderTools.hpp"

namespace orvandel {

namespace {

// The cache's kinds of entry.
const char* const kStill = "still";
const char* const kSegment = "segment";
const char* const kSound = "sound";

}  // namespace

// The stages in the order they run, each given what the ones before it made.
// Whatever an earlier export left in the cache is taken instead of being made
// again: a slide's encoded segment, or the stills of its pages.
void HeadlessRenderer::export_(const RenderRequest& request, const std::filesystem::path& to,
                               const std::function<bool()>&, const RenderHooks& hooks) const {
    const std::filesystem::path& preparedDeck = request.preparedDeck;
    // Opened once: every stage reads the prepared deck through it.
    DeckModel deck(preparedDeck);
    hooks.report(ExportStage::readPlan, 0);
    const RenderPlan plan = RenderPlanReader::read(deck);
    if (options_.showSteps) {
        for (const auto& warning : plan.warnings) hooks.warning(warning);
    }
    if (plan.totalMs() <= 0) {
        throw RenderError(RenderError::Case::badDeck, ExportStage::readPlan,
                          "reading the deck: the deck has no visible slides, so there is nothing to render.");
    }
    std::error_code ec;
    std::filesystem::remove(to, ec);
    // The renderer's scratch space beside the movie, removed on every exit.
    const TemporaryDirectory scratch(to.parent_path(), ".render-");
    const VideoSettings& video = options_.video;
    const auto frame = fitFrame(plan.slideWidthEmu, plan.slideHeightEmu, VideoSettings::widthOf(video.resolution),
                                VideoSettings::heightOf(video.resolution));
    const MovieEncoder::Encoding encoder{.quality = video.quality, .frame = frame, .fps = video.fps};
    const DeckLinks::Rule links{std::filesystem::absolute(options_.deckFolder.value_or(preparedDeck.parent_path())),
                                options_.allowLinksOutside};

    // The source deck's transitions: drawn with the effects, their sounds played with the media.
    const auto transitions = SlideTransitions::ofMarkup(request.sourceTransitions);
    const MediaLayers::Gathered media = options_.playMedia
                                            ? MediaLayers::gatherPostponingProbe(deck, plan, frame,
                                                                                 scratch.path() / "media", links,
                                                                                 hooks.warn, hooks.cancel, transitions)
                                            : MediaLayers::Gathered{};
    const Storyboard::Layout storyboard =
        Storyboard::layout(plan, options_.showSteps,
                           options_.drawEffects ? transitions : std::map<std::string, DrawnEffect>{}, media.drawnGifs);
    hooks.throwIfCancelled();

    // LibreOffice is given a deck that reaches nothing outside itself.
    LinkSweep::Sweep sweep = LinkSweep::sweep(deck, plan, links);
    // ... and draws recoloured pictures as PowerPoint shows them.
    BlipRecolour::mergeInto(sweep, BlipRecolour::bake(deck, plan, sweep, scratch.path() / "pictures", hooks.cancel));
    auto notFollowed = media.notFollowed;
    notFollowed.insert(notFollowed.end(), sweep.notFollowed.begin(), sweep.notFollowed.end());
    for (const auto& warning : DeckLinks::warnings(notFollowed)) hooks.warning(warning);
    hooks.throwIfCancelled();

    // The deck's embedded fonts, so that LibreOffice draws its text in them,
    // and the fonts it cannot honour, asked under the configuration it is
    // about to get, whose cache folder it then finds filled.
    const auto libreOfficeDir = scratch.path() / "lo";
    DeckFontSetup::Setup fonts = DeckFontSetup::prepare(deck, scratch.path() / "fonts",
                                                        libreOfficeDir / "fontconfig-cache");
    for (const auto& warning : fonts.warnings) hooks.warning(warning);

    // The movie in slides: what each one's segment is made of, and its key.
    const std::vector<DrawnChange> changes = options_.drawEffects ? DrawnChanges::plan(storyboard.shots)
                                                                  : std::vector<DrawnChange>{};
    std::vector<ScheduledStill> entries;
    for (const auto& shot : storyboard.shots) entries.push_back({{}, shot.durationMs});
    // Drawn changes move as media do, at the chosen frame rate.
    std::vector<MsRange> moving = media.moving;
    for (const auto& change : changes) moving.push_back(change.span);
    const std::vector<SlideSegment> segments = SlideSegments::split(
        storyboard.shots, FrameSchedule::frames(entries, options_.periodicFrameMs, moving, video.fps), changes,
        media.layers);

    const std::filesystem::path storyboardDeck = StoryboardPdf::deck(deck, plan, storyboard, sweep, scratch.path());
    const std::string fingerprint = RenderFingerprint::current();
    const std::string size = std::to_string(frame.width) + "x" + std::to_string(frame.height);
    const std::vector<std::string> pageKeys = PageKeys::of(storyboardDeck, fingerprint + "|" + size);
    // Without a key for every page (a slide list LibreOffice would read
    // differently), nothing is taken from the cache or kept in it.
    const std::optional<RenderCache> cache = options_.cache && pageKeys.size() == storyboard.pages.size()
                                                 ? std::optional<RenderCache>(RenderCache(*options_.cache))
                                                 : std::nullopt;
    SegmentKeys::MediaHashes mediaHashes;
    for (const auto& layer : media.layers) {
        if (!mediaHashes.contains(layer.file)) mediaHashes[layer.file] = ContentHash::ofFile(layer.file);
    }
    const std::string environment = SegmentKeys::environment(fingerprint, encoder, options_.periodicFrameMs,
                                                             std::thread::hardware_concurrency());
    std::map<std::int64_t, const RenderSlide*> slideOf;
    for (const auto& slide : plan.slides) slideOf[slide.displayIndex] = &slide;
    const auto segmentsDir = scratch.path() / "segments";
    std::filesystem::create_directories(segmentsDir);
    std::vector<std::string> segmentKeys;
    std::vector<std::filesystem::path> segmentFiles;
    std::vector<std::size_t> toEncode;
    for (std::size_t k = 0; k < segments.size(); ++k) {
        const int page = storyboard.shots.at(segments[k].firstShot).page;
        const RenderSlide& slide = *slideOf.at(storyboard.pages.at(std::size_t(page) - 1).displayIndex);
        const auto transition = request.sourceTransitions.find(slide.file);
        const std::string markup = slide.file + "\n" + deck.part(slide.file) + "\n" +
                                   (transition == request.sourceTransitions.end() ? "" : transition->second);
        segmentKeys.push_back(
            SegmentKeys::ofSegment(segments[k], storyboard.shots, pageKeys, markup, mediaHashes, environment));
        segmentFiles.push_back(segmentsDir / ("segment-" + std::to_string(k + 1) + ".mp4"));
        if (!cache || !cache->fetch(kSegment, segmentKeys.back(), segmentFiles.back())) toEncode.push_back(k);
    }
    hooks.reportReused(int(segments.size() - toEncode.size()), int(segments.size()));

    // The stills of the slides to encode: from the cache, or drawn by
    // LibreOffice from a storyboard of just the pages missing.
    std::set<int> pages;
    for (std::size_t k : toEncode) pages.insert(segments[k].pages.begin(), segments[k].pages.end());
    if (options_.keepStillsIn) {
        for (const auto& segment : segments) pages.insert(segment.pages.begin(), segment.pages.end());
    }
    std::map<int, std::filesystem::path> stills;
    std::vector<int> toDraw;
    const auto stillsDir = scratch.path() / "stills";
    std::filesystem::create_directories(stillsDir);
    for (int page : pages) {
        const auto file = stillsDir / ("still-" + std::to_string(page) + ".tif");
        if (cache && cache->fetch(kStill, pageKeys.at(std::size_t(page) - 1), file)) {
            stills[page] = file;
        } else {
            toDraw.push_back(page);
        }
    }
    const int workers = options_.workers > 0 ? options_.workers
                                             : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    if (!toDraw.empty()) {
        hooks.report(ExportStage::pdf, 0);
        const bool whole = toDraw.size() == storyboard.pages.size();
        const auto drawnDeck = whole ? storyboardDeck : scratch.path() / "storyboard-pages.pptx";
        if (!whole) PageKeys::keepOnly(storyboardDeck, toDraw, drawnDeck);
        const auto pageTotal = static_cast<std::int64_t>(toDraw.size());
        const std::string deckName = options_.deckName.empty() ? preparedDeck.filename().string() : options_.deckName;
        const auto pdf = StoryboardPdf::draw(
            drawnDeck, scratch.path(),
            {.workDir = libreOfficeDir,
             .timeout = options_.libreOfficeTimeout.value_or(LibreOffice::timeLimit(pageTotal)),
             .cancel = hooks.cancel,
             .memoryLimit = options_.libreOfficeMemoryLimit,
             .deckName = deckName,
             .fontDirs = std::move(fonts.fontDirs),
             .embeddedFamilies = std::move(fonts.embeddedFamilies)},
            // The pictures' pixels a slide inch needs in the frame.
            plan.slideWidthEmu > 0 ? (std::int64_t(frame.width) * 914400 - 1) / plan.slideWidthEmu + 1 : 0);
        hooks.report(ExportStage::pdf, 1);
        PageRasterizer::requirePages(pdf, pageTotal, deckName, hooks.cancel);
        hooks.report(ExportStage::draw, 0);
        // Page i of the PDF is the i-th page drawn.
        std::vector<int> pdfPages;
        for (std::size_t i = 0; i < toDraw.size(); ++i) pdfPages.push_back(int(i) + 1);
        const auto drawn = PageRasterizer::rasterize(
            pdf, pdfPages, frame, scratch.path() / "pages",
            {.workers = workers, .cancel = hooks.cancel, .onProgress = [&](int done, int total) {
                 hooks.report(ExportStage::draw, double(done) / double(total));
             }});
        for (std::size_t i = 0; i < toDraw.size(); ++i) {
            const auto& file = drawn.at(pdfPages[i]);
            stills[toDraw[i]] = file;
            if (cache) cache->store(kStill, pageKeys.at(std::size_t(toDraw[i]) - 1), file);
        }
    }
    if (options_.keepStillsIn) PageRasterizer::keepCopies(stills, *options_.keepStillsIn);
    const auto frames = FrameConverter::convert(stills, frame, scratch.path() / "frames", workers, hooks.cancel);
    hooks.throwIfCancelled();

    if (media.missingProbe) std::rethrow_exception(media.missingProbe);
    hooks.report(ExportStage::encode, 0);
    // The soundtrack beside the segments: it is encoded once, over the whole movie.
    std::optional<std::filesystem::path> sound;
    std::vector<MediaLayer> sounds;
    for (const auto& layer : media.layers) {
        if (layer.sound) sounds.push_back(layer);
    }
    for (auto& layer : sounds) layer.picture = false;
    std::optional<std::string> soundKey;
    if (options_.silentAudio && MovieEncoder::hasSound(plan.totalMs())) {
        sound = scratch.path() / "sound.m4a";
        soundKey = SegmentKeys::ofSound(sounds, plan.totalMs(), mediaHashes, environment);
        if (cache && cache->fetch(kSound, *soundKey, *sound)) soundKey.reset();
    }
    const MasterMovie::Options encoding{.workers = 2,
                                        .cancel = hooks.cancel,
                                        .onProgress = [&](double f) { hooks.report(ExportStage::encode, f); },
                                        .onSegment =
                                            [&](std::size_t k) {
                                                if (cache) cache->store(kSegment, segmentKeys[k], segmentFiles[k]);
                                            },
                                        .encoding = encoder};
    RenderTools::inParallel(soundKey ? 2 : 1, [&](int job) {
        if (job == 1) {
            MovieEncoder::encodeSound(plan.totalMs(), *sound, sounds,
                                      {.timeout = std::chrono::milliseconds(300'000 + plan.totalMs() / 2),
                                       .cancel = hooks.cancel,
                                       .onProgress = {}});
            if (cache) cache->store(kSound, *soundKey, *sound);
            return;
        }
        MasterMovie::encodeSegments(segments, toEncode, segmentFiles, storyboard.shots, frames, frame, encoding);
    });
    MasterMovie::join(segments, segmentFiles, sound, plan.totalMs(), scratch.path(), to, encoding);
    hooks.report(ExportStage::encode, 1);
    MasterMovie::check(to, options_.minPlausibleMs);
    if (cache) cache->trim();
}

}  // namespace orvandel
