#pragma once
// Writes the .orv package: "manifest.json" then "assets/master.mp4", both
// stored. The archive is written to a hidden temporary file beside the
// destination and renamed over it, so an existing package is either replaced
// whole or left exactly as it was.
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "container/ZipArchive.hpp"

namespace orvandel::OrvPackager {

// Writes the archive for the entries at a path; the default streams the
// movie in chunks (tests inject failures here).
using ArchiveWriter = std::function<void(const std::vector<ZipArchive::StreamedEntry>&, const std::filesystem::path&)>;

// A destination that is the movie itself, or is not a regular file, throws
// OutputError before anything is written.
// The movie must be readable (its FileError is thrown as it is, before
// anything is written). A failure to write the archive or to move it into
// place throws DeckError::orvWriteFailed(to) and leaves no temporary file; a
// CancelledError from the writer leaves none either and is passed on as it is.
void package(const std::string& manifestJSON, const std::filesystem::path& masterMp4, const std::filesystem::path& to,
             const ArchiveWriter& writer = ZipArchive::createStreaming);

}  // namespace orvandel::OrvPackager
