#include "BenchDecks.hpp"

#include <cstdlib>

#include "DeckBuilder.hpp"

namespace orvandel::test {

namespace {

std::string textBox(int id, const std::string& name, long y, long height, int size, const std::string& text) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + std::to_string(id) + "\" name=\"" + name +
           "\"/><p:cNvSpPr txBox=\"1\"/><p:nvPr/></p:nvSpPr><p:spPr><a:xfrm><a:off x=\"838200\" y=\"" +
           std::to_string(y) + "\"/><a:ext cx=\"10515600\" cy=\"" + std::to_string(height) +
           "\"/></a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom></p:spPr><p:txBody><a:bodyPr "
           "wrap=\"square\"/><a:lstStyle/><a:p><a:r><a:rPr lang=\"pt-BR\" sz=\"" + std::to_string(size) +
           "\"/><a:t>" + text + "</a:t></a:r></a:p></p:txBody></p:sp>";
}

// One click step whose single effect fades shape `spid` in.
std::string clickStep(int spid, int fadeMs) {
    const std::string target = "<p:tgtEl><p:spTgt spid=\"" + std::to_string(spid) + "\"/></p:tgtEl>";
    return "<p:par><p:cTn fill=\"hold\"><p:stCondLst><p:cond delay=\"indefinite\"/></p:stCondLst><p:childTnLst>"
           "<p:par><p:cTn fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:par>"
           "<p:cTn presetID=\"10\" presetClass=\"entr\" presetSubtype=\"0\" fill=\"hold\" nodeType=\"clickEffect\">"
           "<p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:set><p:cBhvr><p:cTn dur=\"1\" "
           "fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst></p:cTn>" + target +
           "<p:attrNameLst><p:attrName>style.visibility</p:attrName></p:attrNameLst></p:cBhvr><p:to><p:strVal "
           "val=\"visible\"/></p:to></p:set><p:animEffect transition=\"in\" filter=\"fade\"><p:cBhvr><p:cTn dur=\"" +
           std::to_string(fadeMs) + "\"/>" + target +
           "</p:cBhvr></p:animEffect></p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:par></p:childTnLst>"
           "</p:cTn></p:par>";
}

}  // namespace

std::string bulletSlideXml(int n, int bullets, int fadeMs) {
    std::string shapes = textBox(2, "Título", 365125, 1325563, 4400, "Slide " + std::to_string(n));
    std::string steps;
    for (int i = 0; i < bullets; ++i) {
        const int id = 10 + i;
        shapes += textBox(id, "Tópico " + std::to_string(i + 1), 1825625 + 1000000L * i, 900000, 2800,
                          "Tópico " + std::to_string(i + 1) + " do slide " + std::to_string(n));
        steps += clickStep(id, fadeMs);
    }
    std::string timing = "<p:timing><p:tnLst><p:par><p:cTn dur=\"indefinite\" restart=\"never\" nodeType=\"tmRoot\">"
                         "<p:childTnLst><p:seq concurrent=\"1\" nextAc=\"seek\"><p:cTn dur=\"indefinite\" "
                         "nodeType=\"mainSeq\"><p:childTnLst>" + steps +
                         "</p:childTnLst></p:cTn><p:prevCondLst/><p:nextCondLst/></p:seq></p:childTnLst></p:cTn>"
                         "</p:par></p:tnLst></p:timing>";
    // Every time node gets an id, as a saved deck has them.
    int id = 0;
    for (auto at = timing.find("<p:cTn "); at != std::string::npos; at = timing.find("<p:cTn ", at + 1)) {
        timing.insert(at + 7, "id=\"" + std::to_string(++id) + "\" ");
    }
    return slideXml(shapes, "<p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr>" + timing);
}

void writeBulletDeck(const std::filesystem::path& path, int slides, int bullets, int fadeMs) {
    DeckBuilder deck;
    for (int n = 1; n <= slides; ++n) {
        deck.addSlide(bulletSlideXml(n, bullets, fadeMs))
            .addNotes(n, notesSlideXml({"Fala do slide " + std::to_string(n), "Água & luz: fotossíntese."}));
    }
    deck.write(path);
}

std::filesystem::path largestCorpusDeck() {
    const char* env = std::getenv("ORVANDEL_CORPUS");
    const std::filesystem::path dir =
        env ? std::filesystem::path(env) : std::filesystem::path(ORVANDEL_SOURCE_DIR) / ".." / "shared" / "corpus";
    std::filesystem::path best;
    std::uintmax_t bestSize = 0;
    std::error_code ec;
    for (const auto& e : std::filesystem::directory_iterator(dir, ec)) {
        const auto ext = e.path().extension();
        if ((ext != ".pptx" && ext != ".potx" && ext != ".ppsx") ||
            e.path().filename().string().find("BROKEN") != std::string::npos) {
            continue;
        }
        if (e.file_size(ec) > bestSize) {
            bestSize = e.file_size(ec);
            best = e.path();
        }
    }
    return best;
}

}  // namespace orvandel::test
