#pragma once
// Which lengths an export uses: the lengths the user gave, checked against
// what each slide shows, and the GIFs' own lengths where none was given. The
// export computes them once and hands the same maps to every step (scan,
// prepare, cues), so that the movie and the cues agree.
#include <vector>

#include "base/Warning.hpp"
#include "deck/SlideReport.hpp"

namespace orvandel::LengthRules {

// What becomes of a length given for a slide that has no GIF (a GIF length)
// or no video (a video length): a single export refuses it, as it is surely
// a mistake; a batch, which gives the same lengths to every deck, ignores it
// with a warning.
enum class Unused { refuse, ignore };

struct Lengths {
    SlideDurations videoMs;
    SlideDurations gifMs;
    std::vector<Warning>
        warnings;  // lengths dropped for slides without GIF, without video, for still GIFs; then lengths assumed
    bool operator==(const Lengths&) const = default;
};

// From the deck's reports (scanned with the lengths given, so that their GIFs
// are known):
// - a GIF length for a slide whose GIFs are all still pictures is dropped
//   (gifLengthIgnored), whatever `unused` says;
// - a visible slide with a moving GIF and no length given gets its GIFs' own
//   length (gifLengthAssumed); a hidden one gets it silently;
// - a length for a slide without a GIF / a video (or a slide the deck does
//   not have) is refused or dropped as `unused` says.
// Throws DeckError::lengthForSlideWithout (every such slide, GIF lengths
// before video lengths), then DeckError::gifWithoutDuration naming every
// visible slide whose moving GIF has no length of its own (it could not be
// read) and none given.
Lengths apply(const std::vector<SlideReport>& reports, const SlideDurations& videoMs, const SlideDurations& gifMs,
              Unused unused);

}  // namespace orvandel::LengthRules
