// Writes the bundled example deck, examples/aula-exemplo.pptx: a short lesson
// on photosynthesis, in Brazilian Portuguese, that exercises what Orvandel
// handles: bullets that appear one per click, an exit effect, a hidden slide,
// speaker notes, an animated GIF and a click-to-play video with sound whose
// timing states its length. `orvandel scan examples/aula-exemplo.pptx --gif 4:3000` reports
// an advance time for every slide: only the GIF's length comes from the user.
//
// To regenerate it (ffmpeg with libx264 must be on PATH; it makes the video):
//
//   cmake --build build --target orvandel-example-deck
//   ./build/examples/orvandel-example-deck examples/aula-exemplo.pptx
//
// The output is the same on every run except for the video's encoded bytes,
// which depend on the ffmpeg version.
#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "AnimatedGif.hpp"
#include "PresentationParts.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "base/Uuid.hpp"
#include "container/XMLEmitter.hpp"
#include "container/ZipArchive.hpp"
#include "render/Mp4Duration.hpp"

using namespace orvandel;
using namespace orvandel::example;
namespace fs = std::filesystem;

namespace {

const std::string kRelBase = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
const std::string kTypeBase = "application/vnd.openxmlformats-officedocument.presentationml.";

// ---- Text ------------------------------------------------------------------

// Runs of one paragraph; "_" followed by digits writes those digits as a
// subscript (CO_2 -> CO₂).
std::string runs(const std::string& text, int size = 0) {
    const std::string sz = size > 0 ? " sz=\"" + std::to_string(size) + "\"" : "";
    const auto run = [&](const std::string& t, bool sub) {
        return "<a:r><a:rPr lang=\"pt-BR\"" + sz + (sub ? " baseline=\"-25000\"" : "") + " dirty=\"0\"/><a:t>" +
               XMLEmitter::escapeAttribute(t) + "</a:t></a:r>";
    };
    std::string out, plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '_' && i + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[i + 1]))) {
            if (!plain.empty()) out += run(plain, false);
            plain.clear();
            std::string digits;
            while (i + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[i + 1]))) digits += text[++i];
            out += run(digits, true);
        } else {
            plain += text[i];
        }
    }
    if (!plain.empty()) out += run(plain, false);
    return out;
}

std::string paragraphs(const std::vector<std::string>& lines, const std::string& pPr = "", int size = 0) {
    std::string out;
    for (const auto& line : lines) out += "<a:p>" + pPr + runs(line, size) + "</a:p>";
    return out;
}

std::string placeholderShape(int id, const std::string& name, const std::string& ph, const std::string& body) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + std::to_string(id) + "\" name=\"" + name +
           "\"/><p:cNvSpPr><a:spLocks noGrp=\"1\"/></p:cNvSpPr><p:nvPr>" + ph +
           "</p:nvPr></p:nvSpPr><p:spPr/><p:txBody><a:bodyPr><a:normAutofit/></a:bodyPr><a:lstStyle/>" + body +
           "</p:txBody></p:sp>";
}

std::string title(const std::string& text) {
    return placeholderShape(2, "Título 1", "<p:ph type=\"title\"/>", paragraphs({text}));
}

std::string body(int id, const std::vector<std::string>& lines) {
    return placeholderShape(id, "Espaço Reservado para Conteúdo " + std::to_string(id), "<p:ph idx=\"1\"/>",
                            paragraphs(lines));
}

std::string xfrm(long x, long y, long cx, long cy) {
    return "<a:xfrm><a:off x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\"/><a:ext cx=\"" +
           std::to_string(cx) + "\" cy=\"" + std::to_string(cy) + "\"/></a:xfrm>";
}

// A free text box (not a placeholder) with a filled, rounded frame.
std::string textBox(int id, const std::string& name, long x, long y, long cx, long cy, const std::string& fill,
                    const std::vector<std::string>& lines, int size) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + std::to_string(id) + "\" name=\"" + name +
           "\"/><p:cNvSpPr txBox=\"1\"/><p:nvPr/></p:nvSpPr><p:spPr>" + xfrm(x, y, cx, cy) +
           "<a:prstGeom prst=\"roundRect\"><a:avLst/></a:prstGeom><a:solidFill><a:srgbClr val=\"" + fill +
           "\"/></a:solidFill><a:ln><a:noFill/></a:ln></p:spPr><p:txBody><a:bodyPr wrap=\"square\" lIns=\"182880\" "
           "rIns=\"182880\" anchor=\"ctr\"><a:normAutofit/></a:bodyPr><a:lstStyle/>" +
           paragraphs(lines, "<a:pPr algn=\"ctr\"/>", size) + "</p:txBody></p:sp>";
}

