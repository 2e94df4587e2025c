#pragma once
// Slide parts of the shared corpus, read through the unzip tool until the
// in-process entry reader lands. Decks that unzip cannot list are left out.
#include <string>
#include <vector>

#include "Subprocess.hpp"
#include "TestSupport.hpp"

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
            const auto listing = Subprocess::run({"unzip", "-Z1", deck.string()});
            if (!listing.succeeded()) continue;
            std::size_t at = 0;
            while (at < listing.standardOutput.size()) {
                std::size_t eol = listing.standardOutput.find('\n', at);
                if (eol == std::string::npos) eol = listing.standardOutput.size();
                const std::string entry = listing.standardOutput.substr(at, eol - at);
                at = eol + 1;
                if (entry.rfind("ppt/slides/slide", 0) != 0 || entry.find('/', 11) != std::string::npos) continue;
                const auto read = Subprocess::run({"unzip", "-p", deck.string(), entry});
                if (read.succeeded()) out.push_back({deck.filename().string() + ":" + entry, read.standardOutput});
            }
        }
        return out;
    }();
    return slides;
}

}  // namespace orvandel::test
