#pragma once
// The key of every page's still in the render cache: a hash of everything
// that decides how LibreOffice draws the page, and of nothing else, so that
// an edit of one slide changes the keys of that slide's pages only.
//
// A page's key covers the environment (RenderFingerprint, the frame size),
// the deck-wide parts every page uses (presentation.xml without its slide
// list, its theme, presentation properties, table styles, embedded fonts)
// and the page's slide with every part it reaches through relationships
// (layout, master, theme, pictures, media, charts, diagrams, embedded
// objects, linked pictures taken into the storyboard), each by content and
// content type, never by name: the storyboard's copies are named by count,
// and a slide that gains a state renames those after it. Not reached: notes,
// other slides (a hyperlink to one), and from a master its layouts. A page
// that shows a date field depends on the day as well.
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace orvandel::PageKeys {

// The key of each page of the storyboard deck, in page order (page p at
// p - 1). `environment`: what else decides every page (the fingerprint of
// the programs and fonts, the frame size). Throws the archive reader's
// errors.
std::vector<std::string> of(const std::filesystem::path& storyboardDeck, std::string_view environment);
// The same with `day` ("YYYY-MM-DD") as the day the pages with a date field
// show; the above takes today's local date.
std::vector<std::string> of(const std::filesystem::path& storyboardDeck, std::string_view environment,
                            std::string_view day);

// Writes to `out` the storyboard deck with only `pages` (1-based, increasing)
// in its slide list, so that page k of its PDF is pages[k - 1]; the other
// slides' parts stay in the archive, unlisted. Throws the archive reader's
// errors and RenderError for a deck whose slide list cannot be read.
void keepOnly(const std::filesystem::path& storyboardDeck, const std::vector<int>& pages,
              const std::filesystem::path& out);

}  // namespace orvandel::PageKeys
