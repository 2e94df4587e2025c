#pragma once
// The choices of a video export: resolution, frame rate and quality, handed
// to the session and remembered for the next run (QSettings, under the
// application's names). One line saying what is chosen, whose "Alterar"
// opens the three choices: most exports keep them, and the window is short.
// Hidden while exporting (the progress needs the room), and where PowerPoint
// renders: it takes none of them.
#include <QSettings>

#include "PanelSupport.hpp"
#include "render/VideoSettings.hpp"

class QComboBox;
class QLabel;
class QToolButton;

namespace orvandel {

class OptionsPanel : public SessionPanel {
    Q_OBJECT
public:
    // Reads the remembered settings and gives them to the session.
    explicit OptionsPanel(ExportSession& session, QWidget* parent = nullptr);

    // The remembered settings; a missing or unknown value is the default's.
    static VideoSettings load(const QSettings& settings);
    static void save(const VideoSettings& video, QSettings& settings);

private:
    void refresh() override;
    void chosen();
    void toggled(bool open);

    QComboBox* resolution_;
    QComboBox* fps_;
    QComboBox* quality_;
    QLabel* summary_;
    QToolButton* toggle_;
    QWidget* choices_;
};

}  // namespace orvandel
