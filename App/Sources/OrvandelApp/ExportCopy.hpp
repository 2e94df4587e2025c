#pragma once
// Every Portuguese text the window shows, and the words for every error an
// export can end with and every warning it reports. The core's own English
// descriptions never reach the user: an error the table below does not know
// gets the generic text, never its what().
//
// The texts are written for PowerPoint for Mac where PowerPoint renders; where
// the headless renderer renders, the lines that speak of PowerPoint, macOS,
// System Settings or Finder have replacements in the same voice that say what
// really happens. Stateless; every function is pure.
#include <QString>
#include <QStringList>

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "RendererChoice.hpp"
#include "base/ExportStage.hpp"
#include "base/Warning.hpp"
#include "render/VideoSettings.hpp"

namespace orvandel {
class DeckError;
}

namespace orvandel::ExportCopy {

// Which texts to use: powerPoint gets the texts written for PowerPoint for
// Mac, any other value those of the headless renderer. Callers pass the
// renderer their exports really use (RendererChoice::resolve).
using Renderer = RendererChoice::Renderer;

// The slide numbers in their order, joined by ", ".
QString list(const std::vector<std::int64_t>& slides);

// The text for whatever an export threw.
QString errorMessage(const std::exception& error, Renderer renderer);
QString errorMessage(const std::exception_ptr& error, Renderer renderer);
QString message(const DeckError& error, Renderer renderer);

// The lines of the "export finished with warnings" alert: the converted
// click videos, the many-bullets advice, then one line per kind of warning
// the core reported (the slides of a kind gathered in one line).
QStringList postExportWarnings(const std::vector<std::int64_t>& convertedOnClickVideoSlides,
                               std::int64_t maxBulletsPerSlide, const std::vector<Warning>& warnings = {});

// The window's texts.
inline const QString kWindowTitle = QStringLiteral("Orvandel — Exportar apresentação");
inline const QString kTitle = QStringLiteral("Exportar apresentação");
QString helpText(Renderer renderer);
inline const QString kChooseDeck = QStringLiteral("Escolher apresentação…");
inline const QString kNoDeck = QStringLiteral("nenhuma apresentação escolhida");
QString importerFilter(Renderer renderer);
QString multiVideoRefusal(const std::vector<std::int64_t>& slides);
// Above the GIF lengths: PowerPoint's asks for every GIF; the headless
// renderer's asks only for moving ones and offers their own loop.
QString gifFormIntro(Renderer renderer);
QString gifSlideLabel(std::int64_t slide);
inline const QString kGifFieldUnit = QStringLiteral("segundos");
// What a GIF field was understood as, beside it: "= 2,5 s".
QString gifLengthUnderstood(std::int64_t ms);
inline const QString kScanning = QStringLiteral("Analisando a apresentação…");
QString exporting(Renderer renderer);
inline const QString kFinishingToQuit = QStringLiteral("Finalizando exportação antes de sair…");
// The share of the export done and, once known, its time left: "42% · cerca de 2 min restantes".
QString progressDone(int permille, const std::optional<std::int64_t>& remainingMs);
// "menos de 1 min restante", "cerca de 3 min restantes", "cerca de 1 h 5 min restantes".
QString timeLeft(std::int64_t ms);
// Where the progress was, once the user cancelled the export.
inline const QString kExportCancelled = QStringLiteral("Exportação cancelada. Nenhum arquivo foi alterado.");
// The choices of a video export, folded into one line until "Alterar" opens them.
// The toggle that opens the video choices, followed by what is chosen.
inline const QString kVideoOptionsTitle = QStringLiteral("Qualidade do vídeo");
// That line: "1080p · 30 quadros/s · Padrão".
QString videoSummary(const VideoSettings& video);
inline const QString kResolutionLabel = QStringLiteral("Resolução:");
inline const QString kFrameRateLabel = QStringLiteral("Taxa de quadros:");
inline const QString kQualityLabel = QStringLiteral("Qualidade:");
QString resolutionName(VideoSettings::Resolution resolution);
QString frameRateName(int fps);
QString qualityName(VideoSettings::Quality quality);
// What the headless export is doing now, for a stage reported through
// RenderHooks::progress; nothing for a stage it does not know.
std::optional<QString> stageLine(ExportStage stage);
inline const QString kExport = QStringLiteral("Exportar");
inline const QString kExportDone = QStringLiteral("Exportação concluída");
// "12 marcações · vídeo de 1 min 5 s"; the duration in seconds, as the probe reads it.
QString resultSummary(std::int64_t cueCount, double masterVideoSeconds);
// "99 de 100 slides reaproveitados da exportação anterior"; nothing when none was.
std::optional<QString> reusedSlides(std::int64_t reused, std::int64_t slides);
// "Revelar no Finder" on macOS, "Mostrar na pasta" elsewhere.
QString revealButton();
inline const QString kRevealInFinder = QStringLiteral("Revelar no Finder");
inline const QString kShowInFolder = QStringLiteral("Mostrar na pasta");

// Alerts.
inline const QString kOpenFailedTitle = QStringLiteral("Não foi possível abrir a apresentação");
inline const QString kOpenFailedText = QStringLiteral("Tente escolher o arquivo novamente.");
inline const QString kExportFailedTitle = QStringLiteral("Não foi possível exportar");
inline const QString kWarningsTitle = QStringLiteral("Exportação concluída com avisos");

// The question asked when the user quits or closes the window during an
// export, and its three answers.
inline const QString kQuitTitle = QStringLiteral("Exportação em andamento");
QString quitQuestion(Renderer renderer);
inline const QString kFinishThenQuit = QStringLiteral("Terminar e sair");
inline const QString kForceQuit = QStringLiteral("Forçar saída");
inline const QString kCancelQuit = QStringLiteral("Cancelar saída");

// The warning before a PowerPoint export when other decks open in PowerPoint
// have unsaved changes (`count` of them).
inline const QString kUnsavedDecksTitle = QStringLiteral("Apresentações com alterações não salvas");
QString unsavedDecksText(std::int64_t count);
inline const QString kCancel = QStringLiteral("Cancelar");
inline const QString kContinueAnyway = QStringLiteral("Continuar mesmo assim");

// The update check's three alerts.
inline const QString kUpdateTitle = QStringLiteral("Nova versão disponível");
// The notes, when there are any, follow after a blank line.
QString updateText(const QString& remoteVersion, const QString& currentVersion, const QString& notes);
inline const QString kDownload = QStringLiteral("Baixar");
inline const QString kNotNow = QStringLiteral("Agora não");
inline const QString kUpToDateTitle = QStringLiteral("Você está na versão mais recente");
QString upToDateText(const QString& currentVersion);
inline const QString kUpdateCheckFailedTitle = QStringLiteral("Não foi possível verificar atualizações");
inline const QString kUpdateCheckFailedText = QStringLiteral("Verifique sua conexão e tente novamente mais tarde.");

// The menus.
inline const QString kFileMenu = QStringLiteral("&Arquivo");
inline const QString kQuit = QStringLiteral("&Sair");
inline const QString kHelpMenu = QStringLiteral("Aj&uda");
inline const QString kCheckForUpdates = QStringLiteral("&Verificar atualizações…");

}  // namespace orvandel::ExportCopy
