#pragma once
// A small lesson exported by the command-line tool from a deck and a movie
// made with ffmpeg, for the tests of what reads packages back.
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "TestSupport.hpp"

namespace orvandel::test {

// The notes of the lesson's deck: slide 2 is hidden; slide 3 has two click
// steps; slide 4 neither title nor notes.
extern const std::map<std::int64_t, std::string> kNotes;

// A deck, a movie as long as its plan (the ms), and the package exported
// from them with `options`.
struct Lesson {
    std::filesystem::path deck, movie, orv;
    std::int64_t planMs = 0;
};

Lesson exportLesson(const TempDir& dir, const std::vector<std::string>& options);

bool haveMediaTools();

}  // namespace orvandel::test
