#pragma once
// The chapters of a lesson: one per visible slide, from the moment the slide
// appears to the moment the next one does. The starts come from the same
// arithmetic as the cues (the advance times of the visible slides laid end
// to end), so chapters and cues agree with the movie to the millisecond.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "package/CueInputAssembler.hpp"
#include "render/Chapter.hpp"

namespace orvandel::ChapterList {

// The longest title a chapter keeps, in characters; a longer one is cut at
// a word where it can be and ends in "…".
inline constexpr std::size_t kLongestTitle = 80;

// One chapter per visible slide that takes time, in movie order, titled with
// titles[slideIndex] when the slide has one, else "Slide N".
std::vector<Chapter> chapters(const std::vector<CueInput>& inputs, const std::map<std::int64_t, std::string>& titles);

}  // namespace orvandel::ChapterList