std::string picture(int id, const std::string& name, const std::string& nvPr, const std::string& blipId, long x, long y,
                    long cx, long cy) {
    return "<p:pic><p:nvPicPr><p:cNvPr id=\"" + std::to_string(id) + "\" name=\"" + name +
           "\"/><p:cNvPicPr><a:picLocks noChangeAspect=\"1\"/></p:cNvPicPr><p:nvPr>" + nvPr +
           "</p:nvPr></p:nvPicPr><p:blipFill><a:blip r:embed=\"" + blipId +
           "\"/><a:stretch><a:fillRect/></a:stretch></p:blipFill><p:spPr>" + xfrm(x, y, cx, cy) +
           "<a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom></p:spPr></p:pic>";
}

// ---- Timing ----------------------------------------------------------------

// Builds one slide's p:timing: a main sequence of click steps, each holding
// one effect, plus what follows the sequence inside the root (media nodes).
class Timing {
public:
    // One paragraph of shape `spid` fades in.
    void fadeInParagraph(int spid, int paragraph) {
        const std::string target = "<p:tgtEl><p:spTgt spid=\"" + std::to_string(spid) + "\"><p:txEl><p:pRg st=\"" +
                                   std::to_string(paragraph) + "\" end=\"" + std::to_string(paragraph) +
                                   "\"/></p:txEl></p:spTgt></p:tgtEl>";
        clickStep("presetID=\"10\" presetClass=\"entr\" presetSubtype=\"0\" fill=\"hold\" grpId=\"0\"",
                  "<p:set><p:cBhvr><p:cTn id=\"" + id() +
                      "\" dur=\"1\" fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst></p:cTn>" + target +
                      "<p:attrNameLst><p:attrName>style.visibility</p:attrName></p:attrNameLst></p:cBhvr><p:to>"
                      "<p:strVal val=\"visible\"/></p:to></p:set><p:animEffect transition=\"in\" filter=\"fade\">"
                      "<p:cBhvr><p:cTn id=\"" +
                      id() + "\" dur=\"500\"/>" + target + "</p:cBhvr></p:animEffect>");
        builds_ += "<p:bldP spid=\"" + std::to_string(spid) + "\" grpId=\"0\" build=\"p\"/>";
    }

    // The whole shape `spid` fades out.
    void fadeOutShape(int spid) {
        const std::string target = "<p:tgtEl><p:spTgt spid=\"" + std::to_string(spid) + "\"/></p:tgtEl>";
        clickStep("presetID=\"10\" presetClass=\"exit\" presetSubtype=\"0\" fill=\"hold\" grpId=\"0\"",
                  "<p:animEffect transition=\"out\" filter=\"fade\"><p:cBhvr><p:cTn id=\"" + id() + "\" dur=\"500\"/>" +
                      target + "</p:cBhvr></p:animEffect><p:set><p:cBhvr><p:cTn id=\"" + id() +
                      "\" dur=\"1\" fill=\"hold\"><p:stCondLst><p:cond delay=\"499\"/></p:stCondLst></p:cTn>" + target +
                      "<p:attrNameLst><p:attrName>style.visibility</p:attrName></p:attrNameLst></p:cBhvr><p:to>"
                      "<p:strVal val=\"hidden\"/></p:to></p:set>");
        builds_ += "<p:bldP spid=\"" + std::to_string(spid) + "\" grpId=\"0\" animBg=\"1\"/>";
    }

    // A click plays the video of shape `spid`, which lasts durationMs.
    void playVideoOnClick(int spid, std::int64_t durationMs) {
        const std::string target = "<p:tgtEl><p:spTgt spid=\"" + std::to_string(spid) + "\"/></p:tgtEl>";
        clickStep("presetID=\"1\" presetClass=\"mediacall\" presetSubtype=\"0\" fill=\"hold\"",
                  "<p:cmd type=\"call\" cmd=\"playFrom(0.0)\"><p:cBhvr><p:cTn id=\"" + id() + "\" dur=\"" +
                      std::to_string(durationMs) + "\" fill=\"hold\"/>" + target + "</p:cBhvr></p:cmd>");
        media_ += "<p:video><p:cMediaNode vol=\"80000\"><p:cTn id=\"" + id() +
                  "\" fill=\"hold\" display=\"0\"><p:stCondLst><p:cond delay=\"indefinite\"/></p:stCondLst>"
                  "<p:endCondLst><p:cond evt=\"onStopAudio\" delay=\"0\"><p:tgtEl><p:sldTgt/></p:tgtEl></p:cond>"
                  "</p:endCondLst></p:cTn>" +
                  target + "</p:cMediaNode></p:video>";
    }

