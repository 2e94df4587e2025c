#include "storyboard/StoryboardPdf.hpp"

namespace orvandel::StoryboardPdf {

std::filesystem::path draw(DeckModel& preparedDeck, const RenderPlan& plan, const Storyboard::Layout& layout,
                           const LinkSweep::Sweep& sweep, const std::filesystem::path& scratch,
                           const LibreOffice::ConvertOptions& options) {
    std::filesystem::path deckToDraw = preparedDeck.path();
    if (layout.needsDeck() || !sweep.empty()) {
        deckToDraw = scratch / "storyboard.pptx";
        Storyboard::write(preparedDeck, plan, layout, deckToDraw, sweep);
    }
    return LibreOffice::convert(deckToDraw, kPdfFilter, "pdf", scratch / "pdf", options);
}

}  // namespace orvandel::StoryboardPdf
