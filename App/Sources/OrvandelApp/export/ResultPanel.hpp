#pragma once
// The finished export below a divider: "Exportação concluída", the
// package's name and what it holds, and what the user can do with it:
// "Assistir" (the movie in the desktop's player), "Abrir prévia" (the lesson
// page in the browser) and "Mostrar na pasta". Both of the first two need the
// preview folder (LessonPreview), written off the GUI thread; what goes wrong,
// or could not be done as asked, is said in a line below the buttons.
// Hidden until an export has succeeded.
#include <filesystem>
#include <functional>
#include <optional>

#include "DesktopOpener.hpp"
#include "OffThread.hpp"
#include "PanelSupport.hpp"
#include "base/Cancellation.hpp"

class QLabel;
class QPushButton;

namespace orvandel {

class ElidedLabel;

class ResultPanel : public SessionPanel {
    Q_OBJECT
public:
    explicit ResultPanel(ExportSession& session, QWidget* parent = nullptr);
    ~ResultPanel() override;

    // Tests: a desktop that only records what it is asked, previews in a scratch folder.
    void setDesktop(DesktopOpener desktop) { desktop_ = std::move(desktop); }
    void setPreviewRoot(std::filesystem::path root) { previewRoot_ = std::move(root); }

private:
    enum class Target { movie, page };
    struct Prepared {
        std::optional<std::filesystem::path> folder;  // none: failed
        Target target;
        bool damaged;  // the package could not be read
    };

    void refresh() override;
    void open(Target target);
    void prepared(const Prepared& run);
    void reveal();
    void say(const QString& line, bool problem);

    ElidedLabel* name_;
    QLabel* summary_;
    QPushButton* watch_;
    QPushButton* preview_;
    QPushButton* reveal_;
    QLabel* status_;
    bool preparing_ = false;
    std::optional<std::filesystem::path> shown_;  // the outcome the status line speaks of

    DesktopOpener desktop_ = DesktopOpener::system();
    std::filesystem::path previewRoot_;
    CancellationToken cancel_;
    OffThread<Prepared> preparation_;
};

}  // namespace orvandel
