#pragma once
// The chosen deck: "Escolher apresentação…" and the deck's name (or that
// none is chosen), then what the scan refuses in red.
#include <filesystem>

#include "PanelSupport.hpp"

class QLabel;
class QPushButton;

namespace orvandel {

class ElidedLabel;

class DeckPanel : public SessionPanel {
    Q_OBJECT
public:
    explicit DeckPanel(ExportSession& session, QWidget* parent = nullptr);

    // The file dialog ("Escolher apresentação…", "Abrir apresentação…").
    void showImporter();

signals:
    // Picked in the file dialog.
    void deckPicked(const std::filesystem::path& deck);

private:
    void refresh() override;

    QPushButton* chooseButton_;
    ElidedLabel* deckName_;
    QLabel* noDeck_;
    QLabel* scanError_;
    QLabel* multiVideo_;
};

}  // namespace orvandel
