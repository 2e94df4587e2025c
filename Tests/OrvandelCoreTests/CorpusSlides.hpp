#pragma once
// Slide parts of the shared corpus, read once per test process. Decks whose
// archive cannot be read are left out (their own tests cover them).
#include <string>
#include <vector>

#include "PptxArchive.hpp"
#include "TestSupport.hpp"
#include "ZipArchive.hpp"

namespace orvandel::test {

struct CorpusSlide {
    std::string where;  // "deck.pptx:ppt/slides/slide3.xml"
    std::string xml;
};

inline const std::vector<CorpusSlide>& corpusSlides() {
    static const std::vector<CorpusSlide> slides = [] {
        std::vector<CorpusSlide> out;
        for (const auto& deck : corpusDecks()) {
            if (isBrokenDeck(deck)) continue;
            try {
                for (const auto& entry : ZipArchive::entryNames(deck)) {
                    if (entry.rfind("ppt/slides/slide", 0) != 0 || entry.find('/', 11) != std::string::npos) continue;
                    out.push_back({deck.filename().string() + ":" + entry, PptxArchive::readEntry(deck, entry)});
                }
            } catch (const Error&) {
            }
        }
        return out;
    }();
    return slides;
}

}  // namespace orvandel::test
