#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "deck/DeckError.hpp"

using namespace orvandel;

// Built under a comma-decimal locale: the seconds must still be written with a dot.
using DeckErrorTest = test::CommaDecimalLocaleTest;

TEST_F(DeckErrorTest, EveryCaseHasItsUsersText) {
    const std::string gif = " têm um GIF, mas a duração não foi informada. Informe a duração de cada GIF (em "
                            "milissegundos) com --gif <índice>:<ms> (ex.: --gif ";
    for (const auto& [error, text] : std::vector<std::pair<DeckError, std::string>>{
             {DeckError::missingVideoDuration(2), "slide 2 has an autoplay video but no duration was provided (videoMs)"},
             {DeckError::invalidOutput({{2, "not well-formed XML"}, {5, "why"}}),
              "prepared output failed validation: slide 2 (not well-formed XML); slide 5 (why)"},
             {DeckError::videoWithoutMediaCall(1),
              "slide 1 has a video but no autoplay/onClick media-call in the main sequence to convert"},
             {DeckError::gifWithoutDuration({3, 7}), "Os slides [3, 7]" + gif + "3:12000) e exporte de novo."},
             {DeckError::gifWithoutDuration({}), "Os slides []" + gif + "0:12000) e exporte de novo."},
             {DeckError::multipleVideosOnSlide({2}),
              "Os slides [2] têm mais de um vídeo. Cada vídeo precisa ficar em seu próprio slide para a exportação "
              "funcionar. Separe os vídeos em slides individuais e exporte novamente."},
             {DeckError::masterDurationMismatch(12340, 8000),
              "O vídeo gerado (8.0 s) não bate com o tempo esperado do deck (12.3 s) — o PowerPoint pode ter "
              "renderizado errado. Exporte o vídeo manualmente (Arquivo → Exportar → Criar Vídeo, 1080p, 'Usar "
              "Narrações e Temporizações Gravadas' marcado) e rode de novo passando --mp4 <arquivo>."},
             {DeckError::orvWriteFailed("/a/Aula.orv"),
              "could not write the .orv to /a/Aula.orv — the existing file may be open in another program, "
              "read-only, or locked"},
             {DeckError::noVisibleSlides(), "the deck has no visible slides to export"}}) {
        EXPECT_EQ(error.what(), text);
    }
}
