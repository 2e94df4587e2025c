#include <QDialogButtonBox>
#include <QPushButton>
#include <QtTest>

#include <cerrno>

#include "AppTestSupport.hpp"
#include "DeckConversion.hpp"
#include "ExportCopy.hpp"
#include "OrvandelAppApp.hpp"
#include "base/AtomicFile.hpp"
#include "container/PptxArchive.hpp"
#include "deck/DeckError.hpp"
#include "package/OrvExporter.hpp"
#include "render/Mp4Duration.hpp"
#include "tools/RenderError.hpp"

using namespace orvandel;
using Renderer = RendererChoice::Renderer;
using ExportError = Mp4Exporter::ExportError;

namespace {

template <class E>
std::exception_ptr ptr(E error) {
    return std::make_exception_ptr(std::move(error));
}

DeckError withCause(DeckError error, int errnoValue) {
    error.keepCause(FileError("write", "/a/Aula.orv", errnoValue));
    return error;
}

RenderError renderError(RenderError::Case c, ExportStage stage = ExportStage::encode) {
    return RenderError(c, stage, "English words the user never sees");
}

// Texts that speak of the Mac and PowerPoint, which the headless renderer must never show.
bool speaksOfTheMac(const QString& text) {
    for (const char* word : {"PowerPoint", "macOS", "Ajustes do Sistema", "Finder"}) {
        if (text.contains(QString::fromUtf8(word))) return true;
    }
    return false;
}

// The programs behind the video are never named to the teacher.
bool namesATool(const QString& text) {
    for (const char* word : {"LibreOffice", "ffmpeg", "oppler", "soffice", "pdftoppm", "libreoffice"}) {
        if (text.contains(QString::fromUtf8(word), Qt::CaseInsensitive)) return true;
    }
    return false;
}

}  // namespace

class ExportCopyTest : public QObject {
    Q_OBJECT
private slots:
    // Where PowerPoint renders, each error of the export path has a text of
    // its own that names the slides concerned and what to do.
    void powerPointTextsSayWhatHappens() {
        const std::vector<std::pair<std::exception_ptr, QString>> cases{
            {ptr(OrvExporter::FlowError::automationFailed(ExportError::powerPointUnavailable("x"))), "instalado"},
            {ptr(ExportError::automationDenied("x")), "Privacidade e Segurança → Automação"},
            {ptr(ExportError::timedOut("x")), "Feche outras apresentações"},
            {ptr(ExportError::exportFailed("x")), "reabra o PowerPoint"},
            {ptr(OrvExporter::FlowError::automationFailed(ExportError::unmeasurableOutput("x"))),
             "reabra o PowerPoint"},
            {ptr(DeckError::missingVideoDuration(4)), "do slide 4."},
            {ptr(DeckError::invalidOutput({{2, "a"}, {9, "b"}})), "(slide(s) 2, 9)"},
            {ptr(DeckError::videoWithoutMediaCall(6)), "do slide 6."},
            {ptr(DeckError::gifWithoutDuration({3, 7, 12})), "slide(s) 3, 7, 12 "},
            {ptr(DeckError::multipleVideosOnSlide({5})), "slides 5 "},
            {ptr(DeckError::masterDurationMismatch(10000, 2000)), "reabra o PowerPoint"},
            {ptr(DeckError::orvWriteFailed("/a/Aula.orv")), "aberto em outro programa"},
            {nullptr, "erro inesperado"},  // any other error, or none
        };
        QSet<QString> seen;
        for (const auto& [error, naming] : cases) {
            const QString text = ExportCopy::errorMessage(error, Renderer::powerPoint);
            QVERIFY2(text.contains(naming) && !seen.contains(text), qPrintable(text));
            seen.insert(text);
        }
        QVERIFY(ExportCopy::multiVideoRefusal({2, 4}).contains("slide(s) 2, 4 "));
        QVERIFY(ExportCopy::exporting(Renderer::powerPoint).contains("PowerPoint"));
        QVERIFY(ExportCopy::helpText(Renderer::powerPoint).contains("macOS pede permissão"));
    }

