#pragma once
// The finished export below a divider: "Exportação concluída", the
// package's name and what it holds, and the button that shows it in its
// folder. Hidden until an export has succeeded.
#include "PanelSupport.hpp"

class QLabel;

namespace orvandel {

class ElidedLabel;

class ResultPanel : public SessionPanel {
    Q_OBJECT
public:
    explicit ResultPanel(ExportSession& session, QWidget* parent = nullptr);

private:
    void refresh() override;

    ElidedLabel* name_;
    QLabel* summary_;
};

}  // namespace orvandel
