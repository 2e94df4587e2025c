#include "LessonLabels.hpp"

#include "deck/DeckModel.hpp"
#include "encode/MovieChapters.hpp"

namespace orvandel::cli {

std::vector<Chapter> movieChapters(const std::filesystem::path& package) {
    try {
        return MovieChapters::readPackage(package);
    } catch (const Error&) {
        return {};  // a movie without chapters is fine; a broken package fails where it is read whole
    }
}

LessonOutline::Outline outlineOf(const std::filesystem::path& package, const std::string& deck,
                                 const std::vector<Cue>& cues) {
    const auto chapters = movieChapters(package);
    if (deck.empty()) return LessonOutline::fromCues(cues, chapters);
    DeckModel model(deck);
    return LessonOutline::fromDeck(model, cues, chapters);
}

}  // namespace orvandel::cli
