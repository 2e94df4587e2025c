#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QtTest>

#include "AppTestSupport.hpp"
#include "ContentView.hpp"
#include "ExportCopy.hpp"
#include "OrvandelAppApp.hpp"
#include "HeadlessRenderer.hpp"
#include "tools/RenderError.hpp"
#include "base/Bytes.hpp"
#include "package/ManifestReader.hpp"

using namespace orvandel;
using namespace orvandel::apptest;
using Renderer = RendererChoice::Renderer;

namespace {

struct Window {
    std::shared_ptr<FakeExporter> renderer = std::make_shared<FakeExporter>();
    std::unique_ptr<ContentView> view = OrvandelAppApp::makeWindow(Renderer::headless, renderer);

    Window() { view->show(); }
    template <class W>
    W* find(const QString& name) const { return view->findChild<W*>(name); }
    QPushButton* exportButton() const { return find<QPushButton>("exportButton"); }
    void open(const std::filesystem::path& deck) {
        view->chooseDeck(deck);
        QVERIFY(waitUntil([&] { return !view->isScanning(); }, 10000));
    }
    void type(std::int64_t slide, const QString& text) {
        auto* field = find<QLineEdit>(QStringLiteral("gifField-%1").arg(slide));
        QVERIFY(field);
        field->clear();
        // Key by key, as typed; keyClicks knows only ASCII.
        for (const QChar c : text) {
            QTest::sendKeyEvent(QTest::Click, field, Qt::Key_unknown, QString(c), Qt::NoModifier);
        }
    }
    QMessageBox* alert() const { return view->findChild<QMessageBox*>(); }
    // A copy of the example deck opened, and its GIF given 3 s: ready to export.
    std::filesystem::path openExample(const QTemporaryDir& dir) {
        const std::filesystem::path deck = dir.filePath("Aula.pptx").toStdString();
        std::filesystem::copy_file(exampleDeck(), deck);
        open(deck);
        type(4, "3");
        return deck;
    }
    bool exportEnds() const { return waitUntil([&] { return !view->isExporting(); }, 20000); }
};

}  // namespace

class ContentViewTest : public QObject {
    Q_OBJECT
private slots:
    void packageGoesBesideTheDeck() {
        QCOMPARE(ContentView::outputPath("/a/Aula.pptx"), std::filesystem::path("/a/Aula.orv"));
        QCOMPARE(ContentView::outputPath("/a/Aula.final.PPTX"), std::filesystem::path("/a/Aula.final.orv"));
    }

    // What the user types into a GIF field, what the field keeps, and whether "Exportar" opens.
    void gifFieldsDecideExport() {
        QTemporaryDir dir;
        Window w;
        w.open(mediaDeck(dir.filePath("gif.pptx").toStdString(), false));
        QCOMPARE(w.view->gifSlides(), (std::vector<std::int64_t>{2}));  // the hidden slide 3 is not asked
        QVERIFY(!w.find<QLineEdit>("gifField-3"));
        for (const auto& [typed, kept, enabled] : std::vector<std::tuple<QString, QString, bool>>{
                 {"", "", false}, {"0", "0", false}, {"abc", "", false}, {"+5", "5", true}, {"05", "05", true},
                 {"1.5", "15", true}, {"٥", "٥", false}, {"86401", "86401", false},
                 {"9223372036854775808", "9223372036854775808", false}}) {
            w.type(2, typed);
            QCOMPARE(w.find<QLineEdit>("gifField-2")->text(), kept);
            QVERIFY2(w.exportButton()->isEnabled() == enabled, qPrintable(typed));
        }
        QCOMPARE(ContentView::gifSeconds("+5"), 5);

        // A slide with two videos refuses the export whatever was typed.
        w.open(mediaDeck(dir.filePath("videos.pptx").toStdString(), true));
        w.type(2, "5");
        QCOMPARE(w.view->multiVideoSlides(), (std::vector<std::int64_t>{4}));
        QVERIFY(w.find<QLabel>("multiVideo")->isVisible());
        QVERIFY(!w.exportButton()->isEnabled());
    }

