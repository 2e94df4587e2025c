#pragma once
// The application's entry: Qt's own texts in Brazilian Portuguese, the one
// window at its sizes with its menus, the quit guard, the daily update check,
// and the deck named on the command line.
#include <memory>

#include "ContentView.hpp"
#include "QuitController.hpp"
#include "RecentDecks.hpp"
#include "update/UpdateChecker.hpp"

class QCoreApplication;

namespace orvandel::OrvandelAppApp {

// The window's smallest size and the size it opens at.
inline constexpr QSize kMinimumSize{392, 420};
inline constexpr QSize kInitialSize{550, 500};

// Brazilian Portuguese as the default locale, and Qt's translations of its own
// dialogs and standard buttons ("Cancelar") when they are installed.
void installPortuguese(QCoreApplication& app);

// The main window, titled, sized and centred on the primary screen.
std::unique_ptr<ContentView> makeWindow(RendererChoice::Renderer renderer = RendererChoice::Renderer::automatic,
                                        std::shared_ptr<const Mp4Exporting> exporter = nullptr);

// The window with what the application puts around it: the quit guard on
// it, the update checker, the decks opened last, and the menus "Arquivo"
// (Abrir apresentação…, Abrir recentes, Salvar como…, Sair) and "Ajuda"
// (Verificar atualizações…, Sobre o Orvandel). Members are destroyed in
// reverse order: the window, which waits for a running export, last.
struct Shell {
    std::unique_ptr<ContentView> window;
    std::unique_ptr<QuitController> quitController;
    std::unique_ptr<UpdateChecker> updateChecker;
    std::unique_ptr<RecentDecks> recentDecks;
};
Shell makeShell(RendererChoice::Renderer renderer = RendererChoice::Renderer::automatic,
                std::shared_ptr<const Mp4Exporting> exporter = nullptr);

// The whole application; argv[1], when present, is the deck to open.
int run(int argc, char** argv);

}  // namespace orvandel::OrvandelAppApp
