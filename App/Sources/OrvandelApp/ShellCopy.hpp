#pragma once
// The Portuguese texts of the window's shell: the result's three actions and
// what they say when the desktop cannot do them, the menus, the recent decks
// and "Sobre o Orvandel". The export's own texts are ExportCopy's.
#include <QString>

#include <filesystem>

namespace orvandel::ShellCopy {

// The result's actions.
inline const QString kWatch = QStringLiteral("Assistir");
inline const QString kOpenPreview = QStringLiteral("Abrir prévia");
inline const QString kPreparing = QStringLiteral("Preparando o vídeo da aula…");
QString packageGone(const std::filesystem::path& orv);
QString packageDamaged(const std::filesystem::path& orv);
inline const QString kPreviewFailed = QStringLiteral(
    "Não foi possível preparar o vídeo da aula. Confira se há espaço livre no disco e tente de novo.");
inline const QString kNoPlayer = QStringLiteral(
    "Nenhum programa deste computador conseguiu abrir o vídeo. Instale um reprodutor de vídeo e tente de novo.");
inline const QString kNoBrowser = QStringLiteral(
    "Nenhum navegador deste computador conseguiu abrir a prévia. Instale um navegador e tente de novo.");
// The folder opened without the file selected in it.
QString folderOpened(const std::filesystem::path& orv);
// Nothing opened the folder: where the file is, to find it by hand.
QString noFileManager(const std::filesystem::path& orv);

// The menus (ExportCopy has "Arquivo", "Sair", "Ajuda" and the update check).
inline const QString kOpenDeck = QStringLiteral("&Abrir apresentação…");
inline const QString kOpenRecent = QStringLiteral("Abrir &recentes");
inline const QString kNoRecentDecks = QStringLiteral("Nenhuma apresentação recente");
inline const QString kClearRecent = QStringLiteral("&Limpar lista");
inline const QString kSaveAs = QStringLiteral("Salvar &como…");
inline const QString kSaveAsTitle = QStringLiteral("Salvar a aula como");
inline const QString kOrvFilter = QStringLiteral("Aula do Orvandel (*.orv)");
inline const QString kAbout = QStringLiteral("&Sobre o Orvandel");

// "Sobre o Orvandel".
inline const QString kAboutTitle = QStringLiteral("Sobre o Orvandel");
QString aboutHeading(const QString& version);
QString aboutText();

}  // namespace orvandel::ShellCopy
