#pragma once
// The storyboard drawn by LibreOffice: one PDF page per storyboard slide.
#include <cstdint>
#include <filesystem>
#include <string>

#include "deck/DeckModel.hpp"
#include "plan/RenderPlan.hpp"
#include "storyboard/LinkSweep.hpp"
#include "storyboard/Storyboard.hpp"
#include "tools/LibreOffice.hpp"

namespace orvandel::StoryboardPdf {

// The filter LibreOffice converts with: PDF with hidden slides kept, so
// that page i is storyboard slide i.
inline constexpr const char* kPdfFilter =
    "pdf:impress_pdf_Export:{\"ExportHiddenSlides\":{\"type\":\"boolean\",\"value\":\"true\"}}";

// The storyboard deck, written into scratch, even where the prepared deck
// would do: its slide numbers are frozen, so that a storyboard of some of its
// pages draws them as the whole one does. Throws what Storyboard::write
// throws.
std::filesystem::path deck(DeckModel& preparedDeck, const RenderPlan& plan, const Storyboard::Layout& layout,
                           const LinkSweep::Sweep& sweep, const std::filesystem::path& scratch);

// The filter for stills of `pixelsPerInch` on the slide: LibreOffice keeps
// pictures at 300 dpi at most, enough up to 1080p and, on the usual slide
// sizes, 2160p; beyond that it keeps them as they are, so that a large
// frame does not show them enlarged from fewer pixels. kPdfFilter up to 300.
std::string filterFor(std::int64_t pixelsPerInch);

// Has LibreOffice draw a storyboard deck into scratch/pdf, pictures good
// for pixelsPerInch (filterFor), and returns the PDF. Throws what
// LibreOffice::convert throws.
std::filesystem::path draw(const std::filesystem::path& storyboardDeck, const std::filesystem::path& scratch,
                           const LibreOffice::ConvertOptions& options, std::int64_t pixelsPerInch = 0);

}  // namespace orvandel::StoryboardPdf
