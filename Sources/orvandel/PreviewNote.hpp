#pragma once
// What `preview` and `export --preview` add to "Preview written to ...":
// whether the page holds the speaker notes, which students should not see
// by accident.
#include <string_view>

namespace orvandel::cli {

inline std::string_view notesNote(bool withNotes) {
    return withNotes ? "(with the speaker notes of the visible slides)"
                     : "(without the speaker notes: add --with-notes to show them)";
}

}  // namespace orvandel::cli
