#pragma once
// The lesson's preview folder (PreviewPage: index.html and the movie beside
// it) for the result's "Assistir" and "Abrir prévia". It goes in the app's
// cache, not beside the package: the user asked to watch, not for a new
// folder next to the lesson. One folder per package, written again only when
// the package is newer than it; only the few most recent are kept, since
// each holds a copy of a movie.
#include <filesystem>

#include "base/Cancellation.hpp"

namespace orvandel::LessonPreview {

inline constexpr int kKept = 3;

// Where the preview of `orv` goes under `root`: its name and a digest of its path.
std::filesystem::path folderFor(const std::filesystem::path& root, const std::filesystem::path& orv);

// The preview of `orv`, written under `root` unless an up-to-date one is
// there; the older folders beyond kKept are removed. `deck`, the deck it was
// exported from, names the page's rows after what the student sees (a deck
// that cannot be read leaves them "Slide N"). Throws what PreviewPage::write
// throws. Slow (it copies the movie): off the GUI thread.
std::filesystem::path prepare(const std::filesystem::path& root, const std::filesystem::path& orv,
                              const std::filesystem::path& deck, const CancellationToken& cancel);

}  // namespace orvandel::LessonPreview
