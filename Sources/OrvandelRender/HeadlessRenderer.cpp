#include "HeadlessRenderer.hpp"

#include <algorithm>
#include <exception>
#include <thread>

#include "base/TemporaryDirectory.hpp"
#include "deck/DeckModel.hpp"
#include "encode/MasterMovie.hpp"
#include "media/MediaLayers.hpp"
#include "pixels/DrawnChanges.hpp"
#include "pixels/FrameConverter.hpp"
#include "pixels/PageRasterizer.hpp"
#include "plan/RenderPlan.hpp"
#include "plan/SlideTransitions.hpp"
#include "storyboard/BlipRecolour.hpp"
#include "storyboard/LinkSweep.hpp"
#include "storyboard/Storyboard.hpp"
#include "storyboard/StoryboardPdf.hpp"
#include "tools/DeckFontSetup.hpp"
#include "tools/LibreOffice.hpp"
#include "tools/RenderError.hpp"

namespace orvandel {

// The stages in the order they run, each given what the ones before it made.
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
    const auto frame = fitFrame(plan.slideWidthEmu, plan.slideHeightEmu);
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

    hooks.report(ExportStage::pdf, 0);
    const auto pageTotal = static_cast<std::int64_t>(storyboard.pages.size());
    const std::string deckName = options_.deckName.empty() ? preparedDeck.filename().string() : options_.deckName;
    const auto pdf =
        StoryboardPdf::draw(deck, plan, storyboard, sweep, scratch.path(),
                            {.workDir = libreOfficeDir,
                             .timeout = options_.libreOfficeTimeout.value_or(LibreOffice::timeLimit(pageTotal)),
                             .cancel = hooks.cancel,
                             .memoryLimit = options_.libreOfficeMemoryLimit,
                             .deckName = deckName,
                             .fontDirs = std::move(fonts.fontDirs),
                             .embeddedFamilies = std::move(fonts.embeddedFamilies)});
    hooks.report(ExportStage::pdf, 1);
    PageRasterizer::requirePages(pdf, pageTotal, deckName, hooks.cancel);

    const int workers = options_.workers > 0 ? options_.workers
                                             : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    hooks.report(ExportStage::draw, 0);
    const auto stills =
        PageRasterizer::drawShots(pdf, storyboard.shots, frame, scratch.path() / "pages",
                                  {.workers = workers, .cancel = hooks.cancel, .onProgress = [&](int done, int total) {
                                       hooks.report(ExportStage::draw, double(done) / double(total));
                                   }});
    if (options_.keepStillsIn) PageRasterizer::keepCopies(stills, *options_.keepStillsIn);
    const auto frames = FrameConverter::convert(stills, frame, scratch.path() / "frames", workers, hooks.cancel);
    const auto changes = options_.drawEffects ? DrawnChanges::plan(storyboard.shots) : std::vector<DrawnChange>{};
    hooks.throwIfCancelled();

    if (media.missingProbe) std::rethrow_exception(media.missingProbe);
    hooks.report(ExportStage::encode, 0);
    MasterMovie::encode(storyboard.shots, frames, changes, media, frame, plan.totalMs(), scratch.path(), to,
                        {.periodicFrameMs = options_.periodicFrameMs,
                         .silentAudio = options_.silentAudio,
                         .cancel = hooks.cancel,
                         .onProgress = [&](double f) { hooks.report(ExportStage::encode, f); }});
    hooks.report(ExportStage::encode, 1);
    MasterMovie::check(to, options_.minPlausibleMs);
}

}  // namespace orvandel
