#include "LessonPreview.hpp"

#include <QCryptographicHash>
#include <QString>

#include <algorithm>
#include <system_error>
#include <vector>

#include "deck/DeckModel.hpp"
#include "package/LessonOutline.hpp"
#include "package/PreviewPage.hpp"

namespace orvandel::LessonPreview {

namespace fs = std::filesystem;

namespace {

void removeOldest(const fs::path& root) {
    std::error_code ec;
    std::vector<std::pair<fs::file_time_type, fs::path>> folders;
    for (const auto& entry : fs::directory_iterator(root, ec)) {
        if (entry.is_directory(ec)) folders.emplace_back(entry.last_write_time(ec), entry.path());
    }
    if (folders.size() <= static_cast<std::size_t>(kKept)) return;
    std::sort(folders.begin(), folders.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    // A folder the browser still reads is only unlinked; what it plays goes on.
    for (auto it = folders.begin() + kKept; it != folders.end(); ++it) fs::remove_all(it->second, ec);
}

}  // namespace

fs::path folderFor(const fs::path& root, const fs::path& orv) {
    const QByteArray path = QString::fromStdString(fs::absolute(orv).lexically_normal().string()).toUtf8();
    const QByteArray digest = QCryptographicHash::hash(path, QCryptographicHash::Sha256).toHex().left(12);
    return root / (orv.stem().string() + "-" + digest.toStdString());
}

fs::path prepare(const fs::path& root, const fs::path& orv, const fs::path& deck, const CancellationToken& cancel) {
    const fs::path folder = folderFor(root, orv);
    std::error_code ec;
    const auto page = fs::last_write_time(folder / PreviewPage::kPage, ec);
    const bool upToDate = !ec && page >= fs::last_write_time(orv);
    if (!upToDate) {
        fs::create_directories(root);
        const auto outline = [&deck](const LessonPackage::Lesson& lesson) {
            try {
                DeckModel model(deck);
                return LessonOutline::fromDeck(model, lesson.cues);
            } catch (const std::exception&) {
                return LessonOutline::fromCues(lesson.cues);
            }
        };
        PreviewPage::write(orv, folder, {}, outline, {.cancel = cancel});
    }
    // Touched, so that the preview being watched is the newest.
    fs::last_write_time(folder, fs::file_time_type::clock::now(), ec);
    removeOldest(root);
    return folder;
}

}  // namespace orvandel::LessonPreview