    std::string xml() const {
        if (steps_.empty()) return "";
        const std::string slideTarget = "<p:tgtEl><p:sldTgt/></p:tgtEl>";
        return "<p:timing><p:tnLst><p:par><p:cTn id=\"1\" dur=\"indefinite\" restart=\"never\" nodeType=\"tmRoot\">"
               "<p:childTnLst><p:seq concurrent=\"1\" nextAc=\"seek\"><p:cTn id=\"2\" dur=\"indefinite\" "
               "nodeType=\"mainSeq\"><p:childTnLst>" +
               steps_ + "</p:childTnLst></p:cTn><p:prevCondLst><p:cond evt=\"onPrev\" delay=\"0\">" + slideTarget +
               "</p:cond></p:prevCondLst><p:nextCondLst><p:cond evt=\"onNext\" delay=\"0\">" + slideTarget +
               "</p:cond></p:nextCondLst></p:seq>" + media_ + "</p:childTnLst></p:cTn></p:par></p:tnLst>" +
               (builds_.empty() ? "" : "<p:bldLst>" + builds_ + "</p:bldLst>") + "</p:timing>";
    }

private:
    std::string id() { return std::to_string(next_++); }

    void clickStep(const std::string& effectAttrs, const std::string& behaviours) {
        const std::string step = id(), group = id(), effect = id();
        steps_ += "<p:par><p:cTn id=\"" + step +
                  "\" fill=\"hold\"><p:stCondLst><p:cond delay=\"indefinite\"/>"
                  "</p:stCondLst><p:childTnLst><p:par><p:cTn id=\"" +
                  group +
                  "\" fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:par><p:cTn id=\"" +
                  effect + "\" " + effectAttrs +
                  " nodeType=\"clickEffect\"><p:stCondLst><p:cond delay=\"0\"/>"
                  "</p:stCondLst><p:childTnLst>" +
                  behaviours +
                  "</p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:par>";
    }

    int next_ = 3;  // 1 is the root, 2 the main sequence
    std::string steps_;
    std::string builds_;
    std::string media_;
};

// ---- Slides ----------------------------------------------------------------

struct Relationship {
    std::string id, type, target;
};

struct Slide {
    bool titleLayout = false;
    bool hidden = false;
    std::string shapes;               // inside p:spTree, after the group properties
    std::string timing;               // a whole p:timing, or ""
    std::vector<Relationship> media;  // besides the layout and the notes
    std::vector<std::string> notes;   // paragraphs; none: no notes slide
};

std::string relationships(const std::vector<Relationship>& rels) {
    std::string out = std::string(kXmlDecl) +
                      "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (const auto& r : rels) {
        const std::string type = r.type.find("://") == std::string::npos ? kRelBase + r.type : r.type;
        out += "<Relationship Id=\"" + r.id + "\" Type=\"" + type + "\" Target=\"" + r.target + "\"/>";
    }
    return out + "</Relationships>";
}

const std::string kGroupShape =
    "<p:nvGrpSpPr><p:cNvPr id=\"1\" name=\"\"/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr><p:grpSpPr><a:xfrm>"
    "<a:off x=\"0\" y=\"0\"/><a:ext cx=\"0\" cy=\"0\"/><a:chOff x=\"0\" y=\"0\"/><a:chExt cx=\"0\" cy=\"0\"/>"
    "</a:xfrm></p:grpSpPr>";

std::string slideXml(const Slide& s) {
    return std::string(kXmlDecl) + "<p:sld " + kPmlNamespaces + (s.hidden ? " show=\"0\"" : "") +
           "><p:cSld><p:spTree>" + kGroupShape + s.shapes +
           "</p:spTree></p:cSld><p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr>" + s.timing + "</p:sld>";
}

