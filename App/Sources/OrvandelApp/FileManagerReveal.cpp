#include "FileManagerReveal.hpp"

#include <QString>

namespace orvandel::FileManagerReveal {

void reveal(const std::filesystem::path& file, const DesktopOpener& desktop, const std::function<void(Outcome)>& done) {
    const QUrl url = QUrl::fromLocalFile(QString::fromStdString(file.string()));
    const QUrl folder = QUrl::fromLocalFile(QString::fromStdString(file.parent_path().string()));
    desktop.showInFileManager(url, [openUrl = desktop.openUrl, folder, done](bool shown) {
        if (shown) return done(Outcome::selected);
        done(openUrl(folder) ? Outcome::folderOpened : Outcome::nothingOpened);
    });
}

}  // namespace orvandel::FileManagerReveal
