#pragma once
// The length of every visible GIF slide's loop: one field a slide, which
// keeps only the digits typed. Shown when the scanned deck has such slides.
#include <cstdint>
#include <map>

#include "PanelSupport.hpp"

class QGridLayout;
class QLineEdit;

namespace orvandel {

class DurationsPanel : public SessionPanel {
    Q_OBJECT
public:
    explicit DurationsPanel(ExportSession& session, QWidget* parent = nullptr);

private:
    void rebuild();
    void refresh() override;
    void typed(std::int64_t slide, QLineEdit& field, const QString& text);

    QGridLayout* rows_;
    std::map<std::int64_t, QLineEdit*> fields_;
};

}  // namespace orvandel
