#pragma once
// The decks opened last, newest first, remembered between runs in the app's
// settings (QSettings), for "Abrir recentes".
#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

class QMenu;
class QSettings;

namespace orvandel {

class RecentDecks {
public:
    static constexpr int kMax = 8;

    // `settingsFile` empty: the app's own settings.
    explicit RecentDecks(const QString& settingsFile = {});
    ~RecentDecks();

    std::vector<std::filesystem::path> decks() const;
    // To the front, once; the oldest beyond kMax forgotten.
    void add(const std::filesystem::path& deck);
    void clear();

    // Refills `menu` with the decks (one that is gone greyed out), then
    // "Limpar lista"; `open` gets the deck picked.
    void fill(QMenu& menu, const std::function<void(const std::filesystem::path&)>& open);

private:
    void store(const std::vector<std::filesystem::path>& decks);

    std::unique_ptr<QSettings> settings_;
};

}  // namespace orvandel
