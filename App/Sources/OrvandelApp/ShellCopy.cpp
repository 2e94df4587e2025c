#include "ShellCopy.hpp"

namespace orvandel::ShellCopy {

namespace {

QString name(const std::filesystem::path& path) { return QString::fromStdString(path.filename().string()); }
QString folder(const std::filesystem::path& path) { return QString::fromStdString(path.parent_path().string()); }

}  // namespace

QString packageGone(const std::filesystem::path& orv) {
    return QStringLiteral("O arquivo %1 não está mais na pasta em que foi salvo. Exporte a apresentação de novo.")
        .arg(name(orv));
}

QString packageDamaged(const std::filesystem::path& orv) {
    return QStringLiteral(
               "Não foi possível ler o arquivo %1; ele pode estar danificado. Exporte a apresentação de novo.")
        .arg(name(orv));
}

QString folderOpened(const std::filesystem::path& orv) {
    return QStringLiteral("A pasta foi aberta. Procure nela o arquivo %1.").arg(name(orv));
}

QString noFileManager(const std::filesystem::path& orv) {
    return QStringLiteral("Não foi possível abrir a pasta. O arquivo %1 está em %2.").arg(name(orv), folder(orv));
}

QString aboutHeading(const QString& version) { return QStringLiteral("Orvandel %1").arg(version); }

QString aboutText() {
    // What the app links and the programs it runs to draw and encode the
    // movie: the notices their licences ask for.
    return QStringLiteral(
        "O Orvandel transforma uma apresentação do PowerPoint em uma aula em vídeo: os slides viram um vídeo, "
        "com as marcações de cada slide e tópico e as anotações do apresentador, tudo em um único arquivo\u00A0.orv.\n\n"
        "Feito com software livre:\n"
        "Qt (LGPL v3), LibreOffice (MPL 2.0), poppler (GPL), FFmpeg e x264 (GPL), libxml2 (MIT), PCRE2 (BSD), "
        "zlib (licença zlib), OpenSSL (Apache 2.0), Fontconfig (MIT), libeot (MPL 2.0) e nlohmann/json (MIT).");
}

}  // namespace orvandel::ShellCopy
