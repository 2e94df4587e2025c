#pragma once
// What runs now: a spinner and a line while the deck is scanned or exported
// and, for the headless renderer, the export's stage, a bar, the share done
// with the time left, and how many slides it reuses from the previous
// export; a Cancel button while an export runs. After a cancelled export,
// the one line that says so. Hidden otherwise.
#include "PanelSupport.hpp"

class QLabel;
class QProgressBar;
class QPushButton;

namespace orvandel {

class Spinner;

class ProgressPanel : public SessionPanel {
    Q_OBJECT
public:
    explicit ProgressPanel(ExportSession& session, QWidget* parent = nullptr);

private:
    void refresh() override;

    Spinner* spinner_;
    QLabel* line_;
    QProgressBar* bar_;
    QLabel* done_;
    QPushButton* cancel_;
    QLabel* reuse_;
    int shownRows_ = 0;  // which rows showed last: a change scrolls to them
};

}  // namespace orvandel
