#include "ExportCopy.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <map>

#include "DeckConversion.hpp"
#include "base/AtomicFile.hpp"
#include "base/Cancellation.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/XmlElement.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckError.hpp"
#include "export/GifDurations.hpp"
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

QString renderErrorText(const RenderError& error) {
    switch (error.errorCase()) {
        // The programs behind the video are the installation's business, not the teacher's: no names.
        case RenderError::Case::missingTool:
            return QStringLiteral("O gerador de vídeo do Orvandel não está completo neste computador. Peça a quem "
                                  "cuida deste computador para reinstalar o Orvandel e exporte de novo.");
        case RenderError::Case::toolFailed:
            return QStringLiteral("O gerador de vídeo não conseguiu processar esta apresentação. Confira se ela abre "
                                  "normalmente no programa em que foi feita e exporte de novo.") +
                   kSupport;
        case RenderError::Case::timedOut:
            return QStringLiteral("A geração do vídeo demorou mais que o esperado e foi interrompida. Feche outros "
                                  "programas abertos e exporte de novo.");
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
                                  "gerador de vídeo. Divida-a em apresentações menores e exporte cada uma.");
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
    "Não foi possível abrir a apresentação. Confira se o arquivo ainda existe e se é mesmo uma apresentação, e "
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

// The slide numbers as a sentence says them: "3", "3 e 5", "3, 5 e 8".
QString spoken(const std::vector<std::int64_t>& slides) {
    if (slides.size() < 2) return list(slides);
    return list({slides.begin(), slides.end() - 1}) + " e " + number(slides.back());
}

// `one` for a single slide, `many` for several, the numbers in place of %1.
QString agreeing(const std::vector<std::int64_t>& slides, const QString& one, const QString& many) {
    return (slides.size() == 1 ? one : many).arg(spoken(slides));
}

// The file's format as the user knows it: ".odp"; nothing when unknown.
QString formatName(const std::string& format) {
    return format.empty() ? QString() : "." + QString::fromStdString(format);
}

QString conversionText(const DeckConversion::ConversionError& error) {
    switch (error.errorCase()) {
        case DeckConversion::ConversionError::Case::pdf:
            return QStringLiteral("Um PDF não tem slides que possam ser animados. Escolha a própria apresentação "
                                  "da qual o PDF foi gerado (.pptx, .ppt, .odp ou .key).");
        case DeckConversion::ConversionError::Case::failed:
            return QStringLiteral("Não foi possível converter esta apresentação para exportá-la. Abra-a no programa "
                                  "em que foi feita, salve-a como .pptx e escolha o arquivo salvo.");
    }
    return QStringLiteral("Não foi possível converter esta apresentação para exportá-la.");
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

std::optional<QString> warningLine(Warning::Kind kind, const std::string& medium, const std::vector<std::int64_t>& s,
                                   const std::vector<const Warning*>& ws) {
    switch (kind) {
        case Warning::Kind::notesUnreadable:
            return agreeing(s, "As anotações do slide %1 não puderam ser lidas, e o pacote ficou sem elas.",
                            "As anotações dos slides %1 não puderam ser lidas, e o pacote ficou sem elas.");
        case Warning::Kind::notesTextRepaired:
            return agreeing(s,
                            "As anotações do slide %1 tinham caracteres ilegíveis, que foram substituídos. Confira "
                            "o texto delas.",
                            "As anotações dos slides %1 tinham caracteres ilegíveis, que foram substituídos. "
                            "Confira o texto delas.");
        case Warning::Kind::slidePartMissing:
            return agreeing(s,
                            "O slide na posição %1 da apresentação não foi encontrado no arquivo e ficou de fora. "
                            "Os slides seguintes foram renumerados.",
                            "Os slides nas posições %1 da apresentação não foram encontrados no arquivo e ficaram "
                            "de fora. Os slides seguintes foram renumerados.");
        case Warning::Kind::mediaNotPlayed:
            return agreeing(s,
                            "Um vídeo, áudio ou GIF do slide %1 não pôde ser reproduzido. Na aula aparece só a "
                            "primeira imagem dele.",
                            "Vídeos, áudios ou GIFs dos slides %1 não puderam ser reproduzidos. Na aula aparece só "
                            "a primeira imagem de cada um.");
        case Warning::Kind::graphicBuildShownWhole:
            return agreeing(s,
                            "O gráfico ou diagrama animado do slide %1 não pôde ser montado passo a passo e aparece "
                            "inteiro já na primeira etapa da animação.",
                            "Os gráficos ou diagramas animados dos slides %1 não puderam ser montados passo a passo "
                            "e aparecem inteiros já na primeira etapa da animação.");
        case Warning::Kind::linkNotFollowed:
            return agreeing(s, "Arquivos vinculados (imagem, vídeo ou áudio) do slide %1 não foram lidos",
                            "Arquivos vinculados (imagem, vídeo ou áudio) dos slides %1 não foram lidos") +
                   QStringLiteral(": a exportação só abre arquivos que estejam na pasta da apresentação e nunca "
                                  "busca nada na internet. No lugar deles, a aula mostra a imagem de capa ou um "
                                  "espaço vazio.");
        case Warning::Kind::fontSubstituted: return fontsLine(ws);
        case Warning::Kind::embeddedFontNotUsed:
            return ws.size() == 1 ? QStringLiteral("Uma fonte incorporada à apresentação não pôde ser lida, e o "
                                                   "texto nessa fonte aparece em outra.")
                                  : QStringLiteral("Algumas fontes incorporadas à apresentação não puderam ser "
                                                   "lidas, e o texto nelas aparece em outras fontes.");
        case Warning::Kind::gifLengthAssumed:
            if (s.size() == 1) {
                return "O GIF do slide " + number(ws[0]->slide) +
                       " ficou sem duração informada e toca o próprio loop uma vez (" +
                       GifDurations::field(ws[0]->lengthMs) + " s).";
            }
            return "Os GIFs dos slides " + spoken(s) + " ficaram sem duração informada e tocam o próprio loop uma vez.";
        case Warning::Kind::gifLengthIgnored:
            return agreeing(s, "A duração informada para o slide %1 foi ignorada, pois ele não tem GIF animado.",
                            "As durações informadas para os slides %1 foram ignoradas, pois eles não têm GIF "
                            "animado.");
        case Warning::Kind::videoLengthIgnored:
            return agreeing(s, "A duração de vídeo informada para o slide %1 foi ignorada, pois ele não tem vídeo.",
                            "As durações de vídeo informadas para os slides %1 foram ignoradas, pois eles não têm "
                            "vídeo.");
        case Warning::Kind::mediaStaysStill:
            if (medium == "audio clip") {
                return agreeing(s,
                                "O áudio do slide %1 só começa quando se clica nele ou em outro elemento do slide. Como a "
                                "aula não tem cliques, ele não toca.",
                                "Os áudios dos slides %1 só começam quando se clica neles ou em outro elemento do slide. "
                                "Como a aula não tem cliques, eles não tocam.");
            }
            return agreeing(s,
                            "O vídeo do slide %1 só começa quando se clica nele ou em outro elemento do slide. Como a aula "
                            "não tem cliques, ele fica parado, mostrando a imagem de capa.",
                            "Os vídeos dos slides %1 só começam quando se clica neles ou em outro elemento do slide. Como a "
                            "aula não tem cliques, eles ficam parados, mostrando a imagem de capa.");
        case Warning::Kind::deckConverted: {
            const QString format = formatName(ws[0]->detail);
            return (format.isEmpty() ? QStringLiteral("A apresentação não estava no formato .pptx")
                                     : "A apresentação estava no formato " + format) +
                   QStringLiteral(" e foi convertida para .pptx antes da exportação. As animações e os tempos da "
                                  "aula vêm dessa cópia convertida: confira se ficaram como você esperava.");
        }
    }
    return std::nullopt;
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
            if (error.slides().size() > 1) {
                return "Não foi possível ler a duração dos vídeos dos slides " + spoken(error.slides()) +
                       ". Verifique se eles estão inseridos como vídeo nos slides e exporte de novo." + kSupport;
            }
            return "Não foi possível ler a duração do vídeo do slide " + number(error.slide()) +
                   ". Verifique se ele está inserido como vídeo no slide e exporte de novo. Se continuar, fale com "
                   "o suporte do Orvandel.";
        case DeckError::Case::invalidOutput: {
            std::vector<std::int64_t> slides;
            for (const auto& failure : error.failures()) slides.push_back(failure.slide);
            if (pp) {
                return slidesLine("A apresentação preparada não passou na verificação interna (slide(s) ", slides,
                                  "). Feche e reabra o PowerPoint e exporte de novo. Se continuar, fale com o "
                                  "suporte do Orvandel.");
            }
            return agreeing(slides,
                            QStringLiteral("A apresentação preparada não passou na verificação interna no "
                                           "slide %1. Exporte de novo."),
                            QStringLiteral("A apresentação preparada não passou na verificação interna nos slides "
                                           "%1. Exporte de novo.")) +
                   kSupport;
        }
        case DeckError::Case::videoWithoutMediaCall:
            if (error.slides().size() > 1) {
                return "Não foi possível preparar os vídeos dos slides " + spoken(error.slides()) +
                       ". Verifique se eles estão inseridos como vídeo nos slides e exporte de novo." + kSupport;
            }
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
        case DeckError::Case::lengthForSlideWithout:
            // The window asks only where a length is needed; this is a fault of the app, not the deck.
            return (error.medium() == DeckError::Medium::gif
                        ? agreeing(error.slides(),
                                   "Foi informada uma duração de GIF para o slide %1, que não tem GIF animado.",
                                   "Foram informadas durações de GIF para os slides %1, que não têm GIF animado.")
                        : agreeing(error.slides(),
                                   "Foi informada uma duração de vídeo para o slide %1, que não tem vídeo.",
                                   "Foram informadas durações de vídeo para os slides %1, que não têm vídeo.")) +
                   " Escolha a apresentação de novo e exporte." + kSupport;
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
    if (const auto* e = dynamic_cast<const DeckConversion::ConversionError*>(&error)) return conversionText(*e);
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
    // One line per kind, in the order the kinds were first reported (the media
    // that stay still, one line per medium).
    std::vector<std::pair<Warning::Kind, std::string>> kinds;
    std::map<std::pair<Warning::Kind, std::string>, std::vector<const Warning*>> of;
    for (const auto& w : warnings) {
        const std::pair<Warning::Kind, std::string> key{w.kind, w.kind == Warning::Kind::mediaStaysStill
                                                                    ? w.detail
                                                                    : std::string()};
        if (!of.count(key)) kinds.push_back(key);
        of[key].push_back(&w);
    }
    for (const auto& key : kinds) {
        const auto& ws = of[key];
        std::vector<std::int64_t> s;
        for (const auto* w : ws) {
            const auto concerned = w->slides.empty() ? std::vector<std::int64_t>{w->slide} : w->slides;
            for (const auto slide : concerned) {
                if (std::find(s.begin(), s.end(), slide) == s.end()) s.push_back(slide);
            }
        }
        if (const auto line = warningLine(key.first, key.second, s, ws)) lines << *line;
    }
    return lines;
}

QString helpText(Renderer renderer) {
    if (powerPoint(renderer)) {
        return QStringLiteral(
            "Escolha a apresentação e clique em Exportar. Slides com GIF pedem a duração (em segundos). O "
            "PowerPoint abrirá e gerará o vídeo — pode levar alguns minutos. Na primeira exportação, o macOS pede "
            "permissão para o Orvandel controlar o PowerPoint; conceda para o vídeo ser gerado.");
    }
    // Only moving GIFs ask, and they come with their own loop filled in: a
    // word on checking them is enough here; the form says the rest.
    return QStringLiteral("Escolha a apresentação e clique em Exportar. Se ela tiver GIFs animados, confira por "
                          "quanto tempo cada um fica em movimento. O vídeo é gerado neste computador e pode levar "
                          "alguns minutos.");
}

QString gifFormIntro(Renderer renderer) {
    return powerPoint(renderer)
               ? QStringLiteral("Nesta apresentação existem slides com animação em loop, insira a duração em "
                                "segundos que você quer que a animação permaneça em loop")
               : QStringLiteral("Informe por quantos segundos cada GIF animado deve ficar em movimento no "
                                "vídeo. Quando possível, o campo já vem com a duração de uma volta da animação.");
}

QString importerFilter(Renderer) {
    // Every file too, so that a PDF chosen hears why it cannot be exported.
    return QStringLiteral("Apresentações (*.pptx *.ppsx *.ppt *.pps *.odp *.key);;Todos os arquivos (*)");
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
        case ExportStage::media: return QStringLiteral("Analisando os vídeos, áudios e GIFs…");
        case ExportStage::pdf: return QStringLiteral("Convertendo os slides…");
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

namespace orvandel::ExportCopy {

QString gifLengthUnderstood(std::int64_t ms) { return "= " + GifDurations::field(ms) + " s"; }

QString timeLeft(std::int64_t ms) {
    if (ms < 60'000) return QStringLiteral("menos de 1 min restante");
    // To the nearest minute: "about" is all an estimate can promise.
    const std::int64_t minutes = (ms + 30'000) / 60'000;
    if (minutes == 1) return QStringLiteral("cerca de 1 min restante");
    if (minutes < 60) return "cerca de " + number(minutes) + " min restantes";
    if (minutes == 60) return QStringLiteral("cerca de 1 h restante");
    const std::int64_t rest = minutes % 60;
    return "cerca de " + number(minutes / 60) + " h" + (rest ? " " + number(rest) + " min" : QString()) + " restantes";
}

QString progressDone(int permille, const std::optional<std::int64_t>& remainingMs) {
    const QString done = number(std::clamp(permille, 0, 1000) / 10) + "%";
    return remainingMs ? done + " · " + timeLeft(*remainingMs) : done;
}

QString resolutionName(VideoSettings::Resolution resolution) {
    switch (resolution) {
        case VideoSettings::Resolution::p480: return QStringLiteral("480p");
        case VideoSettings::Resolution::p720: return QStringLiteral("720p");
        case VideoSettings::Resolution::p1080: return QStringLiteral("1080p (padrão)");
        case VideoSettings::Resolution::p1440: return QStringLiteral("1440p");
        case VideoSettings::Resolution::p2160: return QStringLiteral("4K (2160p)");
    }
    return QString::fromStdString(VideoSettings::nameOf(resolution));
}

QString frameRateName(int fps) { return number(fps) + " quadros por segundo"; }

QString qualityName(VideoSettings::Quality quality) {
    switch (quality) {
        case VideoSettings::Quality::standard: return QStringLiteral("Padrão");
        case VideoSettings::Quality::high: return QStringLiteral("Alta (arquivo maior)");
        case VideoSettings::Quality::small: return QStringLiteral("Reduzida (arquivo menor)");
    }
    return QString::fromStdString(VideoSettings::nameOf(quality));
}

QString videoSummary(const VideoSettings& video) {
    // The choices' names without their explanations in parentheses.
    const auto plain = [](const QString& name) { return name.section(QStringLiteral(" ("), 0, 0); };
    const QString resolution = video.resolution == VideoSettings::Resolution::p2160
                                   ? QStringLiteral("4K")
                                   : plain(resolutionName(video.resolution));
    // Each choice kept on one line, should the line wrap.
    return resolution + " · " + number(video.fps) + QChar(0x00A0) + "quadros/s · " + plain(qualityName(video.quality));
}

}  // namespace orvandel::ExportCopy
