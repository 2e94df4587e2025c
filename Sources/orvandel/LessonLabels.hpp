#pragma once
// What the pages made from a package (preview, scorm, h5p) are labelled
// with when the command has only the package and, maybe, the deck.
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "package/LessonOutline.hpp"
#include "render/Chapter.hpp"

namespace orvandel::cli {

// The chapters an export put into the package's movie, which say where
// each slide appears and its title; none when there are none to read.
std::vector<Chapter> movieChapters(const std::filesystem::path& package);

// The rows' labels: from `deck` when one is given, else the titles of the
// movie's chapters, else "Slide N".
LessonOutline::Outline outlineOf(const std::filesystem::path& package, const std::string& deck,
                                 const std::vector<Cue>& cues);

// What `preview`, `scorm` and `export --preview` add to "... written to
// ...": whether the page holds the speaker notes, which students should not
// see by accident.
inline std::string_view notesNote(bool withNotes) {
    return withNotes ? "(with the speaker notes of the visible slides)"
                     : "(without the speaker notes: add --with-notes to show them)";
}

}  // namespace orvandel::cli
