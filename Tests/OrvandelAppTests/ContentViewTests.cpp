#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QtTest>

#include "AppTestSupport.hpp"
#include "ContentView.hpp"
#include "ExportCopy.hpp"
#include "OrvandelAppApp.hpp"
#include "package/ManifestReader.hpp"
#include "tools/RenderError.hpp"

using namespace orvandel;
using namespace orvandel::apptest;
using Renderer = RendererChoice::Renderer;

namespace {

struct Window {
    std::shared_ptr<FakeExporter> renderer = std::make_shared<FakeExporter>();
    std::unique_ptr<ContentView> view = OrvandelAppApp::makeWindow(Renderer::headless, renderer);

    Window() { view->show(); }
    template <class W>
    W* find(const QString& name) const {
        return view->findChild<W*>(name);
    }
    QPushButton* exportButton() const { return find<QPushButton>("exportButton"); }
    ExportSession& session() const { return view->session(); }
    void open(const std::filesystem::path& deck) { QVERIFY(scan(session(), deck)); }
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
    void openExample(const QTemporaryDir& dir) {
        open(exampleCopy(dir.path()));
        type(4, "3");
    }
    bool exportEnds() const {
        return waitUntil([&] { return !session().isExporting(); }, 20000);
    }
};

}  // namespace

class ContentViewTest : public QObject {
    Q_OBJECT
private slots:
    // Typing into a GIF field: what the field keeps, and whether "Exportar" opens.
    void gifFieldsDriveExport() {
        QTemporaryDir dir;
        Window w;
        w.open(mediaDeck(dir.filePath("gif.pptx").toStdString(), false));
        QVERIFY(!w.find<QLineEdit>("gifField-3"));  // the hidden slide is not asked
        for (const auto& [typed, kept, enabled] : std::vector<std::tuple<QString, QString, bool>>{
                 {"abc", "", false}, {"1.5", "1.5", true}, {"٥", "٥", false}}) {
            w.type(2, typed);
            QCOMPARE(w.find<QLineEdit>("gifField-2")->text(), kept);
            QVERIFY2(w.exportButton()->isEnabled() == enabled, qPrintable(typed));
        }
        w.open(mediaDeck(dir.filePath("videos.pptx").toStdString(), true));
        QVERIFY(w.find<QLabel>("multiVideo")->isVisible() && !w.exportButton()->isEnabled());
    }

    // The run seen from the window: the stage and its bar while the renderer
    // works (a second start refused), then the result the package holds and
    // the warnings alert; then a run that fails, and its Portuguese text.
    void exportShowsProgressThenTheResult() {
        QTemporaryDir dir;
        Window w;
        w.renderer->hold->store(true);
        w.openExample(dir);
        QTest::keyClick(w.find<QLineEdit>("gifField-4"), Qt::Key_Return);
        QVERIFY(w.session().isExporting() && !w.session().startExport());
        const auto drawing = ExportCopy::stageLine(ExportStage::draw);
        QVERIFY(waitUntil([&] { return w.find<QLabel>("progressLine")->text() == drawing; }, 10000));
        QVERIFY(w.find<QProgressBar>("progressBar")->isVisible());
        QVERIFY(!w.find<QPushButton>("chooseButton")->isEnabled() && !w.exportButton()->isEnabled());
        QVERIFY(!w.find<QLineEdit>("gifField-4")->isEnabled());
        w.renderer->hold->store(false);
        QVERIFY(w.exportEnds());

        QVERIFY(w.find<QWidget>("resultView")->isVisible() && !w.find<QWidget>("progressLine")->isVisible());
        const auto& outcome = *w.session().outcome();
        const auto probe = ManifestReader::read(outcome.orvPath);
        QCOMPARE(outcome.orvPath, ExportSession::outputPath(*w.session().deckPath()));
        QCOMPARE(w.find<QLabel>("resultSummary")->text(),
                 ExportCopy::resultSummary(std::int64_t(probe.cues.size()), probe.masterVideoDuration));
        QCOMPARE(outcome.convertedOnClickVideoSlides, (std::vector<std::int64_t>{5}));
        QVERIFY(w.alert() && w.alert()->text() == ExportCopy::kWarningsTitle);
        QVERIFY(w.alert()->informativeText().contains("slide(s) 5"));
        delete w.alert();

        const RenderError failure(RenderError::Case::timedOut, ExportStage::encode, "encoding the movie: too slow");
        w.renderer->failure = std::make_exception_ptr(failure);
        QTest::mouseClick(w.exportButton(), Qt::LeftButton);
        QVERIFY(w.exportEnds() && !w.session().outcome() && !w.find<QWidget>("resultView")->isVisible());
        QCOMPARE(w.alert()->text(), ExportCopy::kExportFailedTitle);
        QCOMPARE(w.alert()->informativeText(), ExportCopy::errorMessage(failure, Renderer::headless));
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
        QCOMPARE(*w.session().deckPath(), exampleDeck());
        QVERIFY(waitUntil([&] { return !w.session().isScanning(); }, 10000));
        QVERIFY(drop(dir.filePath("gone.pptx")));  // vanished between the drag and the drop
        QCOMPARE(w.alert()->text(), ExportCopy::kOpenFailedTitle);
    }

    // At the smallest window size nothing but the file name is cut, in every
    // state, and the progress with "Cancelar" is scrolled into view.
    void smallestWindowCutsNoText() {
        QTemporaryDir dir;
        Window w;
        w.view->resize(OrvandelAppApp::kMinimumSize);
        w.open(mediaDeck(dir.filePath("videos.pptx").toStdString(), true));
        QTRY_COMPARE(clippedTexts(*w.view), QStringList());
        w.openExample(dir);
        w.renderer->hold->store(true);
        w.view->runExport();
        auto* viewport = w.view->findChild<QScrollArea*>()->viewport();
        const auto shown = [&](const char* name) {
            auto* widget = w.find<QWidget>(name);
            const QRect at(widget->mapTo(viewport, QPoint(0, 0)), widget->size());
            return widget->isVisible() && viewport->rect().contains(at);
        };
        QTRY_VERIFY(shown("progressBar") && shown("cancelButton"));
        QVERIFY(!w.find<QWidget>("videoOptions")->isVisible());
        w.renderer->hold->store(false);
        QVERIFY(w.exportEnds());
        QTRY_COMPARE(clippedTexts(*w.view), QStringList());
    }
};

QTEST_MAIN(ContentViewTest)
#include "ContentViewTests.moc"
