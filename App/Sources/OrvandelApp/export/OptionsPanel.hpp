#pragma once
// The choices of a video export: resolution, frame rate and quality, handed
// to the session and remembered for the next run (QSettings, under the
// application's names). Hidden where PowerPoint renders: it takes none of
// them.
#include <QSettings>

#include "PanelSupport.hpp"
#include "render/VideoSettings.hpp"

class QComboBox;

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

    QComboBox* resolution_;
    QComboBox* fps_;
    QComboBox* quality_;
};

}  // namespace orvandel
