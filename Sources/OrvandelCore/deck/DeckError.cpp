#include "deck/DeckError.hpp"

#include "base/Numbers.hpp"

namespace orvandel {

namespace {

// "[1, 2, 3]"
std::string slideList(const std::vector<std::int64_t>& slides) {
    std::string out = "[";
    for (std::size_t i = 0; i < slides.size(); ++i) {
        if (i > 0) out += ", ";
        out += formatInt(slides[i]);
    }
    return out + "]";
}

// "slide 4", "slides 1, 2, 3"
std::string slidesNamed(const std::vector<std::int64_t>& slides) {
    std::string out = slides.size() == 1 ? "slide " : "slides ";
    for (std::size_t i = 0; i < slides.size(); ++i) out += (i > 0 ? ", " : "") + formatInt(slides[i]);
    return out;
}

// Seconds with one decimal and always a dot, whatever the process locale.
std::string seconds(std::int64_t ms) { return formatFixed(static_cast<double>(ms) / 1000.0, 1); }

}  // namespace

DeckError::DeckError(Case c, const std::string& description) : Error(description), case_(c) {}

DeckError DeckError::missingVideoDuration(std::int64_t slide) {
    return missingVideoDuration(std::vector<std::int64_t>{slide});
}

DeckError DeckError::missingVideoDuration(std::vector<std::int64_t> slides) {
    DeckError e(Case::missingVideoDuration, slidesNamed(slides) + (slides.size() == 1 ? " has" : " have") +
                                                " an autoplay video but no duration was provided (videoMs)");
    e.slide_ = slides.empty() ? 0 : slides.front();
    e.slides_ = std::move(slides);
    return e;
}

DeckError DeckError::invalidOutput(std::vector<SlideFailure> failures) {
    std::string description = "prepared output failed validation: ";
    for (std::size_t i = 0; i < failures.size(); ++i) {
        if (i > 0) description += "; ";
        description += "slide " + formatInt(failures[i].slide) + " (" + failures[i].reason + ")";
    }
    DeckError e(Case::invalidOutput, description);
    e.failures_ = std::move(failures);
    return e;
}

DeckError DeckError::videoWithoutMediaCall(std::int64_t slide) {
    return videoWithoutMediaCall(std::vector<std::int64_t>{slide});
}

DeckError DeckError::videoWithoutMediaCall(std::vector<std::int64_t> slides) {
    DeckError e(Case::videoWithoutMediaCall,
                slidesNamed(slides) + (slides.size() == 1 ? " has" : " have") +
                    " a video but no autoplay/onClick media-call in the main sequence to convert");
    e.slide_ = slides.empty() ? 0 : slides.front();
    e.slides_ = std::move(slides);
    return e;
}

DeckError DeckError::gifWithoutDuration(std::vector<std::int64_t> slides) {
    const std::int64_t example = slides.empty() ? 0 : slides.front();
    DeckError e(Case::gifWithoutDuration, "Os slides " + slideList(slides) +
                                              " têm um GIF, mas a duração não foi informada. Informe a duração "
                                              "de cada GIF (em milissegundos) com --gif <índice>:<ms> (ex.: --gif " +
                                              formatInt(example) + ":12000) e exporte de novo.");
    e.slides_ = std::move(slides);
    return e;
}

DeckError DeckError::multipleVideosOnSlide(std::vector<std::int64_t> slides) {
    DeckError e(Case::multipleVideosOnSlide, "Os slides " + slideList(slides) +
                                                 " têm mais de um vídeo. Cada vídeo precisa ficar "
                                                 "em seu próprio slide para a exportação funcionar. Separe os vídeos "
                                                 "em slides individuais e exporte novamente.");
    e.slides_ = std::move(slides);
    return e;
}

DeckError DeckError::masterDurationMismatch(std::int64_t expectedMs, std::int64_t measuredMs) {
    DeckError e(Case::masterDurationMismatch,
                "O vídeo gerado (" + seconds(measuredMs) + " s) não bate com o tempo esperado do deck (" +
                    seconds(expectedMs) +
                    " s) — o PowerPoint pode ter renderizado errado. "
                    "Exporte o vídeo manualmente (Arquivo → Exportar → Criar Vídeo, 1080p, "
                    "'Usar Narrações e Temporizações Gravadas' marcado) e rode de novo "
                    "passando --mp4 <arquivo>.");
    e.expectedMs_ = expectedMs;
    e.measuredMs_ = measuredMs;
    return e;
}

DeckError DeckError::orvWriteFailed(std::string path) {
    DeckError e(Case::orvWriteFailed, "could not write the .orv to " + path +
                                          " — the existing file may be open "
                                          "in another program, read-only, or locked");
    e.path_ = std::move(path);
    return e;
}

DeckError DeckError::durationTooLong(std::int64_t slide, std::string what) {
    DeckError e(Case::durationTooLong,
                "slide " + formatInt(slide) + ": " + what + " is longer than a day; the deck may be damaged");
    e.slide_ = slide;
    return e;
}

DeckError DeckError::lengthForSlideWithout(Medium medium, std::vector<std::int64_t> slides) {
    const std::string what = medium == Medium::gif ? "GIF" : "video";
    const bool one = slides.size() == 1;
    DeckError e(Case::lengthForSlideWithout, std::string(one ? "a " : "") + what +
                                                 (one ? " length was" : " lengths were") + " given for " +
                                                 slidesNamed(slides) + (one ? ", which has no " : ", which have no ") +
                                                 what + ": leave " + (one ? "it" : "them") + " out and export again");
    e.slide_ = slides.empty() ? 0 : slides.front();
    e.slides_ = std::move(slides);
    e.medium_ = medium;
    return e;
}

DeckError DeckError::noVisibleSlides() {
    return DeckError(Case::noVisibleSlides, "the deck has no visible slides to export");
}

}  // namespace orvandel
