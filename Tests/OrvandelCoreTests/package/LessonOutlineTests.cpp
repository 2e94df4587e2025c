// The preview's words for each cue: slide titles and what each click step
// brings in, from the deck, or from the package alone.
#include <gtest/gtest.h>

#include "TestSupport.hpp"
#include "deck/DeckModel.hpp"
#include "package/CueCalculator.hpp"
#include "package/CueInputAssembler.hpp"
#include "package/LessonOutline.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

using Rows = std::vector<std::pair<std::int64_t, std::string>>;  // slide, label

Rows rowsOf(const std::vector<Cue>& cues, const LessonOutline::Outline& outline) {
    Rows rows;
    for (std::size_t i = 0; i < cues.size(); ++i) rows.emplace_back(cues[i].slideIndex, outline.labels.at(i));
    return rows;
}

struct Labelled {
    std::vector<Cue> cues;
    LessonOutline::Outline outline;
};

Labelled labelled(const std::filesystem::path& pptx, const SlideDurations& gifMs = {}) {
    const auto cues = CueCalculator::calculateCues(CueInputAssembler::cueInputs(pptx, {}, gifMs));
    DeckModel deck(pptx);
    return {cues, LessonOutline::fromDeck(deck, cues)};
}

std::string repeated(const std::string& text, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

}  // namespace

TEST(LessonOutlineTest, LabelsFromTitlesAndTheParagraphsEachStepBringsIn) {
    const auto example = labelled(sourceDir() / "examples" / "aula-exemplo.pptx", {{4, 3000}});
    EXPECT_EQ(rowsOf(example.cues, example.outline),
              (Rows{{1, "Fotossíntese"},
                    {2, "O que é a fotossíntese?"},
                    {2, "É o processo em que a planta produz o próprio alimento"},
                    {2, "Acontece nas folhas, dentro dos cloroplastos"},
                    {2, "A clorofila capta a energia da luz do Sol"},
                    {3, "Os ingredientes"},
                    {3, "Luz do Sol: a fonte de energia"},
                    {3, "Água (H2O), que sobe pelas raízes"},
                    {3, "Gás carbônico (CO2), que entra pelos estômatos"},
                    {4, "fim do GIF"},
                    {5, "fim do vídeo"},
                    // An exit step names what leaves; the slide's last cue shows it without.
                    {6, "MITO: a planta tira o alimento da terra"},
                    {6, "Mito ou verdade?"},
                    {8, "Resumo"},
                    {8, "6 CO2 + 6 H2O + luz → C6H12O6 + 6 O2"},
                    {8, "A glicose alimenta a planta; o oxigênio vai para o ar"},
                    {8, "Quase toda cadeia alimentar começa aqui"}}));
    // Hidden slide 7 has no title in the outline; slides start at their first cue without chapters.
    EXPECT_EQ(example.outline.titles.count(7), 0u);
    EXPECT_EQ(example.outline.slideStartsMs.at(2), 2000);

    // The package alone: chapter titles, else "Slide N"; steps counted.
    const auto fallback = LessonOutline::fromCues(example.cues, {{0, 1500, "Capa"},
                                                                 {1500, 7500, "Dois"},
                                                                 {7500, 13500, "Três"},
                                                                 {13500, 18000, "Quatro"},
                                                                 {18000, 23500, "Cinco"},
                                                                 {23500, 26500, ""},
                                                                 {26500, 32500, "Oito"}});
    EXPECT_EQ(fallback.labels[1], "Dois");
    EXPECT_EQ(fallback.labels[3], "animação 2");
    EXPECT_EQ(fallback.labels[10], "fim do vídeo");
    EXPECT_EQ(fallback.titles.at(6), "Slide 6");
    EXPECT_EQ(fallback.slideStartsMs.at(8), 26500);
    EXPECT_EQ(LessonOutline::fromCues(example.cues).labels[0], "Slide 1");
}

TEST(LessonOutlineTest, FirstWordsCutAtAWordWithinTheLimit) {
    const std::string sixty(LessonOutline::kLongestLabel, 'a');
    for (const auto& [text, expected] : std::vector<std::pair<std::string, std::string>>{
             {"  um\n dois\ttrês ", "um dois três"},
             {sixty, sixty},
             {sixty + "b", sixty.substr(0, LessonOutline::kLongestLabel) + "…"},
             {std::string(55, 'a') + " ação longa", std::string(55, 'a') + "…"},
             {repeated("çã", 30) + "x", repeated("çã", 30) + "…"}}) {
        EXPECT_EQ(LessonOutline::firstWords(text), expected) << text;
    }
}

TEST(LessonOutlineTest, ACorpusDeckLabelledFromItsText) {
    ORVANDEL_REQUIRE_CORPUS();
    const auto deck = corpusDir() / "aspose__SimpleAnimations.pptx";
    if (!std::filesystem::exists(deck)) GTEST_SKIP() << "deck not in the corpus";
    const auto lesson = labelled(deck);
    // Shapes without text are counted; exit steps come before the entrance on slide 2.
    EXPECT_EQ(rowsOf(lesson.cues, lesson.outline), (Rows{{1, "Slide 1"},
                                                         {1, "animação 1"},
                                                         {2, "animação 1"},
                                                         {2, "animação 2"},
                                                         {2, "xdvxzdv"},
                                                         {3, "Slide 3"},
                                                         {3, "animação 1"},
                                                         {3, "animação 2"},
                                                         {4, "Slide 4"},
                                                         {4, "Sfzsffasfs"}}));
}
