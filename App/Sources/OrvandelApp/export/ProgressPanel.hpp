#pragma once
// What runs now: a spinner and a line while the deck is scanned or exported
// and, for the headless renderer, the export's stage, a bar and how many
// slides it reuses from the previous export. Hidden otherwise.
#include "PanelSupport.hpp"

class QLabel;
class QProgressBar;

namespace orvandel {

class ProgressPanel : public SessionPanel {
    Q_OBJECT
public:
    explicit ProgressPanel(ExportSession& session, QWidget* parent = nullptr);

private:
    void refresh() override;

    QLabel* line_;
    QProgressBar* bar_;
    QLabel* reuse_;
};

}  // namespace orvandel
