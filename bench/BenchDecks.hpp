#pragma once
// Decks for benchmarks: slides of a title and bullets that appear one per
// click, laid out so that they also render legibly, and the largest deck of
// the shared corpus.
#include <filesystem>
#include <string>

namespace orvandel::test {

// Slide n: a title and `bullets` text boxes, each brought in by its own click
// with a fade of fadeMs. Once prepared, the slide lasts bullets x 1500 +
// 1500 ms when fadeMs is 500 or less.
std::string bulletSlideXml(int n, int bullets, int fadeMs = 500);

// `slides` such slides, each with two lines of speaker notes.
void writeBulletDeck(const std::filesystem::path& path, int slides, int bullets, int fadeMs = 500);

// The largest readable deck of ../shared/corpus (ORVANDEL_CORPUS overrides
// it), or an empty path when there is none.
std::filesystem::path largestCorpusDeck();

}  // namespace orvandel::test
