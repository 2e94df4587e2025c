#include "ExportCopy.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <map>

#include "base/AtomicFile.hpp"
#include "base/Cancellation.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/XmlElement.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckError.hpp"
#include "package/OrvExporter.hpp"
#include "render/ExportError.hpp"
#include "render/Mp4Duration.hpp"
#include "tools/RenderError.hpp"

namespace orvandel::ExportCopy {

namespace {

bool powerPoint(Renderer renderer) { return renderer == Renderer::powerPoint; }

QString number(std::int64_t n) { return QString::number(static_cast<qlonglong>(n)); }

const QString kSupport = QStringLiteral(" Se continuar, fale com o suporte do Orvandel.");

QString generic(Renderer renderer) {
    return powerPoint(renderer)
               ? QStringLiteral("Ocorreu um erro inesperado na exportação. Feche e reabra o PowerPoint e tente de "
                                "novo. Se continuar, fale com o suporte do Orvandel.")
               : QStringLiteral("Ocorreu um erro inesperado na exportação. Tente de novo.") + kSupport;
}

QString exportErrorText(const Mp4Exporter::ExportError& error) {
    using Case = Mp4Exporter::ExportError::Case;
    switch (error.errorCase()) {
        case Case::powerPointUnavailable:
            return QStringLiteral("Não foi possível abrir o PowerPoint para gerar o vídeo. Confirme que o PowerPoint "
                                  "está instalado e tente de novo. Se continuar, fale com o suporte do Orvandel.");
        case Case::automationDenied:
            return QStringLiteral("O Orvandel precisa de permissão para controlar o PowerPoint e gerar o vídeo. Abra "
                                  "Ajustes do Sistema → Privacidade e Segurança → Automação, marque PowerPoint para o "
                                  "Orvandel e exporte de novo.");
        case Case::timedOut:
            return QStringLiteral("A exportação demorou mais que o esperado e foi interrompida. Feche outras "
                                  "apresentações abertas e tente de novo.");
        case Case::exportFailed:
            return QStringLiteral(
                "A exportação do vídeo falhou. Feche e reabra o PowerPoint e tente exportar novamente.");
        case Case::unmeasurableOutput:
            return QStringLiteral(
                "Não foi possível confirmar o vídeo gerado. Feche e reabra o PowerPoint e exporte de novo.");
    }
    return generic(Renderer::powerPoint);
}

// The program a stage of the headless renderer runs, and the Debian package
// it comes in. The other stages name none, the media's ffprobe included:
// what is missing there is told with all three packages.
struct Tool {
    QString name;
    QString package;
};

std::optional<Tool> toolOfStage(ExportStage stage) {
    switch (stage) {
        case ExportStage::pdf: return Tool{"LibreOffice", "libreoffice-impress-nogui"};
        case ExportStage::draw: return Tool{"Poppler", "poppler-utils"};
        case ExportStage::frames:
        case ExportStage::encode: return Tool{"ffmpeg", "ffmpeg"};
        default: return std::nullopt;
    }
}

QString renderErrorText(const RenderError& error) {
    switch (error.errorCase()) {
        case RenderError::Case::missingTool:
            if (const auto tool = toolOfStage(error.stage())) {
                return "Falta o " + tool->name + " para gerar o vídeo. Instale o pacote " + tool->package +
                       " e exporte de novo.";
            }
            return QStringLiteral("Falta um dos programas que geram o vídeo. Instale os pacotes "
                                  "libreoffice-impress-nogui, poppler-utils e ffmpeg e exporte de novo.");
        case RenderError::Case::toolFailed:
            return QStringLiteral("Um dos programas que geram o vídeo falhou. Confira se a apresentação abre no "
                                  "LibreOffice Impress e exporte de novo.") +
                   kSupport;
        case RenderError::Case::timedOut:
            return QStringLiteral("A geração do vídeo demorou mais que o esperado e foi interrompida. Feche outras "
                                  "janelas do LibreOffice e exporte de novo.");
        case RenderError::Case::badOutput:
            return QStringLiteral("O vídeo gerado saiu incompleto. Confira se há espaço livre no disco e exporte de "
                                  "novo.") +
                   kSupport;
        case RenderError::Case::badDeck:
            return QStringLiteral("A cópia da apresentação preparada para o vídeo não pôde ser lida. Exporte de "
                                  "novo.") +
                   kSupport;
        case RenderError::Case::tooLarge:
            return QStringLiteral("A apresentação precisa de mais memória do que este computador pode dar ao "
                                  "LibreOffice para gerar o vídeo. Divida-a em apresentações menores e exporte "
                                  "cada uma.");
    }
    return generic(Renderer::headless);
}

// A file of the export could not be written or read; `package` when it was
// the package itself, else one of the export's working files.
std::optional<QString> fileProblem(int errnoValue, bool package) {
    switch (errnoValue) {
        case ENOSPC:
        case EDQUOT:
            return package ? QStringLiteral("Não foi possível gravar o pacote: o disco está cheio. Libere espaço e "
                                            "exporte de novo.")
                           : QStringLiteral("O disco está cheio e não há espaço para os arquivos temporários da "
                                            "exportação. Libere espaço e exporte de novo.");
        case EACCES:
        case EPERM:
        case EROFS:
            return package ? QStringLiteral("Não foi possível gravar o pacote: o Orvandel não tem permissão para "
                                            "gravar na pasta da apresentação. Copie a apresentação para uma pasta "
                                            "sua, como Documentos, e exporte de novo.")
                           : QStringLiteral("O Orvandel não tem permissão para gravar os arquivos temporários da "
                                            "exportação. Peça a quem cuida deste computador para conferir a pasta "
                                            "temporária do sistema e exporte de novo.");
        case ENOENT:
            return package ? QStringLiteral("Não foi possível gravar o pacote: a pasta da apresentação não existe "
                                            "mais. Escolha a apresentação de novo onde ela está agora e exporte.")
                           : QStringLiteral("A pasta temporária do sistema não existe. Reinicie o computador e "
                                            "exporte de novo.");
        default: return std::nullopt;
    }
}

// The package goes beside the deck: its folder is the deck's.
QString outputProblem(const OutputError& error) {
    switch (error.errorCase()) {
        case OutputError::Case::sameAsInput:
            return QStringLiteral("O pacote seria gravado por cima da própria apresentação. Renomeie a "
                                  "apresentação para que ela termine em .pptx e exporte de novo.");
        case OutputError::Case::notARegularFile:
            return QStringLiteral("Já existe uma pasta com o nome do pacote ao lado da apresentação. Renomeie ou "
                                  "mova essa pasta e exporte de novo.");
        case OutputError::Case::folderMissing:
            return QStringLiteral("A pasta da apresentação não existe mais, então o pacote não teria onde ser "
                                  "gravado. Escolha a apresentação de novo onde ela está agora e exporte.");
        case OutputError::Case::folderNotWritable:
            if (error.causeErrno() == EROFS) {
                return QStringLiteral("A pasta da apresentação fica num disco ou pendrive protegido contra "
                                      "gravação, então o pacote não pode ser gravado ao lado dela. Copie a "
                                      "apresentação para uma pasta sua, como Documentos, e exporte de novo.");
            }
            if (const auto text = fileProblem(error.causeErrno(), true)) return *text;
            return QStringLiteral("O Orvandel não consegue criar arquivos na pasta da apresentação, então o pacote "
                                  "não pode ser gravado ali. Copie a apresentação para uma pasta sua, como "
                                  "Documentos, e exporte de novo.");
        case OutputError::Case::nameTooLong:
            return QStringLiteral("O nome da apresentação é longo demais para o pacote ser gravado ao lado dela. "
                                  "Renomeie a apresentação com um nome mais curto e exporte de novo.");
    }
    return generic(Renderer::headless);
}

const QString kCannotOpenDeck = QStringLiteral(
    "Não foi possível abrir a apresentação. Confira se o arquivo ainda existe e se é uma apresentação .pptx, e "
    "escolha-o de novo.");
const QString kBrokenDeck = QStringLiteral(
    "A apresentação está danificada e não pôde ser lida. Abra-a no programa em que foi feita, salve-a de novo como "
    ".pptx e exporte de novo.");
const QString kPartTooLarge = QStringLiteral(
    "Um dos slides desta apresentação ocupa mais de 256 MB depois de descompactado, o que indica um arquivo "
    "danificado. Abra a apresentação no programa em que foi feita, salve-a de novo e exporte.");

std::optional<QString> deckProblem(const std::exception& error) {
    if (const auto* e = dynamic_cast<const PptxArchive::ArchiveError*>(&error)) {
        if (e->errorCase() == PptxArchive::ArchiveError::Case::partTooLarge) return kPartTooLarge;
        const bool cannotOpen = e->errorCase() == PptxArchive::ArchiveError::Case::readFailed &&
                                e->status() == PptxArchive::statusCannotOpen;
        return cannotOpen ? kCannotOpenDeck : kBrokenDeck;
    }
    if (const auto* e = dynamic_cast<const ZipArchive::ZipError*>(&error)) {
        switch (e->errorCase()) {
            case ZipArchive::ZipError::Case::notAZip: return kCannotOpenDeck;
            default: return kBrokenDeck;
        }
    }
    if (dynamic_cast<const SlideXMLError*>(&error) || dynamic_cast<const XmlParseError*>(&error)) return kBrokenDeck;
    return std::nullopt;
}

QString slidesLine(const QString& before, const std::vector<std::int64_t>& slides, const QString& after) {
    return before + list(slides) + after;
}

// The fonts drawn with others, by name: one sentence for one font, one for several.
QString fontsLine(const std::vector<const Warning*>& fonts) {
    const auto quoted = [](const std::string& name) { return "\"" + QString::fromStdString(name) + "\""; };
    if (fonts.size() == 1) {
        return "A fonte " + quoted(fonts[0]->detail) + " não está instalada; o texto aparece em " +
               quoted(fonts[0]->drawnWith) + " e as quebras de linha podem mudar.";
    }
    QStringList named;
    for (const auto* w : fonts) named << quoted(w->detail) + " (substituída por " + quoted(w->drawnWith) + ")";
    const QString last = named.takeLast();
    return "As fontes " + named.join(", ") + " e " + last +
           " não estão instaladas; as quebras de linha nos textos delas podem mudar.";
}

}  // namespace

QString list(const std::vector<std::int64_t>& slides) {
    QStringList parts;
    for (const auto slide : slides) parts << number(slide);
    return parts.join(QStringLiteral(", "));
}

QString message(const DeckError& error, Renderer renderer) {
    const bool pp = powerPoint(renderer);
    switch (error.errorCase()) {
        case DeckError::Case::missingVideoDuration:
            return "Não foi possível ler a duração do vídeo do slide " + number(error.slide()) +
                   ". Verifique se ele está inserido como vídeo no slide e exporte de novo. Se continuar, fale com "
                   "o suporte do Orvandel.";
        case DeckError::Case::invalidOutput: {
            std::vector<std::int64_t> slides;
            for (const auto& failure : error.failures()) slides.push_back(failure.slide);
            return slidesLine("A apresentação preparada não passou na verificação interna (slide(s) ", slides,
                              pp ? QStringLiteral("). Feche e reabra o PowerPoint e exporte de novo. Se continuar, "
                                                  "fale com o suporte do Orvandel.")
                                 : ")." + QStringLiteral(" Exporte de novo.") + kSupport);
        }
        case DeckError::Case::videoWithoutMediaCall:
            return "Não foi possível preparar o vídeo do slide " + number(error.slide()) +
                   ". Verifique se ele está inserido como vídeo no slide e exporte de novo. Se continuar, fale com "
                   "o suporte do Orvandel.";
        case DeckError::Case::gifWithoutDuration:
            return slidesLine("Informe a duração do GIF do(s) slide(s) ", error.slides(), " antes de exportar.");
        case DeckError::Case::multipleVideosOnSlide:
            return slidesLine("Os slides ", error.slides(),
                              " têm mais de um vídeo. Cada vídeo precisa ficar em um slide independente. Separe os "
                              "vídeos por slides e exporte de novo.");
        case DeckError::Case::masterDurationMismatch:
            return pp ? QStringLiteral("A exportação saiu com duração inesperada. Tente novamente; se persistir, "
                                       "feche e reabra o PowerPoint.")
                      : QStringLiteral("A exportação saiu com duração inesperada. Tente novamente; se persistir, "
                                       "fale com o suporte do Orvandel.");
        case DeckError::Case::orvWriteFailed:
            if (const auto text = fileProblem(error.causeErrno(), true)) return *text;
            return QStringLiteral("Não foi possível substituir o arquivo já existente no destino. Verifique se ele "
                                  "não está aberto em outro programa (ou protegido contra gravação) e exporte de "
                                  "novo.");
        case DeckError::Case::durationTooLong:
            return "O slide " + number(error.slide()) +
                   " tem um tempo de mais de 24 horas (numa animação ou na duração informada), o que indica um "
                   "arquivo danificado. Confira os tempos desse slide, salve a apresentação e exporte de novo.";
        case DeckError::Case::noVisibleSlides:
            return QStringLiteral("Todos os slides desta apresentação estão ocultos, então não há o que exportar. "
                                  "Deixe ao menos um slide visível e exporte de novo.");
    }
    return generic(renderer);
}

QString errorMessage(const std::exception& error, Renderer renderer) {
    if (const auto* e = dynamic_cast<const OrvExporter::FlowError*>(&error)) return exportErrorText(e->exportError());
    if (const auto* e = dynamic_cast<const Mp4Exporter::ExportError*>(&error)) return exportErrorText(*e);
    if (const auto* e = dynamic_cast<const DeckError*>(&error)) return message(*e, renderer);
    if (dynamic_cast<const CancelledError*>(&error)) {
        return QStringLiteral("A exportação foi cancelada. Nenhum arquivo foi alterado.");
    }
    if (const auto* e = dynamic_cast<const RenderError*>(&error)) return renderErrorText(*e);
    if (dynamic_cast<const Mp4Duration::Mp4Error*>(&error)) {
        return powerPoint(renderer)
                   ? QStringLiteral("Não foi possível medir o vídeo gerado. Feche e reabra o PowerPoint e exporte de "
                                    "novo.")
                   : QStringLiteral("Não foi possível medir o vídeo gerado. Confira se há espaço livre no disco e "
                                    "exporte de novo.");
    }
    if (const auto text = deckProblem(error)) return *text;
    if (const auto* e = dynamic_cast<const OutputError*>(&error)) return outputProblem(*e);
    if (const auto* e = dynamic_cast<const FileError*>(&error)) {
        if (const auto text = fileProblem(e->errnoValue(), false)) return *text;
    }
    if (const auto* e = dynamic_cast<const std::filesystem::filesystem_error*>(&error)) {
        if (e->code().category() == std::generic_category() || e->code().category() == std::system_category()) {
            if (const auto text = fileProblem(e->code().value(), false)) return *text;
        }
    }
    return generic(renderer);
}

QString errorMessage(const std::exception_ptr& error, Renderer renderer) {
    try {
        if (error) std::rethrow_exception(error);
    } catch (const std::exception& e) {
        return errorMessage(e, renderer);
    } catch (...) {
    }
    return generic(renderer);
}

QStringList postExportWarnings(const std::vector<std::int64_t>& convertedOnClickVideoSlides,
                               std::int64_t maxBulletsPerSlide, const std::vector<Warning>& warnings) {
    QStringList lines;
    if (!convertedOnClickVideoSlides.empty()) {
        lines << slidesLine("O vídeo do(s) slide(s) ", convertedOnClickVideoSlides,
                            " estava configurado para tocar no clique; como a versão exportada não tem cliques, ele "
                            "foi convertido para reprodução automática.");
    }
    if (maxBulletsPerSlide >= 8) {
        lines << QStringLiteral(
            "A sua apresentação possui muitas animações em tópicos (bullets), isso pode ocasionar erros na "
            "exportação da sua aula, se notar muita discrepância de sincronismo diminua o número de animações dos "
            "tópicos e exporte novamente.");
    }
    // One line per kind, in the order the kinds were first reported.
    std::vector<Warning::Kind> kinds;
    std::map<Warning::Kind, std::vector<std::int64_t>> slides;
    std::vector<const Warning*> fonts;  // a font is named, not its slides
    for (const auto& w : warnings) {
        if (!slides.count(w.kind)) kinds.push_back(w.kind);
        if (w.kind == Warning::Kind::fontSubstituted) fonts.push_back(&w);
        auto& of = slides[w.kind];
        if (std::find(of.begin(), of.end(), w.slide) == of.end()) of.push_back(w.slide);
    }
    for (const auto kind : kinds) {
        const auto& s = slides[kind];
        switch (kind) {
            case Warning::Kind::notesUnreadable:
                lines << slidesLine("As anotações do(s) slide(s) ", s,
                                    " não puderam ser lidas; o pacote ficou sem as anotações desse(s) slide(s).");
                break;
            case Warning::Kind::notesTextRepaired:
                lines << slidesLine("As anotações do(s) slide(s) ", s,
                                    " tinham caracteres ilegíveis, que foram substituídos; confira o texto delas.");
                break;
            case Warning::Kind::slidePartMissing:
                lines << slidesLine("O(s) slide(s) na posição ", s,
                                    " da apresentação não foi(ram) encontrado(s) no arquivo e ficou(ram) de fora; "
                                    "os slides seguintes foram renumerados.");
                break;
            case Warning::Kind::mediaNotPlayed:
                lines << slidesLine("O vídeo, áudio ou GIF do(s) slide(s) ", s,
                                    " não pôde ser reproduzido; na aula aparece só a primeira imagem dele.");
                break;
            case Warning::Kind::graphicBuildShownWhole:
                lines << slidesLine("O gráfico ou diagrama animado do(s) slide(s) ", s,
                                    " não pôde ser montado passo a passo; ele aparece inteiro já na primeira "
                                    "etapa da animação.");
                break;
            case Warning::Kind::linkNotFollowed:
                lines << slidesLine("Arquivos vinculados (imagem, vídeo ou áudio) do(s) slide(s) ", s,
                                    " não foram lidos: a exportação só abre arquivos que estejam na pasta da "
                                    "apresentação e nunca busca nada na internet. No lugar deles, a aula mostra a "
                                    "imagem de capa ou um espaço vazio.");
                break;
            case Warning::Kind::fontSubstituted: lines << fontsLine(fonts); break;
            case Warning::Kind::embeddedFontNotUsed:
                lines << QStringLiteral(
                    "Uma fonte incorporada à apresentação não pôde ser lida; o texto nessa fonte aparece em outra "
                    "fonte.");
                break;
            case Warning::Kind::gifLengthAssumed:
            case Warning::Kind::gifLengthIgnored:
            case Warning::Kind::videoLengthIgnored:
            case Warning::Kind::mediaStaysStill:
            case Warning::Kind::deckConverted: break;  // worded with the app's own export options
        }
    }
    return lines;
}

QString helpText(Renderer renderer) {
    const QString choose = QStringLiteral(
        "Escolha a apresentação e clique em Exportar. Slides com GIF pedem a duração (em segundos). ");
    return choose + (powerPoint(renderer)
                         ? QStringLiteral("O PowerPoint abrirá e gerará o vídeo — pode levar alguns minutos. Na "
                                          "primeira exportação, o macOS pede permissão para o Orvandel controlar o "
                                          "PowerPoint; conceda para o vídeo ser gerado.")
                         : QStringLiteral("O Orvandel gera o vídeo neste computador com o LibreOffice, sem abrir "
                                          "outras janelas — pode levar alguns minutos."));
}

QString importerFilter(Renderer renderer) {
    return powerPoint(renderer) ? QStringLiteral("Apresentações do PowerPoint (*.pptx)")
                                : QStringLiteral("Apresentações (*.pptx)");
}

QString multiVideoRefusal(const std::vector<std::int64_t>& slides) {
    return slidesLine("Não é possível exportar: o(s) slide(s) ", slides,
                      " têm mais de um vídeo. Cada vídeo precisa ficar em um slide independente.");
}

QString gifSlideLabel(std::int64_t slide) { return "Slide " + number(slide); }

QString exporting(Renderer renderer) {
    return powerPoint(renderer) ? QStringLiteral("Gerando no PowerPoint, pode levar alguns minutos…")
                                : QStringLiteral("Gerando o vídeo, pode levar alguns minutos…");
}

std::optional<QString> stageLine(ExportStage stage) {
    switch (stage) {
        case ExportStage::scan: return kScanning;
        case ExportStage::prepare:
        case ExportStage::readPlan: return QStringLiteral("Preparando os slides…");
        case ExportStage::pdf: return QStringLiteral("Convertendo os slides no LibreOffice…");
        case ExportStage::draw: return QStringLiteral("Gerando as imagens dos slides…");
        case ExportStage::encode: return QStringLiteral("Montando o vídeo…");
        case ExportStage::package: return QStringLiteral("Salvando o pacote da aula…");
        default: return std::nullopt;
    }
}

QString resultSummary(std::int64_t cueCount, double masterVideoSeconds) {
    const QString cues = cueCount == 1 ? QStringLiteral("1 marcação") : number(cueCount) + " marcações";
    const auto seconds = static_cast<std::int64_t>(std::llround(std::max(0.0, masterVideoSeconds)));
    const QString length = seconds < 60 ? number(seconds) + " s"
                                        : number(seconds / 60) + " min" +
                                              (seconds % 60 ? " " + number(seconds % 60) + " s" : QString());
    return cues + " · vídeo de " + length;
}

std::optional<QString> reusedSlides(std::int64_t reused, std::int64_t slides) {
    if (reused <= 0) return std::nullopt;
    if (reused >= slides) {
        return reused == 1 ? QStringLiteral("O slide foi reaproveitado da exportação anterior")
                           : "Todos os " + number(reused) + " slides reaproveitados da exportação anterior";
    }
    return reused == 1 ? "1 slide de " + number(slides) + " reaproveitado da exportação anterior"
                       : number(reused) + " de " + number(slides) + " slides reaproveitados da exportação anterior";
}

QString quitQuestion(Renderer renderer) {
    return powerPoint(renderer)
               ? QStringLiteral("Há uma exportação do vídeo em andamento no PowerPoint. O que deseja fazer?")
               : QStringLiteral("Há uma exportação do vídeo em andamento. Se forçar a saída, ela será interrompida "
                                "e o pacote da aula não será gravado. O que deseja fazer?");
}

QString unsavedDecksText(std::int64_t count) {
    return "Há " + number(count) +
           " outra(s) apresentação(ões) aberta(s) no PowerPoint com alterações não salvas. Se a exportação precisar "
           "encerrar o PowerPoint à força, ela(s) será(ão) fechada(s) e o que não estiver salvo será perdido. "
           "Salve-a(s) ou feche-a(s) antes de continuar.";
}

QString updateText(const QString& remoteVersion, const QString& currentVersion, const QString& notes) {
    QString text = "Há uma nova versão do Orvandel PPT Exporter (" + remoteVersion + "). Você tem a " + currentVersion +
                   ".";
    if (!notes.isEmpty()) text += "\n\n" + notes;
    return text;
}

QString upToDateText(const QString& currentVersion) {
    return "O Orvandel PPT Exporter " + currentVersion + " é a versão atual.";
}

QString revealButton() {
#ifdef Q_OS_MACOS
    return kRevealInFinder;
#else
    return kShowInFolder;
#endif
}

}  // namespace orvandel::ExportCopy
