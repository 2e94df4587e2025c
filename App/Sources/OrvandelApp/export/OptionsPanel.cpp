#include "OptionsPanel.hpp"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

#include <algorithm>
#include <iterator>

#include "ExportCopy.hpp"
#include "ExportSession.hpp"

namespace orvandel {

namespace {

const QString kResolutionKey = QStringLiteral("video/resolution");
const QString kFpsKey = QStringLiteral("video/fps");
const QString kQualityKey = QStringLiteral("video/quality");
constexpr int kFrameRates[] = {30, 60};

// The item whose data is `value`, or the first.
void select(QComboBox& box, const QVariant& value) { box.setCurrentIndex(std::max(0, box.findData(value))); }

}  // namespace

OptionsPanel::OptionsPanel(ExportSession& session, QWidget* parent)
    : SessionPanel(session, parent),
      resolution_(new QComboBox),
      fps_(new QComboBox),
      quality_(new QComboBox),
      summary_(new QLabel),
      toggle_(new QToolButton),
      choices_(new QWidget) {
    setObjectName(QStringLiteral("videoOptions"));
    auto* column = PanelSupport::column(this, 6);
    auto* line = new QHBoxLayout;
    line->setSpacing(8);
    // The toggle names the panel and the summary beside it says what is
    // chosen: one line, short enough for the narrowest window.
    toggle_->setObjectName(QStringLiteral("videoToggle"));
    toggle_->setText(ExportCopy::kVideoOptionsTitle);
    toggle_->setCheckable(true);
    toggle_->setAutoRaise(true);
    toggle_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toggle_->setArrowType(Qt::RightArrow);
    connect(toggle_, &QToolButton::toggled, this, &OptionsPanel::toggled);
    line->addWidget(toggle_);
    summary_->setObjectName(QStringLiteral("videoSummary"));
    line->addWidget(summary_);
    line->addStretch(1);
    column->addLayout(line);

    auto* form = new QFormLayout(choices_);
    form->setContentsMargins(12, 0, 0, 0);
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    for (const auto resolution : VideoSettings::resolutions()) {
        resolution_->addItem(ExportCopy::resolutionName(resolution), static_cast<int>(resolution));
    }
    for (const int fps : kFrameRates) fps_->addItem(ExportCopy::frameRateName(fps), fps);
    for (const auto quality : VideoSettings::qualities()) {
        quality_->addItem(ExportCopy::qualityName(quality), static_cast<int>(quality));
    }
    resolution_->setObjectName(QStringLiteral("resolutionChoice"));
    fps_->setObjectName(QStringLiteral("fpsChoice"));
    quality_->setObjectName(QStringLiteral("qualityChoice"));
    form->addRow(ExportCopy::kResolutionLabel, resolution_);
    form->addRow(ExportCopy::kFrameRateLabel, fps_);
    form->addRow(ExportCopy::kQualityLabel, quality_);
    choices_->setObjectName(QStringLiteral("videoChoices"));
    choices_->setVisible(false);
    column->addWidget(choices_);

    const VideoSettings remembered = load(QSettings());
    select(*resolution_, static_cast<int>(remembered.resolution));
    select(*fps_, remembered.fps);
    select(*quality_, static_cast<int>(remembered.quality));
    session_.setVideoSettings(remembered);
    for (auto* box : {resolution_, fps_, quality_}) {
        connect(box, &QComboBox::activated, this, &OptionsPanel::chosen);
    }
    follow();
}

VideoSettings OptionsPanel::load(const QSettings& settings) {
    VideoSettings video;
    const auto text = [&](const QString& key) { return settings.value(key).toString().toStdString(); };
    if (const auto resolution = VideoSettings::resolutionNamed(text(kResolutionKey))) video.resolution = *resolution;
    if (const auto quality = VideoSettings::qualityNamed(text(kQualityKey))) video.quality = *quality;
    const int fps = settings.value(kFpsKey).toInt();
    if (std::find(std::begin(kFrameRates), std::end(kFrameRates), fps) != std::end(kFrameRates)) video.fps = fps;
    return video;
}

void OptionsPanel::save(const VideoSettings& video, QSettings& settings) {
    settings.setValue(kResolutionKey, QString::fromStdString(VideoSettings::nameOf(video.resolution)));
    settings.setValue(kFpsKey, video.fps);
    settings.setValue(kQualityKey, QString::fromStdString(VideoSettings::nameOf(video.quality)));
}

void OptionsPanel::chosen() {
    VideoSettings video;
    video.resolution = static_cast<VideoSettings::Resolution>(resolution_->currentData().toInt());
    video.fps = fps_->currentData().toInt();
    video.quality = static_cast<VideoSettings::Quality>(quality_->currentData().toInt());
    QSettings settings;
    save(video, settings);
    session_.setVideoSettings(video);
}

void OptionsPanel::toggled(bool open) {
    choices_->setVisible(open);
    toggle_->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
}

void OptionsPanel::refresh() {
    setVisible(session_.renderer() != RendererChoice::Renderer::powerPoint && !session_.isExporting());
    summary_->setText(ExportCopy::videoSummary(session_.videoSettings()));
    for (auto* box : {resolution_, fps_, quality_}) box->setEnabled(!session_.isBusy());
}

}  // namespace orvandel
