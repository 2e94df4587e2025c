#pragma once
// Preparing real decks in tests: a deck whose video slides state no length
// gets one per such slide, as the user would give it on the command line.
#include <filesystem>
#include <vector>

#include "deck/DeckError.hpp"
#include "rewrite/DeckTransformer.hpp"

namespace orvandel::test {

inline std::vector<SlideReport> prepareSupplyingVideoLengths(const std::filesystem::path& deck,
                                                             const std::filesystem::path& out) {
    SlideDurations videoMs;
    for (;;) {
        try {
            return DeckTransformer::prepare(deck, out, videoMs, {}, 1000, 1500);
        } catch (const DeckError& e) {
            if (e.errorCase() != DeckError::Case::missingVideoDuration || videoMs.contains(e.slide())) throw;
            videoMs[e.slide()] = 5000;
        }
    }
}

}  // namespace orvandel::test
