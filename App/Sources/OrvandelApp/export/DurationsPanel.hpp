#pragma once
// The length of every visible slide whose GIF moves: one field a slide,
// offering the GIFs' own loop length where they have one, which keeps only
// digits and a decimal comma or point, and beside it the length understood
// ("= 2,5 s"). Shown when the scanned deck has such slides.
#include <cstdint>
#include <map>

#include "PanelSupport.hpp"

class QGridLayout;
class QLabel;
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
    std::map<std::int64_t, QLabel*> understood_;
};

}  // namespace orvandel
