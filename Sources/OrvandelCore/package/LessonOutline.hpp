#pragma once
// What a student sees at each cue, in words, for the preview page: the
// manifest only says "Slide 2 - bullet", the deck says what that step brings
// in. Per visible slide a title and where it starts; per cue a label: the
// slide's title for the cue that shows the slide before any step, the first
// words of the paragraphs or shapes a click step brings in (else
// "animação N", N counting the slide's steps), "fim do vídeo" and
// "fim do GIF" for the ends of media.
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "deck/DeckModel.hpp"
#include "package/CueCalculator.hpp"
#include "render/Chapter.hpp"

namespace orvandel::LessonOutline {

// The most characters a label keeps; a longer text is cut at a word and
// ends in "…".
inline constexpr std::size_t kLongestLabel = 60;

struct Outline {
    std::map<std::int64_t, std::string> titles;          // visible slide -> title ("Slide N" without one)
    std::map<std::int64_t, std::int64_t> slideStartsMs;  // visible slide -> where it starts in the movie
    std::vector<std::string> labels;                     // one per cue, in manifest order

    bool operator==(const Outline&) const = default;
};

// The text's first words: one line, at most kLongestLabel characters (UTF-8
// code points, never cut inside one).
std::string firstWords(std::string_view text);

// From the package alone: titles from the movie's chapters when it has them
// (each named after its slide's title), else "Slide N"; a slide starts where
// its chapter does, else at its first cue; steps are "animação N".
Outline fromCues(const std::vector<Cue>& cues, const std::vector<Chapter>& chapters = {});

// From the deck the package was made of: titles (SlideTitles) and the text
// each click step of the slide's main sequence brings in (its effects'
// targets: a shape's whole text, or the paragraphs it names). A slide the
// deck cannot tell about (unreadable, or its steps not matching the cues, as
// when the deck changed since) gets the labels of fromCues. Slide starts as
// fromCues. Throws only what DeckModel::slideList throws.
Outline fromDeck(DeckModel& deck, const std::vector<Cue>& cues, const std::vector<Chapter>& chapters = {});

}  // namespace orvandel::LessonOutline
