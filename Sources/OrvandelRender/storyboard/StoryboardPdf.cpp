#include "storyboard/StoryboardPdf.hpp"

namespace orvandel::StoryboardPdf {

std::filesystem::path deck(DeckModel& preparedDeck, const RenderPlan& plan, const Storyboard::Layout& layout,
                           const LinkSweep::Sweep& sweep, const std::filesystem::path& scratch) {
    const auto out = scratch / "storyboard.pptx";
    Storyboard::write(preparedDeck, plan, layout, out, sweep);
    return out;
}

std::filesystem::path draw(const std::filesystem::path& storyboardDeck, const std::filesystem::path& scratch,
                           const LibreOffice::ConvertOptions& options) {
    return LibreOffice::convert(storyboardDeck, kPdfFilter, "pdf", scratch / "pdf", options);
}

}  // namespace orvandel::StoryboardPdf
