#pragma once
// The storyboard drawn by LibreOffice: one PDF page per storyboard slide.
#include <filesystem>

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

// Has LibreOffice draw a storyboard deck into scratch/pdf and returns the
// PDF. Throws what LibreOffice::convert throws.
std::filesystem::path draw(const std::filesystem::path& storyboardDeck, const std::filesystem::path& scratch,
                           const LibreOffice::ConvertOptions& options);

}  // namespace orvandel::StoryboardPdf
