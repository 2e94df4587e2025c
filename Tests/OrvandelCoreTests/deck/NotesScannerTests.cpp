#include <gtest/gtest.h>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "deck/NotesScanner.hpp"
#include "deck/SlideTitles.hpp"

using namespace orvandel;
using namespace orvandel::test;

namespace {

std::string para(const std::string& runs) { return "<a:p>" + runs + "</a:p>"; }
std::string run(const std::string& text) { return "<a:r><a:rPr lang=\"pt-BR\"/><a:t>" + text + "</a:t></a:r>"; }
std::string text(const std::string& paragraphs) { return NotesScanner::bodyText(notesSlideWithBody(paragraphs)); }

}  // namespace

TEST(NotesScannerTest, BodyTextDecodesEntitiesOnce) {
    for (const auto& [raw, decoded] : std::vector<std::pair<std::string, std::string>>{
             {"Fotoss&#237;ntese &amp; luz", "Fotossíntese & luz"},
             {"&amp;lt;b&amp;gt; &lt;i&gt; &quot;x&quot; &apos;y&apos;", "&lt;b&gt; <i> \"x\" 'y'"},
             {"caf&#233; caf&#xE9; &#xD800; &#x110000; &#1A;", "café café &#xD800; &#x110000; &#1A;"},
             // A decoded "&" that forms a new reference is decoded by a later equal reference.
             {"&#38;#38; &#38;", "& &"},
             {"&#38;#38;", "&#38;"}}) {
        EXPECT_EQ(text(para(run(raw))), decoded) << raw;
    }
}

TEST(NotesScannerTest, ParagraphsBecomeLines) {
    EXPECT_EQ(text(para(run("Um")) + para("") + para(run("Do") + run("is"))), "Um\n\nDois");
    // A self-closing paragraph runs on to the next paragraph's end and takes its text.
    EXPECT_EQ(text(para(run("Um")) + "<a:p/>" + para(run("Dois"))), "Um\nDois");
    EXPECT_EQ(text(para(run("  ")) + para(run("\xC2\xA0texto\xE3\x80\x80")) + para(run(" "))), "texto");
    // A paragraph laid out over several lines keeps its runs.
    EXPECT_EQ(text("<a:p>\n  " + run("a") + "\r\n  " + run("b") + "\n</a:p>" + para(run("c"))), "ab\nc");
    // An empty run holds no text, not the markup up to the next run's end.
    EXPECT_EQ(text(para("<a:r><a:t/></a:r>\n" + run("d"))), "d");
    EXPECT_EQ(text(para(run(" "))), "");
    // Only the body placeholder counts.
    EXPECT_EQ(NotesScanner::bodyText("<p:notes><p:sp><p:txBody>" + para(run("x")) + "</p:txBody></p:sp></p:notes>"),
              "");
}

// Whatever line terminator a run holds, raw or as a reference, the text
// around it stays and the break is one "\n".
TEST(NotesScannerTest, EveryLineBreakInARunBecomesANewline) {
    for (const std::string lineBreak : {"\n", "\r\n", "\r", "&#13;&#10;", "&#xD;", "\xC2\x85", "&#x85;", "\xE2\x80\xA8",
                                        "&#x2028;", "\xE2\x80\xA9", "&#8233;", "\v", "\f"}) {
        EXPECT_EQ(text(para(run("um" + lineBreak + "dois")) + para(run("tr&#xEA;s"))), "um\ndois\ntrês")
            << testing::PrintToString(lineBreak);
    }
    EXPECT_EQ(text(para(run("a\xE2\x80\xA8\xE2\x80\xA8"
                            "b\r\rc"))),
              "a\n\nb\n\nc");
}

TEST(NotesScannerTest, NotesBySlideKeyedByDisplayIndex) {
    TempDir dir;
    const auto deck = DeckBuilder()
                          .addSlide(slideXml())
                          .addNotes(1, notesSlideXml({"Introdução", "Água & luz"}))
                          .addSlide(slideXml())
                          .addSlide(slideXml("", "", "show=\"0\""))
                          .addNotes(3, notesSlideXml({"Oculto"}))
                          .addSlide(slideXml())
                          .addNotes(4, notesSlideWithBody(para(run("")) + para("<a:r><a:t/></a:r>")))
                          .addSlide(slideXml(), {{"rId1", "notesSlide", "/ppt/notes/absoluto.xml"}})
                          .addEntry("ppt/notes/absoluto.xml", notesSlideXml({"Absoluto"}))
                          .addSlide(slideXml(), {{"rId1", "notesSlide", "../notesSlides/ausente.xml"}})
                          .write(dir / "deck.pptx");
    EXPECT_EQ(NotesScanner::notesBySlide(deck),
              (std::map<std::int64_t, std::string>{{1, "Introdução\nÁgua & luz"}, {3, "Oculto"}, {5, "Absoluto"}}));
}

// The titles of a whole deck are read by the chapter tests of the export.
TEST(SlideTitlesTest, TheTitlePlaceholderOnOneLineOrNothing) {
    const auto shape = [](const std::string& type, const std::string& paragraphs) {
        return "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"T\"/><p:cNvSpPr/><p:nvPr><p:ph type=\"" + type +
               "\"/></p:nvPr></p:nvSpPr><p:spPr/><p:txBody><a:bodyPr/>" + paragraphs + "</p:txBody></p:sp>";
    };
    const std::string subtitle = shape("subTitle", para(run("Sub")));
    for (const auto& [tree, title] : std::vector<std::pair<std::string, std::optional<std::string>>>{
             {subtitle + shape("ctrTitle", para(run("Fotoss&#237;ntese"))), "Fotossíntese"},
             {shape("title", para(run(" Luz &amp;") + "<a:br/>" + run("água")) + para(run("e  ar "))),
              "Luz & água e ar"},
             {subtitle, std::nullopt},
             {shape("title", para(run("Luz\xE2\x80\xA8\r\n&#x2029;e\xC2\x85"
                                      "ar"))),
              "Luz e ar"},
             {shape("title", para(run(" "))), std::nullopt},
             {shape("title", para("<a:r><a:t>not closed</a:r>")), std::nullopt}}) {
        EXPECT_EQ(SlideTitles::titleText(slideXml(tree)), title) << tree;
    }
}