    // Where the headless renderer renders, no text speaks of the Mac, each
    // failure has its own advice, and the core's words never show.
    void headlessTextsSayWhatHappens() {
        std::vector<std::exception_ptr> errors{
            ptr(DeckError::missingVideoDuration(4)),
            ptr(DeckError::invalidOutput({{2, "a"}})),
            ptr(DeckError::videoWithoutMediaCall(6)),
            ptr(DeckError::gifWithoutDuration({3})),
            ptr(DeckError::multipleVideosOnSlide({1})),
            ptr(DeckError::masterDurationMismatch(10000, 2000)),
            ptr(DeckError::orvWriteFailed("/a")),
            ptr(DeckError::noVisibleSlides()),
            ptr(Mp4Duration::Mp4Error::cannotMeasure("/m.mp4", "x")),
            ptr(PptxArchive::ArchiveError::readFailed("ppt/presentation.xml", PptxArchive::statusCannotOpen, "x")),
            ptr(PptxArchive::ArchiveError::readFailed("ppt/slides/slide1.xml", PptxArchive::statusDamaged, "x")),
            ptr(PptxArchive::ArchiveError::partTooLarge("ppt/slides/slide1.xml", 1LL << 32, 1LL << 28)),
            ptr(DeckError::durationTooLong(2, "x")),
            ptr(DeckError::missingVideoDuration({3, 5})),
            ptr(DeckError::videoWithoutMediaCall({3, 5})),
            ptr(DeckError::lengthForSlideWithout(DeckError::Medium::gif, {3})),
            ptr(DeckError::lengthForSlideWithout(DeckError::Medium::video, {3, 5})),
            ptr(OutputError::sameAsInput("/a.orv", "/a.orv")),
            ptr(OutputError::notARegularFile("/a.orv")),
            ptr(OutputError::folderMissing("/a/Aula.orv", ENOENT)),
            ptr(OutputError::folderNotWritable("/a/Aula.orv", EROFS)),
            ptr(OutputError::folderNotWritable("/a/Aula.orv", EIO)),
            ptr(OutputError::nameTooLong("/a.orv", 292, 255)),
            ptr(CancelledError()),
            ptr(DeckConversion::ConversionError(DeckConversion::ConversionError::Case::pdf, "x")),
            ptr(DeckConversion::ConversionError(DeckConversion::ConversionError::Case::failed, "x")),
            ptr(std::runtime_error("boom"))};
        using enum RenderError::Case;
        for (const auto c : {missingTool, toolFailed, timedOut, badOutput, badDeck, tooLarge}) {
            errors.push_back(ptr(renderError(c)));
        }
        // A full disk, a read-only one, a folder gone: whether met writing the package or elsewhere.
        for (const auto& [atPackage, elsewhere] : {std::pair{ENOSPC, ENOSPC}, {EROFS, EACCES}, {ENOENT, ENOENT}}) {
            errors.push_back(ptr(withCause(DeckError::orvWriteFailed("/a"), atPackage)));
            errors.push_back(ptr(FileError("write", "/tmp/x", elsewhere)));
        }
        QSet<QString> seen;
        for (const auto& error : errors) {
            const QString text = ExportCopy::errorMessage(error, Renderer::headless);
            QVERIFY2(!speaksOfTheMac(text) && !namesATool(text), qPrintable(text));
            QVERIFY2(!text.contains("English") && !text.contains("boom"), qPrintable(text));
            QVERIFY2(!seen.contains(text), qPrintable("twice: " + text));
            seen.insert(text);
        }
        for (const auto& text :
             {ExportCopy::helpText(Renderer::headless), ExportCopy::gifFormIntro(Renderer::headless),
              ExportCopy::exporting(Renderer::headless), ExportCopy::importerFilter(Renderer::headless),
              ExportCopy::revealButton(), ExportCopy::quitQuestion(Renderer::headless)}) {
            QVERIFY2(!speaksOfTheMac(text) && !namesATool(text), qPrintable(text));
        }
        for (int stage = 0; stage <= static_cast<int>(ExportStage::copyMovie); ++stage) {
            QVERIFY(!namesATool(ExportCopy::stageLine(static_cast<ExportStage>(stage)).value_or("")));
        }
    }

    void postExportWarningsInOrder() {
        QVERIFY(ExportCopy::postExportWarnings({}, 7).isEmpty());
        const auto bullets = ExportCopy::postExportWarnings({}, 8);
        QVERIFY(bullets.size() == 1 && bullets[0].startsWith("A sua apresentação possui muitas animações em tópicos"));
        const auto both = ExportCopy::postExportWarnings({2, 4}, 9);
        QVERIFY(both.size() == 2 && both[0].contains("slide(s) 2, 4 ") && both[1] == bullets[0]);

        // The core's warnings: one line per kind, its slides gathered, in the order first reported.
        const auto lines = ExportCopy::postExportWarnings(
            {}, 0,
            {Warning::mediaNotPlayed(5, "video", "x"), Warning::notesUnreadable(2, "x"),
             Warning::mediaNotPlayed(7, "GIF", "y"), Warning::notesTextRepaired(3),
             Warning::slidePartMissing(4, "ppt/slides/slide4.xml"), Warning::graphicBuildShownWhole(6, "z"),
             Warning::mediaNotPlayed(5, "audio", "x"), Warning::linkNotFollowed(8, "video", "http://x", "y")});
        QCOMPARE(lines.size(), 6);
        QVERIFY(lines[0].contains("dos slides 5 e 7 não puderam"));
        QVERIFY(lines[1].contains("do slide 2 não puderam"));
        for (const auto& line : lines) QVERIFY2(!speaksOfTheMac(line) && !line.contains("(s)"), qPrintable(line));

        // Fonts are named, each with its stand-in, in one line however many.
        const auto font = Warning::fontSubstituted(3, "Franklin Gothic Book", "Liberation Sans");
        QCOMPARE(ExportCopy::postExportWarnings({}, 0, {font}),
                 QStringList{"A fonte \"Franklin Gothic Book\" não está instalada; o texto aparece em "
                             "\"Liberation Sans\" e as quebras de linha podem mudar."});
        const auto fonts = ExportCopy::postExportWarnings(
            {}, 0, {font, Warning::notesTextRepaired(3), Warning::fontSubstituted(1, "Rockwell", "Roboto Slab")});
        QCOMPARE(fonts.size(), 2);
        QCOMPARE(fonts[0],
                 "As fontes \"Franklin Gothic Book\" (substituída por \"Liberation Sans\") e \"Rockwell\" (substituída "
                 "por \"Roboto Slab\") não estão instaladas; as quebras de linha nos textos delas podem mudar.");
    }

