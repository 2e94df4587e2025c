#include "RecentDecks.hpp"

#include <QMenu>
#include <QSettings>

#include <algorithm>

#include "ShellCopy.hpp"

namespace orvandel {

namespace {

const QString kKey = QStringLiteral("recentDecks");

}  // namespace

RecentDecks::RecentDecks(const QString& settingsFile)
    : settings_(settingsFile.isEmpty() ? std::make_unique<QSettings>()
                                       : std::make_unique<QSettings>(settingsFile, QSettings::IniFormat)) {}

RecentDecks::~RecentDecks() = default;

std::vector<std::filesystem::path> RecentDecks::decks() const {
    std::vector<std::filesystem::path> decks;
    for (const QString& deck : settings_->value(kKey).toStringList()) {
        // The settings file is the user's to edit: only absolute paths, no more than kMax.
        if (decks.size() == static_cast<std::size_t>(kMax)) break;
        const std::filesystem::path path = deck.toStdString();
        if (path.is_absolute()) decks.push_back(path);
    }
    return decks;
}

void RecentDecks::add(const std::filesystem::path& deck) {
    auto decks = this->decks();
    std::erase(decks, deck);
    decks.insert(decks.begin(), deck);
    if (decks.size() > static_cast<std::size_t>(kMax)) decks.resize(kMax);
    store(decks);
}

void RecentDecks::clear() { store({}); }

void RecentDecks::store(const std::vector<std::filesystem::path>& decks) {
    QStringList list;
    for (const auto& deck : decks) list << QString::fromStdString(deck.string());
    settings_->setValue(kKey, list);
    settings_->sync();
}

void RecentDecks::fill(QMenu& menu, const std::function<void(const std::filesystem::path&)>& open) {
    menu.clear();
    menu.setToolTipsVisible(true);
    const auto decks = this->decks();
    for (const auto& deck : decks) {
        QAction* action = menu.addAction(QString::fromStdString(deck.filename().string()));
        action->setToolTip(QString::fromStdString(deck.string()));
        std::error_code ec;
        action->setEnabled(std::filesystem::is_regular_file(deck, ec));
        QObject::connect(action, &QAction::triggered, &menu, [open, deck] { open(deck); });
    }
    if (decks.empty()) menu.addAction(ShellCopy::kNoRecentDecks)->setEnabled(false);
    menu.addSeparator();
    QAction* clear = menu.addAction(ShellCopy::kClearRecent);
    clear->setEnabled(!decks.empty());
    QObject::connect(clear, &QAction::triggered, &menu, [this] { this->clear(); });
}

}  // namespace orvandel
