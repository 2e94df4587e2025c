#include "storyboard/StoryboardPdf.hpp"

namespace orvandel::StoryboardPdf {

std::filesystem::path deck(DeckModel& preparedDeck, const RenderPlan& plan, const Storyboard::Layout& layout,
                           const LinkSweep::Sweep& sweep, const std::filesystem::path& scratch) {
    const auto out = scratch / "storyboard.pptx";
    Storyboard::write(preparedDeck, plan, layout, out, sweep);
    return out;
}

std::string filterFor(std::int64_t pixelsPerInch) {
    if (pixelsPerInch <= 300) return kPdfFilter;
    return "pdf:impress_pdf_Export:{\"ExportHiddenSlides\":{\"type\":\"boolean\",\"value\":\"true\"},"
           "\"ReduceImageResolution\":{\"type\":\"boolean\",\"value\":\"false\"}}";
}

std::filesystem::path draw(const std::filesystem::path& storyboardDeck, const std::filesystem::path& scratch,
                           const LibreOffice::ConvertOptions& options, std::int64_t pixelsPerInch) {
    return LibreOffice::convert(storyboardDeck, filterFor(pixelsPerInch), "pdf", scratch / "pdf", options);
}

}  // namespace orvandel::StoryboardPdf