    // The run seen from the window: the stage and its bar while the renderer
    // works, then the result, the package read back and the warnings alert;
    // then a run that fails, and its Portuguese text.
    void exportShowsProgressThenTheResult() {
        QTemporaryDir dir;
        Window w;
        w.renderer->hold->store(true);
        const auto deck = w.openExample(dir);
        writeFile(ContentView::outputPath(deck), "an older package, replaced");
        QTest::keyClick(w.find<QLineEdit>("gifField-4"), Qt::Key_Return);
        QVERIFY(w.view->isExporting());
        const auto drawing = ExportCopy::stageLine(ExportStage::draw);
        QVERIFY(waitUntil([&] { return w.find<QLabel>("progressLine")->text() == drawing; }, 10000));
        QVERIFY(w.find<QProgressBar>("progressBar")->isVisible());
        QVERIFY(!w.find<QPushButton>("chooseButton")->isEnabled() && !w.exportButton()->isEnabled());
        w.renderer->hold->store(false);
        QVERIFY(w.exportEnds());

        QVERIFY(w.find<QWidget>("resultView")->isVisible());
        const auto probe = ManifestReader::read(ContentView::outputPath(deck));
        QCOMPARE(*w.view->outcome()->cueCount, static_cast<std::int64_t>(probe.cues.size()));
        QCOMPARE(w.find<QLabel>("resultSummary")->text(),
                 ExportCopy::resultSummary(probe.cues.size(), probe.masterVideoDuration));
        QVERIFY(w.alert() && w.alert()->text() == ExportCopy::kWarningsTitle);
        QVERIFY(w.alert()->informativeText().startsWith("O vídeo do(s) slide(s) 5 estava configurado"));
        delete w.alert();

        const RenderError failure(RenderError::Case::timedOut, ExportStage::encode, "encoding the movie: too slow");
        w.renderer->failure = std::make_exception_ptr(failure);
        QTest::mouseClick(w.exportButton(), Qt::LeftButton);
        QVERIFY(w.exportEnds() && !w.view->outcome());
        QCOMPARE(w.alert()->text(), ExportCopy::kExportFailedTitle);
        QCOMPARE(w.alert()->informativeText(), ExportCopy::errorMessage(failure, Renderer::headless));
    }

    // Closing the window mid-export cancels it: no work directory and no package are left.
    void closingStopsTheExport() {
        QTemporaryDir dir;
        const std::filesystem::path work = dir.filePath("work").toStdString();
        std::filesystem::create_directories(work);
        Window w;
        w.renderer->workBase = work;
        w.renderer->hold->store(true);
        w.openExample(dir);
        w.view->runExport();
        QVERIFY(waitUntil([&] { return !std::filesystem::is_empty(work); }, 10000));
        w.view->close();
        w.view.reset();
        QVERIFY(std::filesystem::is_empty(work));
        QVERIFY(!QFile::exists(dir.filePath("Aula.orv")));
    }

    // A deck dropped on the window is opened; anything else is refused.
    void droppedDeckIsOpened() {
        QTemporaryDir dir;
        Window w;
        const auto drop = [&](const QString& file) {
            QMimeData data;
            data.setUrls({QUrl::fromLocalFile(file)});
            QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QDropEvent dropped(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(w.view.get(), &enter);
            if (enter.isAccepted()) QCoreApplication::sendEvent(w.view.get(), &dropped);
            return enter.isAccepted();
        };
        QVERIFY(!drop(dir.filePath("notes.txt")));
        QVERIFY(drop(QString::fromStdString(exampleDeck().string())));
        QCOMPARE(*w.view->deckURL(), exampleDeck());
        QVERIFY(waitUntil([&] { return !w.view->isScanning(); }, 10000));
        QVERIFY(drop(dir.filePath("gone.pptx")));  // vanished between the drag and the drop
        QCOMPARE(w.alert()->text(), ExportCopy::kOpenFailedTitle);
    }

    // At the smallest window size nothing but the file name is cut, in every state.
    void smallestWindowCutsNoText() {
        QTemporaryDir dir;
        Window w;
        w.view->resize(OrvandelAppApp::kMinimumSize);
        w.open(mediaDeck(dir.filePath("videos.pptx").toStdString(), true));
        QTRY_COMPARE(clippedTexts(*w.view), QStringList());
        w.openExample(dir);
        w.view->runExport();
        QVERIFY(w.exportEnds());
        QTRY_COMPARE(clippedTexts(*w.view), QStringList());
    }
};

QTEST_MAIN(ContentViewTest)
#include "ContentViewTests.moc"
