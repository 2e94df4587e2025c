#include <QDialogButtonBox>
#include <QPushButton>
#include <QtTest>

#include <cerrno>

#include "AppTestSupport.hpp"
#include "ExportCopy.hpp"
#include "ExportProgress.hpp"
#include "HeadlessRenderer.hpp"
#include "OrvandelAppApp.hpp"
#include "TestSupport.hpp"
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

// The export of the example deck with `path` as PATH: the renderer fails at its first missing tool.
std::exception_ptr exportWithPath(const std::filesystem::path& dir, const std::string& path) {
    const test::ScopedEnv env{{{"PATH", path}}};
    try {
        OrvExporter::export_(apptest::exampleDeck(), std::nullopt, dir / "a.orv", {}, {{4, 3000}}, {}, "", "", {},
                             HeadlessRenderer(), {});
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
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
            ptr(OutputError::sameAsInput("/a.orv", "/a.orv")),
            ptr(OutputError::notARegularFile("/a.orv")),
            ptr(OutputError::folderMissing("/a/Aula.orv", ENOENT)),
            ptr(OutputError::folderNotWritable("/a/Aula.orv", EROFS)),
            ptr(OutputError::folderNotWritable("/a/Aula.orv", EIO)),
            ptr(OutputError::nameTooLong("/a.orv", 292, 255)),
            ptr(CancelledError()),
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
            QVERIFY2(!speaksOfTheMac(text), qPrintable(text));
            QVERIFY2(!text.contains("English") && !text.contains("boom"), qPrintable(text));
            QVERIFY2(!seen.contains(text), qPrintable("twice: " + text));
            seen.insert(text);
        }
        for (const auto& text : {ExportCopy::helpText(Renderer::headless), ExportCopy::exporting(Renderer::headless),
                                 ExportCopy::importerFilter(Renderer::headless), ExportCopy::revealButton(),
                                 ExportCopy::quitQuestion(Renderer::headless)}) {
            QVERIFY2(!speaksOfTheMac(text), qPrintable(text));
        }
    }

    // A missing program is named with the Debian package that brings it; the
    // stage names are pinned by running the renderer without its tools.
    void missingProgramsNameTheirPackage() {
        QTemporaryDir dir;
        const std::filesystem::path root = dir.path().toStdString();
        const auto noTools = exportWithPath(root, (root / "empty").string());
        QVERIFY(ExportCopy::errorMessage(noTools, Renderer::headless).contains("pacote libreoffice-impress-nogui"));

        // A LibreOffice that writes an empty page file: the drawing stage is next and finds no pdfinfo.
        std::filesystem::create_directories(root / "bin");
        writeFile(root / "bin" / "soffice",
                  "#!/bin/sh\nwhile [ $# -gt 1 ]; do [ \"$1\" = --outdir ] && out=$2; shift; done\n"
                  "n=${1##*/}; echo x > \"$out/${n%.pptx}.pdf\"\n");
        std::filesystem::permissions(root / "bin" / "soffice", std::filesystem::perms::owner_all);
        const auto noPoppler = exportWithPath(root, (root / "bin").string());
        QVERIFY(ExportCopy::errorMessage(noPoppler, Renderer::headless).contains("pacote poppler-utils"));
        QVERIFY(ExportCopy::errorMessage(ptr(renderError(RenderError::Case::missingTool, ExportStage::frames)),
                                         Renderer::headless)
                    .contains("pacote ffmpeg"));
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
        QVERIFY(lines[0].contains("slide(s) 5, 7 não pôde"));
        QVERIFY(lines[1].contains("slide(s) 2 não puderam"));
        for (const auto& line : lines) QVERIFY2(!speaksOfTheMac(line) && !line.contains("slide "), qPrintable(line));

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

    // Every stage the flow and the renderer report has its line, and the bar only moves forward.
    void stagesFillTheBarInOrder() {
        int last = -1;
        for (const ExportStage stage :
             {ExportStage::scan, ExportStage::prepare, ExportStage::readPlan, ExportStage::pdf, ExportStage::draw,
              ExportStage::encode, ExportStage::package}) {
            QVERIFY(ExportCopy::stageLine(stage).has_value());
            for (const double f : {0.0, 0.5, 1.0}) {
                const int permille = ExportProgress::permille(stage, f).value();
                QVERIFY(permille >= last);
                last = permille;
            }
        }
        QCOMPARE(last, 1000);
        QCOMPARE(ExportProgress::permille(ExportStage::media, 0.5), std::nullopt);
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