    // The warnings of this export's own choices: one slide or several agree
    // in number, each kind has its own line, video and audio apart.
    void ownWarningsAgreeInNumber() {
        const std::vector<std::tuple<Warning, Warning, QString>> kinds{
            {Warning::gifLengthAssumed(3, 2400), Warning::gifLengthAssumed(5, 900), "2,4 s"},
            {Warning::gifLengthIgnored(3, false), Warning::gifLengthIgnored(5, true), ""},
            {Warning::videoLengthIgnored(3), Warning::videoLengthIgnored(5), ""},
            {Warning::mediaStaysStill({3}, "video"), Warning::mediaStaysStill({5}, "video"), "parado"},
            {Warning::mediaStaysStill({3}, "audio clip"), Warning::mediaStaysStill({5}, "audio clip"), "não toca"},
            {Warning::notesUnreadable(3, "x"), Warning::notesUnreadable(5, "x"), ""}};
        QSet<QString> seen;
        for (const auto& [first, second, naming] : kinds) {
            const auto one = ExportCopy::postExportWarnings({}, 0, {first});
            const auto two = ExportCopy::postExportWarnings({}, 0, {first, second});
            QVERIFY(one.size() == 1 && two.size() == 1);
            QVERIFY2(one[0].contains("o slide 3 ") && one[0].contains(naming) && !seen.contains(one[0]),
                     qPrintable(one[0]));
            QVERIFY2(two[0].contains("os slides 3 e 5 "), qPrintable(two[0]));
            seen << one[0] << two[0];
        }
        // Both media of a deck: two lines; a converted deck names its format.
        QCOMPARE(ExportCopy::postExportWarnings(
                     {}, 0, {Warning::mediaStaysStill({2}, "video"), Warning::mediaStaysStill({2}, "audio clip")})
                     .size(),
                 2);
        QVERIFY(ExportCopy::postExportWarnings({}, 0, {Warning::deckConverted("Aula.odp", "odp")})[0].contains(".odp"));
    }

    // Lengths as the field understood them, the share done and the time left as a teacher reads them.
    void progressAndLengthsReadNaturally() {
        QCOMPARE(ExportCopy::gifLengthUnderstood(2500), QStringLiteral("= 2,5 s"));
        for (const auto& [ms, left] :
             std::vector<std::pair<std::int64_t, QString>>{{0, "menos de 1 min restante"},
                                                           {59'999, "menos de 1 min restante"},
                                                           {89'999, "cerca de 1 min restante"},
                                                           {90'000, "cerca de 2 min restantes"},
                                                           {3'600'000, "cerca de 1 h restante"},
                                                           {4'500'000, "cerca de 1 h 15 min restantes"}}) {
            QCOMPARE(ExportCopy::timeLeft(ms), left);
        }
        QCOMPARE(ExportCopy::progressDone(425, std::nullopt), QStringLiteral("42%"));
        QVERIFY(ExportCopy::progressDone(425, 120'000).startsWith("42% · cerca de 2 min"));
        // Every stage the flow and the renderer report most of the time has its line.
        for (const ExportStage stage :
             {ExportStage::scan, ExportStage::prepare, ExportStage::readPlan, ExportStage::pdf, ExportStage::draw,
              ExportStage::encode, ExportStage::package}) {
            QVERIFY(ExportCopy::stageLine(stage).has_value());
        }
    }

    void resultSummaryIsWholeSeconds() {
        QCOMPARE(ExportCopy::resultSummary(12, 65.4), QStringLiteral("12 marcações · vídeo de 1 min 5 s"));
        QCOMPARE(ExportCopy::resultSummary(1, 42.5), QStringLiteral("1 marcação · vídeo de 43 s"));
        QCOMPARE(ExportCopy::resultSummary(3, 120), QStringLiteral("3 marcações · vídeo de 2 min"));
    }

    void standardButtonsSpeakPortuguese() {
        OrvandelAppApp::installPortuguese(*QCoreApplication::instance());
        QDialogButtonBox box(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QCOMPARE(box.button(QDialogButtonBox::Cancel)->text().remove('&'), QStringLiteral("Cancelar"));
    }
};

QTEST_MAIN(ExportCopyTest)
#include "ExportCopyTests.moc"