std::string notesXml(const std::vector<std::string>& lines) {
    return std::string(kXmlDecl) + "<p:notes " + kPmlNamespaces + "><p:cSld><p:spTree>" + kGroupShape +
           "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"Espaço Reservado para Imagem de Slide 1\"/><p:cNvSpPr>"
           "<a:spLocks noGrp=\"1\" noRot=\"1\" noChangeAspect=\"1\"/></p:cNvSpPr><p:nvPr><p:ph type=\"sldImg\"/>"
           "</p:nvPr></p:nvSpPr><p:spPr/></p:sp><p:sp><p:nvSpPr><p:cNvPr id=\"3\" name=\"Espaço Reservado para "
           "Anotações 2\"/><p:cNvSpPr><a:spLocks noGrp=\"1\"/></p:cNvSpPr><p:nvPr><p:ph type=\"body\" idx=\"1\"/>"
           "</p:nvPr></p:nvSpPr><p:spPr/><p:txBody><a:bodyPr/><a:lstStyle/>" +
           paragraphs(lines) +
           "</p:txBody></p:sp></p:spTree></p:cSld><p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr></p:notes>";
}

// ---- Media -----------------------------------------------------------------

// Oxygen bubbles rising from a leaf in sunlight: six frames of half a second,
// so that one loop lasts 3 s.
Bytes oxygenGif() {
    constexpr int w = 320, h = 240;
    const std::vector<Rgb> palette = {
        {0xDF, 0xF1, 0xFA},  // 0 sky
        {0xFF, 0xD1, 0x66},  // 1 sun
        {0x2D, 0x6A, 0x4F},  // 2 leaf
        {0x52, 0xB7, 0x88},  // 3 leaf vein
        {0xFF, 0xFF, 0xFF},  // 4 bubble
        {0x27, 0x7D, 0xA1},  // 5 bubble rim
        {0x8D, 0x5A, 0x2B},  // 6 stem
        {0xF4, 0xA2, 0x61},  // 7 sun ray
    };
    std::vector<GifFrame> frames;
    for (int f = 0; f < 6; ++f) {
        GifFrame frame;
        frame.delayCentiseconds = 50;
        frame.pixels.assign(static_cast<std::size_t>(w * h), 0);
        const auto put = [&](int x, int y, std::uint8_t c) {
            if (x >= 0 && x < w && y >= 0 && y < h) frame.pixels[static_cast<std::size_t>(y * w + x)] = c;
        };
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                const int sx = x - 270, sy = y - 45;
                const int ray = (f % 2 == 0) ? 42 : 48;  // the sun's rays pulse
                if (sx * sx + sy * sy < 28 * 28) put(x, y, 1);
                else if (sx * sx + sy * sy < ray * ray && (std::abs(sx) < 4 || std::abs(sy) < 4)) put(x, y, 7);
                // A leaf: an ellipse tilted along y = x / 2, with a vein.
                const double u = (x - 130) * 0.894 + (y - 165) * 0.447;
                const double v = -(x - 130) * 0.447 + (y - 165) * 0.894;
                if ((u * u) / (110.0 * 110.0) + (v * v) / (45.0 * 45.0) < 1) put(x, y, std::abs(v) < 2 ? 3 : 2);
                if (x >= 20 && x < 40 && y > 200 && std::abs((y - 200) - (x - 20)) < 3) put(x, y, 6);
            }
        }
        // Three columns of bubbles, each rising 20 px per frame.
        for (int column = 0; column < 3; ++column) {
            const int bx = 110 + column * 45;
            for (int k = 0; k < 2; ++k) {
                const int by = 130 - ((f * 20 + column * 37 + k * 60) % 120);
                const int r = 6 + (k + column) % 3;
                for (int y = by - r - 1; y <= by + r + 1; ++y) {
                    for (int x = bx - r - 1; x <= bx + r + 1; ++x) {
                        const int d = (x - bx) * (x - bx) + (y - by) * (y - by);
                        if (d <= r * r) put(x, y, d >= (r - 2) * (r - 2) ? 5 : 4);
                    }
                }
            }
        }
        frames.push_back(std::move(frame));
    }
    return animatedGif(w, h, palette, frames);
}

struct Video {
    Bytes movie;
    Bytes poster;
    std::int64_t durationMs = 0;
};

