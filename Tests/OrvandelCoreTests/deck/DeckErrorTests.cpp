#include <gtest/gtest.h>

#include <clocale>

#include "deck/DeckError.hpp"

using namespace orvandel;

TEST(DeckErrorTest, SecondsUseADotUnderAnyLocale) {
    std::setlocale(LC_ALL, "pt_BR.UTF-8");  // may not be installed; the text must not depend on it
    const auto e = DeckError::masterDurationMismatch(12340, 8000);
    std::setlocale(LC_ALL, "C");
    EXPECT_STREQ(e.what(),
                 "O vídeo gerado (8.0 s) não bate com o tempo esperado do deck (12.3 s) — o PowerPoint pode ter "
                 "renderizado errado. Exporte o vídeo manualmente (Arquivo → Exportar → Criar Vídeo, 1080p, "
                 "'Usar Narrações e Temporizações Gravadas' marcado) e rode de novo passando --mp4 <arquivo>.");
    EXPECT_EQ(e.expectedMs(), 12340);
    EXPECT_EQ(e.measuredMs(), 8000);
}

TEST(DeckErrorTest, SlideListsAreBracketedAndCommaSeparated) {
    const auto gif = DeckError::gifWithoutDuration({3, 7});
    EXPECT_STREQ(gif.what(),
                 "Os slides [3, 7] têm um GIF, mas a duração não foi informada. Informe a duração de cada GIF "
                 "(em milissegundos) com --gif <índice>:<ms> (ex.: --gif 3:12000) e exporte de novo.");
    EXPECT_EQ(gif.slides(), (std::vector<std::int64_t>{3, 7}));

    const std::string none = DeckError::gifWithoutDuration({}).what();
    EXPECT_NE(none.find("Os slides [] têm"), std::string::npos);
    EXPECT_NE(none.find("(ex.: --gif 0:12000)"), std::string::npos);

    EXPECT_STREQ(DeckError::multipleVideosOnSlide({2}).what(),
                 "Os slides [2] têm mais de um vídeo. Cada vídeo precisa ficar em seu próprio slide para a "
                 "exportação funcionar. Separe os vídeos em slides individuais e exporte novamente.");
}
