#pragma once
// What the window asks of the desktop: a file or page opened in the program
// the user has chosen for it, a file shown in a file manager. The window
// holds one of these instead of calling the desktop itself, so that tests can
// see what would be opened without starting any program.
#include <QUrl>

#include <functional>

namespace orvandel {

struct DesktopOpener {
    // Opens `url` in the desktop's program for it; whether one took it.
    std::function<bool(const QUrl& url)> openUrl;
    // Asks a file manager to show `file` selected; `answered(true)` once one
    // has, `answered(false)` when none could. May answer later, on the GUI thread.
    std::function<void(const QUrl& file, const std::function<void(bool shown)>& answered)> showInFileManager;

    // QDesktopServices, and org.freedesktop.FileManager1.ShowItems over the session bus.
    static DesktopOpener system();
};

}  // namespace orvandel