void runFfmpeg(const std::vector<std::string>& arguments) {
    std::vector<std::string> argv = {"ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    const auto result = Subprocess::run(argv, {.timeout = std::chrono::minutes(2)});
    if (!result.succeeded()) {
        throw std::runtime_error("ffmpeg failed (status " + std::to_string(result.exitStatus) +
                                 "): " + result.standardError);
    }
}

// A 4-second test pattern (640x360, H.264) with a tone that rises each
// second (AAC), and a poster frame of it.
Video testVideo(const fs::path& workDir) {
    const fs::path movie = workDir / "video.mp4";
    const fs::path poster = workDir / "poster.png";
    runFfmpeg({"-f",         "lavfi",
               "-i",         "testsrc=size=640x360:rate=25:duration=4",
               "-f",         "lavfi",
               "-i",         "aevalsrc=0.3*sin(2*PI*(440+110*floor(t))*t):s=48000:d=4",
               "-c:v",       "libx264",
               "-preset",    "veryfast",
               "-crf",       "32",
               "-pix_fmt",   "yuv420p",
               "-threads",   "1",
               "-c:a",       "aac",
               "-b:a",       "64k",
               "-shortest",  "-movflags",
               "+faststart", "-map_metadata",
               "-1",         "-fflags",
               "+bitexact",  "-flags:v",
               "+bitexact",  "-flags:a",
               "+bitexact",  movie.string()});
    runFfmpeg({"-ss", "1", "-i", movie.string(), "-frames:v", "1", "-fflags", "+bitexact", poster.string()});
    return {readFile(movie), readFile(poster), Mp4Duration::measureMs(movie)};
}

// ---- The lesson --------------------------------------------------------------

std::vector<Slide> lesson(std::int64_t videoMs) {
    std::vector<Slide> slides;

    Slide opening;
    opening.titleLayout = true;
    opening.shapes = placeholderShape(2, "Título 1", "<p:ph type=\"ctrTitle\"/>", paragraphs({"Fotossíntese"})) +
                     placeholderShape(3, "Subtítulo 2", "<p:ph type=\"subTitle\" idx=\"1\"/>",
                                      paragraphs({"Como as plantas transformam luz em alimento", "Ciências · 7º ano"}));
    opening.notes = {"Boas-vindas! Hoje vamos entender de onde vem a energia que sustenta quase toda a vida na Terra.",
                     "Pergunte à turma: o que uma planta \"come\"?"};
    slides.push_back(opening);

    Slide what;
    what.shapes = title("O que é a fotossíntese?") + body(3, {"É o processo em que a planta produz o próprio alimento",
                                                              "Acontece nas folhas, dentro dos cloroplastos",
                                                              "A clorofila capta a energia da luz do Sol"});
    Timing whatTiming;
    for (int p = 0; p < 3; ++p) whatTiming.fadeInParagraph(3, p);
    what.timing = whatTiming.xml();
    what.notes = {"Cada tópico aparece com um clique.",
                  "Destaque a palavra \"foto\" (luz) & \"síntese\" (produção): produção a partir da luz."};
    slides.push_back(what);

    Slide ingredients;
    ingredients.shapes = title("Os ingredientes") +
                         body(3, {"Luz do Sol: a fonte de energia", "Água (H_2O), que sobe pelas raízes",
                                  "Gás carbônico (CO_2), que entra pelos estômatos"});
    Timing ingredientsTiming;
    for (int p = 0; p < 3; ++p) ingredientsTiming.fadeInParagraph(3, p);
    ingredients.timing = ingredientsTiming.xml();
    ingredients.notes = {"Luz, água & gás carbônico: sem qualquer um deles a fotossíntese para.",
                         "Os estômatos são poros minúsculos na face inferior da folha."};
    slides.push_back(ingredients);

    Slide gif;
    gif.shapes = title("A folha em ação") +
                 picture(3, "Bolhas de oxigênio", "", "rId3", 3657600, 1600200, 4876800, 3657600) +
                 textBox(4, "Legenda", 3657600, 5349240, 4876800, 548640, "EEF6EA",
                         {"As bolhas são o oxigênio (O_2) liberado pela folha"}, 1800);
    gif.media = {{"rId3", "image", "../media/image1.gif"}};
    slides.push_back(gif);

    Slide video;
    video.shapes = title("Vídeo de apoio") +
                   picture(3, "Vídeo 2",
                           "<a:videoFile r:link=\"rId4\"/><p:extLst><p:ext uri=\"{DAA4B4D4-6D71-4841-9C94-3DE7FCFB9230}"
                           "\"><p14:media xmlns:p14=\"http://schemas.microsoft.com/office/powerpoint/2010/main\" "
                           "r:embed=\"rId3\"/></p:ext></p:extLst>",
                           "rId5", 3048000, 1737360, 6096000, 3429000);
    // A media shape is clicked through its action link.
    video.shapes.replace(video.shapes.find("name=\"Vídeo 2\"/>"), std::string("name=\"Vídeo 2\"/>").size(),
                         "name=\"Vídeo 2\"><a:hlinkClick r:id=\"\" action=\"ppaction://media\"/></p:cNvPr>");
    Timing videoTiming;
    videoTiming.playVideoOnClick(3, videoMs);
    video.timing = videoTiming.xml();
    video.media = {{"rId3", "http://schemas.microsoft.com/office/2007/relationships/media", "../media/media1.mp4"},
                   {"rId4", "video", "../media/media1.mp4"},
                   {"rId5", "image", "../media/image2.png"}};
    video.notes = {"Clique no vídeo para tocá-lo; ele dura poucos segundos.",
                   "Depois, peça que a turma descreva o que mudou na tela."};
    slides.push_back(video);

    Slide myth;
    myth.shapes = title("Mito ou verdade?") +
                  body(3, {"A massa de uma árvore vem quase toda do ar: do gás carbônico",
                           "Do solo, a planta tira água e sais minerais"}) +
                  textBox(4, "Mito", 838200, 1737360, 10515600, 1600200, "F4A261",
                          {"MITO: a planta tira o alimento da terra"}, 3200);
    Timing mythTiming;
    mythTiming.fadeOutShape(4);
    myth.timing = mythTiming.xml();
    myth.notes = {"Deixe a turma votar antes de clicar: o cartão do mito some e revela a explicação."};
    slides.push_back(myth);

    Slide answers;
    answers.hidden = true;
    answers.shapes = title("Para o professor") +
                     body(3,
                          {"Tempo sugerido: 15 minutos", "Experimento: elódea em água com bicarbonato, sob luz forte"});
    answers.notes = {"Slide oculto: não aparece na apresentação.", "Use-o para preparar a aula."};
    slides.push_back(answers);

    Slide summary;
    summary.shapes = title("Resumo") + body(3, {"6 CO_2 + 6 H_2O + luz → C_6H_12O_6 + 6 O_2",
                                                "A glicose alimenta a planta; o oxigênio vai para o ar",
                                                "Quase toda cadeia alimentar começa aqui"});
    Timing summaryTiming;
    for (int p = 0; p < 3; ++p) summaryTiming.fadeInParagraph(3, p);
    summary.timing = summaryTiming.xml();
    summary.notes = {"Leia a equação em voz alta: seis moléculas de gás carbônico & seis de água formam uma de "
                     "glicose e seis de oxigênio.",
                     "Tarefa: observar uma planta por uma semana e anotar o que acontece com ela longe da luz."};
    slides.push_back(summary);
    return slides;
}

// ---- The package -------------------------------------------------------------

std::string presentationXml(std::size_t slideCount) {
    std::string ids;
    for (std::size_t i = 0; i < slideCount; ++i) {
        ids += "<p:sldId id=\"" + std::to_string(256 + i) + "\" r:id=\"rId" + std::to_string(3 + i) + "\"/>";
    }
    return std::string(kXmlDecl) + "<p:presentation " + kPmlNamespaces +
           " saveSubsetFonts=\"1\"><p:sldMasterIdLst><p:sldMasterId id=\"2147483648\" r:id=\"rId1\"/>"
           "</p:sldMasterIdLst><p:notesMasterIdLst><p:notesMasterId r:id=\"rId2\"/></p:notesMasterIdLst><p:sldIdLst>" +
           ids +
           "</p:sldIdLst><p:sldSz cx=\"12192000\" cy=\"6858000\"/><p:notesSz cx=\"6858000\" cy=\"9144000\"/>"
           "<p:defaultTextStyle><a:defPPr><a:defRPr lang=\"pt-BR\"/></a:defPPr><a:lvl1pPr marL=\"0\" algn=\"l\" "
           "defTabSz=\"914400\" rtl=\"0\" eaLnBrk=\"1\" latinLnBrk=\"0\" hangingPunct=\"1\"><a:defRPr sz=\"1800\" "
           "kern=\"1200\"><a:solidFill><a:schemeClr val=\"tx1\"/></a:solidFill><a:latin typeface=\"+mn-lt\"/>"
           "<a:ea typeface=\"+mn-ea\"/><a:cs typeface=\"+mn-cs\"/></a:defRPr></a:lvl1pPr></p:defaultTextStyle>"
           "</p:presentation>";
}

std::string appXml(std::size_t slides, std::size_t notes, std::size_t hidden) {
    return std::string(kXmlDecl) +
           "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\" "
           "xmlns:vt=\"http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes\"><TotalTime>0</TotalTime>"
           "<Application>orvandel-example-deck</Application><PresentationFormat>Widescreen</PresentationFormat>"
           "<Slides>" +
           std::to_string(slides) + "</Slides><Notes>" + std::to_string(notes) + "</Notes><HiddenSlides>" +
           std::to_string(hidden) + "</HiddenSlides><MMClips>1</MMClips></Properties>";
}

std::string coreXml() {
    return std::string(kXmlDecl) +
           "<cp:coreProperties xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:dcterms=\"http://purl.org/dc/terms/\" "
           "xmlns:dcmitype=\"http://purl.org/dc/dcmitype/\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
           "<dc:title>Fotossíntese</dc:title><dc:subject>Ciências, 7º ano</dc:subject><dc:creator>Orvandel</dc:creator>"
           "<dc:language>pt-BR</dc:language><dcterms:created xsi:type=\"dcterms:W3CDTF\">2025-01-01T00:00:00Z"
           "</dcterms:created><dcterms:modified xsi:type=\"dcterms:W3CDTF\">2025-01-01T00:00:00Z</dcterms:modified>"
           "</cp:coreProperties>";
}

std::vector<std::pair<std::string, Bytes>> deckEntries(const std::vector<Slide>& slides, const Video& video) {
    std::string overrides;
    const auto override_ = [&](const std::string& part, const std::string& type) {
        overrides += "<Override PartName=\"/" + part + "\" ContentType=\"" + type + "\"/>";
    };
    std::vector<std::pair<std::string, Bytes>> parts;
    const auto add = [&](const std::string& name, const std::string& type, const std::string& xml) {
        if (!type.empty()) override_(name, type);
        parts.emplace_back(name, toBytes(xml));
    };

    std::vector<Relationship> presentationRels = {{"rId1", "slideMaster", "slideMasters/slideMaster1.xml"},
                                                  {"rId2", "notesMaster", "notesMasters/notesMaster1.xml"}};
    std::size_t notesCount = 0, hiddenCount = 0;
    std::vector<std::pair<std::string, Bytes>> slideParts;
    for (std::size_t i = 0; i < slides.size(); ++i) {
        const Slide& s = slides[i];
        const std::string n = std::to_string(i + 1);
        presentationRels.push_back({"rId" + std::to_string(3 + i), "slide", "slides/slide" + n + ".xml"});
        std::vector<Relationship> rels = {
            {"rId1", "slideLayout",
             s.titleLayout ? "../slideLayouts/slideLayout1.xml" : "../slideLayouts/slideLayout2.xml"}};
        if (!s.notes.empty()) {
            rels.push_back({"rId2", "notesSlide", "../notesSlides/notesSlide" + n + ".xml"});
            ++notesCount;
        }
        rels.insert(rels.end(), s.media.begin(), s.media.end());
        hiddenCount += s.hidden ? 1 : 0;
        override_("ppt/slides/slide" + n + ".xml", kTypeBase + "slide+xml");
        slideParts.emplace_back("ppt/slides/slide" + n + ".xml", toBytes(slideXml(s)));
        slideParts.emplace_back("ppt/slides/_rels/slide" + n + ".xml.rels", toBytes(relationships(rels)));
        if (!s.notes.empty()) {
            override_("ppt/notesSlides/notesSlide" + n + ".xml", kTypeBase + "notesSlide+xml");
            slideParts.emplace_back("ppt/notesSlides/notesSlide" + n + ".xml", toBytes(notesXml(s.notes)));
            slideParts.emplace_back("ppt/notesSlides/_rels/notesSlide" + n + ".xml.rels",
                                    toBytes(relationships({{"rId1", "notesMaster", "../notesMasters/notesMaster1.xml"},
                                                           {"rId2", "slide", "../slides/slide" + n + ".xml"}})));
        }
    }
    const auto nextId = [&] { return "rId" + std::to_string(presentationRels.size() + 1); };
    presentationRels.push_back({nextId(), "presProps", "presProps.xml"});
    presentationRels.push_back({nextId(), "viewProps", "viewProps.xml"});
    presentationRels.push_back({nextId(), "theme", "theme/theme1.xml"});
    presentationRels.push_back({nextId(), "tableStyles", "tableStyles.xml"});

    add("ppt/presentation.xml", kTypeBase + "presentation.main+xml", presentationXml(slides.size()));
    add("ppt/_rels/presentation.xml.rels", "", relationships(presentationRels));
    parts.insert(parts.end(), slideParts.begin(), slideParts.end());
    add("ppt/slideMasters/slideMaster1.xml", kTypeBase + "slideMaster+xml", slideMaster());
    add("ppt/slideMasters/_rels/slideMaster1.xml.rels", "",
        relationships({{"rId1", "slideLayout", "../slideLayouts/slideLayout1.xml"},
                       {"rId2", "slideLayout", "../slideLayouts/slideLayout2.xml"},
                       {"rId3", "theme", "../theme/theme1.xml"}}));
    const std::string layoutRels = relationships({{"rId1", "slideMaster", "../slideMasters/slideMaster1.xml"}});
    add("ppt/slideLayouts/slideLayout1.xml", kTypeBase + "slideLayout+xml", titleLayout());
    add("ppt/slideLayouts/_rels/slideLayout1.xml.rels", "", layoutRels);
    add("ppt/slideLayouts/slideLayout2.xml", kTypeBase + "slideLayout+xml", contentLayout());
    add("ppt/slideLayouts/_rels/slideLayout2.xml.rels", "", layoutRels);
    add("ppt/notesMasters/notesMaster1.xml", kTypeBase + "notesMaster+xml", notesMaster());
    add("ppt/notesMasters/_rels/notesMaster1.xml.rels", "", relationships({{"rId1", "theme", "../theme/theme2.xml"}}));
    const std::string themeType = "application/vnd.openxmlformats-officedocument.theme+xml";
    add("ppt/theme/theme1.xml", themeType, theme("Fotossíntese"));
    add("ppt/theme/theme2.xml", themeType, theme("Anotações"));
    add("ppt/presProps.xml", kTypeBase + "presProps+xml", presentationProperties());
    add("ppt/viewProps.xml", kTypeBase + "viewProps+xml", viewProperties());
    add("ppt/tableStyles.xml", kTypeBase + "tableStyles+xml", tableStyles());
    add("docProps/core.xml", "application/vnd.openxmlformats-package.core-properties+xml", coreXml());
    add("docProps/app.xml", "application/vnd.openxmlformats-officedocument.extended-properties+xml",
        appXml(slides.size(), notesCount, hiddenCount));
    parts.emplace_back("ppt/media/image1.gif", oxygenGif());
    parts.emplace_back("ppt/media/media1.mp4", video.movie);
    parts.emplace_back("ppt/media/image2.png", video.poster);

    const std::string contentTypes =
        std::string(kXmlDecl) +
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
        "<Default Extension=\"gif\" ContentType=\"image/gif\"/><Default Extension=\"png\" ContentType=\"image/png\"/>"
        "<Default Extension=\"mp4\" ContentType=\"video/mp4\"/>" +
        overrides + "</Types>";
    const std::string packageRels = relationships(
        {{"rId1", "officeDocument", "ppt/presentation.xml"},
         {"rId2", "http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties",
          "docProps/core.xml"},
         {"rId3", "extended-properties", "docProps/app.xml"}});

    std::vector<std::pair<std::string, Bytes>> entries;
    entries.emplace_back("[Content_Types].xml", toBytes(contentTypes));
    entries.emplace_back("_rels/.rels", toBytes(packageRels));
    entries.insert(entries.end(), parts.begin(), parts.end());
    return entries;
}

// A scratch directory for ffmpeg's output, removed on every exit.
struct WorkDir {
    fs::path path = fs::temp_directory_path() / ("orvandel-example-" + makeUuid());
    WorkDir() { fs::create_directories(path); }
    ~WorkDir() {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2 || (argc == 2 && std::string(argv[1]).starts_with("-"))) {
        std::fprintf(stderr, "usage: %s [OUTPUT.pptx]   (default: aula-exemplo.pptx)\n", argv[0]);
        return 2;
    }
    const fs::path output = argc == 2 ? fs::path(argv[1]) : fs::path("aula-exemplo.pptx");
    try {
        WorkDir work;
        const Video video = testVideo(work.path);
        const auto slides = lesson(video.durationMs);
        ZipArchive::create(deckEntries(slides, video), output);
        std::printf("wrote %s: %zu slides, video of %lld ms\n", output.c_str(), slides.size(),
                    static_cast<long long>(video.durationMs));
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s: %s\n", argv[0], e.what());
        return 1;
    }
}
