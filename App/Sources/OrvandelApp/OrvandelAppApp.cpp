#include "OrvandelAppApp.hpp"

#include <QApplication>
#include <QIcon>
#include <QLayout>
#include <QLibraryInfo>
#include <QLocale>
#include <QMenuBar>
#include <QScreen>
#include <QSocketNotifier>
#include <QStyle>
#include <QTimer>
#include <QTranslator>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "AboutBox.hpp"
#include "Brand.hpp"
#include "ExportCoordinator.hpp"
#include "ExportCopy.hpp"
#include "ShellCopy.hpp"
#include "base/Leftovers.hpp"

namespace orvandel::OrvandelAppApp {

namespace {

int gSignalPipe[2] = {-1, -1};

extern "C" void onTerminationSignal(int signal) {
    const auto byte = static_cast<char>(signal);
    if (::write(gSignalPipe[1], &byte, 1) < 0) {
        // Nothing a signal handler can do; a byte is already waiting.
    }
}

// SIGINT and SIGTERM (a terminal, a logout) quit as "Forçar saída" does,
// without asking: a running export is cancelled, its child processes and
// work directory go with it, then the app quits. A second signal while the
// export unwinds ends the process at once, still removing what the export
// registered. The handler only writes to a pipe; the event loop does the rest.
void quitOnTerminationSignals(QApplication& app, QuitController& quitController) {
    if (::pipe2(gSignalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* notifier = new QSocketNotifier(gSignalPipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [&quitController] {
        char signal = 0;
        while (::read(gSignalPipe[0], &signal, 1) == 1) {
            if (quitController.committed() && ExportCoordinator::shared().inFlight()) {
                Leftovers::cleanUpNow();
                std::_Exit(128 + signal);
            }
            quitController.forceQuit();
        }
    });
    struct sigaction action {};
    action.sa_handler = onTerminationSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

QMenuBar* makeMenus(ContentView& window, UpdateChecker& updateChecker, RecentDecks& recentDecks) {
    auto* bar = new QMenuBar(&window);
    QMenu* file = bar->addMenu(ExportCopy::kFileMenu);
    file->setObjectName(QStringLiteral("fileMenu"));
    QAction* open = file->addAction(ShellCopy::kOpenDeck);
    open->setObjectName(QStringLiteral("openDeck"));
    open->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_O));
    QObject::connect(open, &QAction::triggered, &window, &ContentView::chooseDeck);
    QMenu* recent = file->addMenu(ShellCopy::kOpenRecent);
    recent->setObjectName(QStringLiteral("recentMenu"));
    // Filled as it opens, so that a deck deleted meanwhile shows greyed out.
    QObject::connect(recent, &QMenu::aboutToShow, recent, [&window, &recentDecks, recent] {
        recentDecks.fill(*recent, [&window](const std::filesystem::path& deck) { window.openDeck(deck); });
    });
    QAction* saveAs = file->addAction(ShellCopy::kSaveAs);
    saveAs->setObjectName(QStringLiteral("saveAs"));
    saveAs->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    QObject::connect(saveAs, &QAction::triggered, &window, &ContentView::saveAs);
    file->addSeparator();
    QAction* quit = file->addAction(ExportCopy::kQuit);
    // Spelled out: not every desktop's theme gives Quit a key.
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);
#ifdef Q_OS_MACOS
    QObject::connect(quit, &QAction::triggered, &QCoreApplication::quit);
#else
    // Closing the window is quitting here; the quit guard asks on the way.
    QObject::connect(quit, &QAction::triggered, &window, &QWidget::close);
#endif
    // What can be done now: nothing new while a deck is scanned or exported.
    const auto follow = [&window, open, recent, saveAs] {
        const auto& session = window.session();
        open->setEnabled(!session.isBusy());
        recent->setEnabled(!session.isBusy());
        saveAs->setEnabled(session.canExport() && !session.scanError());
    };
    QObject::connect(&window.session(), &ExportSession::changed, file, follow);
    follow();
    QObject::connect(&window, &ContentView::deckOpened, &window,
                     [&recentDecks](const std::filesystem::path& deck) { recentDecks.add(deck); });

    QMenu* help = bar->addMenu(ExportCopy::kHelpMenu);
    help->setObjectName(QStringLiteral("helpMenu"));
    QAction* check = help->addAction(ExportCopy::kCheckForUpdates);
    check->setObjectName(QStringLiteral("checkForUpdates"));
    QObject::connect(check, &QAction::triggered, &updateChecker, &UpdateChecker::checkManually);
    QAction* about = help->addAction(ShellCopy::kAbout);
    about->setObjectName(QStringLiteral("about"));
    about->setMenuRole(QAction::AboutRole);
    QObject::connect(about, &QAction::triggered, &window, [&window] { AboutBox::present(&window); });
    return bar;
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
        window->setGeometry(
            QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, kInitialSize, screen->availableGeometry()));
    }
    return window;
}

Shell makeShell(RendererChoice::Renderer renderer, std::shared_ptr<const Mp4Exporting> exporter) {
    Shell shell;
    shell.window = makeWindow(renderer, std::move(exporter));
    shell.quitController = std::make_unique<QuitController>(shell.window->renderer());
    shell.quitController->install(*shell.window);
    shell.updateChecker = std::make_unique<UpdateChecker>(shell.window.get());
    shell.recentDecks = std::make_unique<RecentDecks>();
    shell.window->layout()->setMenuBar(makeMenus(*shell.window, *shell.updateChecker, *shell.recentDecks));
    return shell;
}

int run(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Orvandel"));
    QApplication::setOrganizationName(QStringLiteral("Orvandel"));
    QApplication::setApplicationDisplayName(QStringLiteral("Orvandel"));
    QApplication::setApplicationVersion(UpdateFeed::currentVersion());
    // The name of the installed .desktop file, so that the desktop shows this
    // window under the app's own name and icon.
    QApplication::setDesktopFileName(QStringLiteral("orvandel"));
    QApplication::setWindowIcon(QIcon(Brand::kProductImage));
#ifdef Q_OS_MACOS
    // There the app stays when its window closes.
    QApplication::setQuitOnLastWindowClosed(false);
#endif
    installPortuguese(app);
    const Shell shell = makeShell();
    quitOnTerminationSignals(app, *shell.quitController);
    shell.window->show();
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() > 1) shell.window->openDeck(arguments.at(1).toStdString());
    QTimer::singleShot(0, shell.updateChecker.get(), &UpdateChecker::checkOnLaunch);
    return QApplication::exec();
}

}  // namespace orvandel::OrvandelAppApp
