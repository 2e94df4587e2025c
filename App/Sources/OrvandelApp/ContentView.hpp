#pragma once
// The app's one window: a header, then the panels that show the export
// session's state and forward the user's actions (the deck, the GIF
// lengths, the progress, the result), and "Exportar". The user picks a deck
// (button, first argument or drop); the session scans and exports it off the
// GUI thread. A Portuguese alert reports a failed open or export, or the
// warnings of a finished one.
//
// In the application a QuitController asks before the window closes during
// an export. A close that goes through cancels the export; the session,
// destroyed with the window, waits for its worker, so that no child process
// or work directory outlives it. Where PowerPoint renders, "Exportar" first
// warns about other decks with unsaved changes (UnsavedDecksGate).
#include <QWidget>

#include <exception>
#include <filesystem>
#include <memory>
#include <optional>

#include "export/ExportSession.hpp"

class QLabel;
class QMimeData;
class QPushButton;
class QScrollArea;

namespace orvandel {

class DeckPanel;
class ResultPanel;

class ContentView : public QWidget {
    Q_OBJECT
public:
    // See ExportSession for `renderer` and `exporter`.
    explicit ContentView(RendererChoice::Renderer renderer = RendererChoice::Renderer::automatic,
                         std::shared_ptr<const Mp4Exporting> exporter = nullptr, QWidget* parent = nullptr);

    ExportSession& session() { return *session_; }
    RendererChoice::Renderer renderer() const { return session_->renderer(); }

    // A deck named on the command line, picked or dropped: chosen, or the
    // "could not open" alert when it is not a file.
    void openDeck(const std::filesystem::path& deck);
    // "Abrir apresentação…": the file dialog, unless the session is busy.
    void chooseDeck();
    // "Exportar": the unsaved-decks question where PowerPoint renders, then
    // the export, into `to` (default: beside the deck). Nothing when the
    // deck cannot be exported (its scan failed, a GIF lacks its length…):
    // the window already says why.
    void runExport(const std::optional<std::filesystem::path>& to = std::nullopt);
    // "Salvar como…": asks where, then exports there.
    void saveAs();
    // What "Salvar como…" makes of the name typed: the .orv extension added when missing.
    static std::filesystem::path withPackageExtension(const std::filesystem::path& chosen);

signals:
    // A deck was opened (for "Abrir recentes").
    void deckOpened(const std::filesystem::path& deck);

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void buildLayout();
    void applyColors();
    void refresh();
    bool exportable() const;
    void exportEnded(const std::exception_ptr& error, const QStringList& warnings);
    void setFloating(bool floating);
    void presentAlert(bool warning, const QString& title, const QString& text);
    static std::optional<std::filesystem::path> droppedDeck(const QMimeData* data);

    // Destroyed before the panels (children of the QWidget base), which no
    // longer hear from it then: it waits for its worker on the way out.
    std::unique_ptr<ExportSession> session_;
    bool closing_ = false;
    bool floating_ = false;

    QLabel* help_ = nullptr;
    DeckPanel* deckPanel_ = nullptr;
    QPushButton* exportButton_ = nullptr;
    ResultPanel* resultPanel_ = nullptr;
    QScrollArea* scroll_ = nullptr;
};

}  // namespace orvandel
