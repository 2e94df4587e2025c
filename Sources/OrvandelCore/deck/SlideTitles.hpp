#pragma once
// The title of every slide as its author typed it: the text of the slide's
// title placeholder (a title or a centred title), one line. Chapter names
// come from here. Stateless.
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "deck/DeckModel.hpp"

namespace orvandel::SlideTitles {

// The text of the first title placeholder of a slide's XML: its paragraphs
// and line breaks joined by one space, runs of spaces, tabs and line breaks
// (U+2028 and the other Unicode line terminators among them) made one space,
// trimmed.
// Read with the XML parser, any prefix. Nothing when there is no title
// placeholder, when it holds no text, or when the slide does not parse: a
// title is a nicety, never a reason to fail.
std::optional<std::string> titleText(std::string_view slideXML);

// Display index (1-based, hidden slides counted) -> title, for the slides
// that have one. A slide that cannot be read has none. Throws only what
// DeckModel::slideList throws.
std::map<std::int64_t, std::string> titlesBySlide(DeckModel& deck);
std::map<std::int64_t, std::string> titlesBySlide(const std::filesystem::path& deck);

}  // namespace orvandel::SlideTitles
