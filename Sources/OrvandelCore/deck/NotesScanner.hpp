#pragma once
// Reads every slide's speaker notes as plain text, keyed by display index.
// Stateless; the notes body is searched as text with regular expressions.
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/Warning.hpp"
#include "deck/DeckModel.hpp"

namespace orvandel::NotesScanner {

// Display index (1-based, hidden slides counted) -> notes text. Slides without
// notes have no entry. A notes part that is listed but cannot be read (missing,
// damaged) gives no entry and a warning naming the slide and the reason; notes
// that are not valid UTF-8 keep their readable text (the bad bytes become
// U+FFFD) and give a warning too. Throws only what DeckScanner::slideList
// (DeckModel::slideList) throws; its own warnings are the deck report's to give, not repeated here.
std::map<std::int64_t, std::string> notesBySlide(DeckModel& deck, const WarningCallback& warn = {});
std::map<std::int64_t, std::string> notesBySlide(const std::filesystem::path& deck, const WarningCallback& warn = {});

// The text of the notes body placeholder: one line per paragraph, runs joined,
// entities decoded, every line break within a run (CR LF, CR, NEL, U+2028,
// U+2029...) made "\n", trimmed; "" when there is none.
std::string bodyText(std::string_view notesSlideXML);

}  // namespace orvandel::NotesScanner
