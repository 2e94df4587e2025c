#pragma once
// Decks for benchmarks: slides of a title and bullets that appear one per
// click, laid out so that they also render legibly, and the largest deck of
// the shared corpus.
#include <cstdint>
#include <filesystem>
#include <string>

namespace orvandel::test {

// Slide n: a title and `bullets` text boxes, each brought in by its own click
// with a fade of fadeMs. Once prepared, the slide lasts bullets x 1500 +
// 1500 ms when fadeMs is 500 or less.
std::string bulletSlideXml(int n, int bullets, int fadeMs = 500);

// `slides` such slides, each with two lines of speaker notes.
void writeBulletDeck(const std::filesystem::path& path, int slides, int bullets, int fadeMs = 500);

// A one-slide deck whose slide part unpacks to `slideBytes` bytes (a slide
// with a text box, padded by a long comment), deflated as it is written: a
// few megabytes of deck for gigabytes of slide, as a hostile or broken deck
// may be. slideBytes must stay below 4 GiB (a classic ZIP entry).
void writeHugeSlideDeck(const std::filesystem::path& path, std::uint64_t slideBytes);

// The largest readable deck of ../shared/corpus (ORVANDEL_CORPUS overrides
// it), or an empty path when there is none.
std::filesystem::path largestCorpusDeck();

}  // namespace orvandel::test
