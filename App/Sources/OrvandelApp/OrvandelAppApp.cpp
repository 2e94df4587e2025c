#include "OrvandelAppApp.hpp"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QScreen>
#include <QStyle>
#include <QSocketNotifier>
#include <QTranslator>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace orvandel::OrvandelAppApp {

namespace {

int gSignalPipe[2] = {-1, -1};

extern "C" void onTerminationSignal(int) {
    const char byte = 1;
    if (::write(gSignalPipe[1], &byte, 1) < 0) {
        // Nothing a signal handler can do; a byte is already waiting.
    }
}

// SIGINT and SIGTERM (a terminal, a logout) close the window like the user
// would, so that a running export is cancelled and its child processes and
// work directory go with it. The handler only writes to a pipe; the event
// loop does the rest.
void closeOnTerminationSignals(QApplication& app) {
    if (::pipe2(gSignalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* notifier = new QSocketNotifier(gSignalPipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [] {
        QApplication::closeAllWindows();
        QApplication::quit();
    });
    struct sigaction action {};
    action.sa_handler = onTerminationSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

void installPortuguese(QCoreApplication& app) {
    const QLocale brazil(QLocale::Portuguese, QLocale::Brazil);
    QLocale::setDefault(brazil);
    const QString directory = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    auto* translator = new QTranslator(&app);
    if (translator->load(brazil, QStringLiteral("qtbase"), QStringLiteral("_"), directory)) {
        QCoreApplication::installTranslator(translator);
    } else {
        delete translator;
    }
}

std::unique_ptr<ContentView> makeWindow(RendererChoice::Renderer renderer,
                                        std::shared_ptr<const Mp4Exporting> exporter) {
    auto window = std::make_unique<ContentView>(renderer, std::move(exporter));
    window->setMinimumSize(kMinimumSize);
    window->resize(kInitialSize);
    if (const auto* screen = QGuiApplication::primaryScreen()) {
        window->setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, kInitialSize,
                                                screen->availableGeometry()));
    }
    return window;
}

int run(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Orvandel"));
    QApplication::setApplicationDisplayName(QStringLiteral("Orvandel"));
    QApplication::setDesktopFileName(QStringLiteral("orvandel"));
    installPortuguese(app);
    closeOnTerminationSignals(app);
    const auto window = makeWindow();
    window->show();
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() > 1) window->openDeck(arguments.at(1).toStdString());
    return QApplication::exec();
}

}  // namespace orvandel::OrvandelAppApp
