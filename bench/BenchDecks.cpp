#include "BenchDecks.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <zlib.h>

#include "DeckBuilder.hpp"
#include "container/ZipArchive.hpp"

namespace orvandel::test {

namespace {

std::string textBox(int id, const std::string& name, long y, long height, int size, const std::string& text) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + std::to_string(id) + "\" name=\"" + name +
           "\"/><p:cNvSpPr txBox=\"1\"/><p:nvPr/></p:nvSpPr><p:spPr><a:xfrm><a:off x=\"838200\" y=\"" +
           std::to_string(y) + "\"/><a:ext cx=\"10515600\" cy=\"" + std::to_string(height) +
           "\"/></a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom></p:spPr><p:txBody><a:bodyPr "
           "wrap=\"square\"/><a:lstStyle/><a:p><a:r><a:rPr lang=\"pt-BR\" sz=\"" +
           std::to_string(size) + "\"/><a:t>" + text + "</a:t></a:r></a:p></p:txBody></p:sp>";
}

// One click step whose single effect fades shape `spid` in.
std::string clickStep(int spid, int fadeMs) {
    const std::string target = "<p:tgtEl><p:spTgt spid=\"" + std::to_string(spid) + "\"/></p:tgtEl>";
    return "<p:par><p:cTn fill=\"hold\"><p:stCondLst><p:cond delay=\"indefinite\"/></p:stCondLst><p:childTnLst>"
           "<p:par><p:cTn fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:par>"
           "<p:cTn presetID=\"10\" presetClass=\"entr\" presetSubtype=\"0\" fill=\"hold\" nodeType=\"clickEffect\">"
           "<p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:set><p:cBhvr><p:cTn dur=\"1\" "
           "fill=\"hold\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst></p:cTn>" +
           target +
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
                         "nodeType=\"mainSeq\"><p:childTnLst>" +
                         steps +
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

void writeHugeSlideDeck(const std::filesystem::path& path, std::uint64_t slideBytes) {
    // The small parts come from the deck builder; the slide is streamed
    // through deflate so that it never exists whole in memory.
    const std::string slide = slideXml(textBox(2, "Texto", 365125, 1325563, 2800, "Um slide enorme"), "");
    const std::string::size_type close = slide.rfind("</p:sld>");
    const std::string head = slide.substr(0, close), tail = slide.substr(close);
    if (slideBytes < head.size() + tail.size()) throw std::invalid_argument("slide too small");
    const std::uint64_t padding = slideBytes - head.size() - tail.size();

    const auto entries = DeckBuilder().addSlide(slide).entries();
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) throw std::runtime_error("cannot write " + path.string());
    Bytes central;
    std::uint64_t offset = 0;
    const auto put = [&](const Bytes& b) {
        std::fwrite(b.data(), 1, b.size(), f);
        offset += b.size();
    };
    for (const auto& [name, data] : entries) {
        const bool huge = name == "ppt/slides/slide1.xml";
        const std::uint64_t at = offset;
        Bytes header;
        ZipArchive::putU32(header, 0x04034b50);
        ZipArchive::putU16(header, 20);
        ZipArchive::putU16(header, 0);
        ZipArchive::putU16(header, huge ? 8 : 0);
        ZipArchive::putU32(header, 0);
        for (int k = 0; k < 3; ++k) ZipArchive::putU32(header, 0);  // CRC and sizes, patched below
        ZipArchive::putU16(header, static_cast<std::uint16_t>(name.size()));
        ZipArchive::putU16(header, 0);
        header.insert(header.end(), name.begin(), name.end());
        put(header);
        std::uint32_t crc = 0;
        std::uint64_t stored = 0, size = 0;
        if (!huge) {
            crc = ZipArchive::crc32(data);
            put(data);
            stored = size = data.size();
        } else {
            z_stream zs{};
            deflateInit2(&zs, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
            // Comments of a kilobyte each (no parser limit is reached by one
            // node), the last few bytes as spaces.
            Bytes in, out(1 << 20);
            const std::string unit = "<!--" + std::string(1017, 'x') + "-->";
            while (in.size() < (1u << 20)) in.insert(in.end(), unit.begin(), unit.end());
            std::uint64_t left = padding;
            const auto feed = [&](const std::uint8_t* p, std::size_t n, int flush) {
                crc = ZipArchive::crc32Continue(crc, {p, n});
                size += n;
                zs.next_in = const_cast<std::uint8_t*>(p);
                zs.avail_in = static_cast<uInt>(n);
                do {
                    zs.next_out = out.data();
                    zs.avail_out = static_cast<uInt>(out.size());
                    deflate(&zs, flush);
                    const std::size_t got = out.size() - zs.avail_out;
                    std::fwrite(out.data(), 1, got, f);
                    stored += got;
                } while (zs.avail_out == 0 || (flush == Z_FINISH && zs.avail_in > 0));
            };
            feed(reinterpret_cast<const std::uint8_t*>(head.data()), head.size(), Z_NO_FLUSH);
            while (left >= unit.size()) {
                const std::uint64_t whole = std::min<std::uint64_t>(left, in.size()) / unit.size() * unit.size();
                feed(in.data(), static_cast<std::size_t>(whole), Z_NO_FLUSH);
                left -= whole;
            }
            const Bytes spaces(static_cast<std::size_t>(left), ' ');
            feed(spaces.data(), spaces.size(), Z_NO_FLUSH);
            feed(reinterpret_cast<const std::uint8_t*>(tail.data()), tail.size(), Z_FINISH);
            deflateEnd(&zs);
            offset += stored;
        }
        Bytes fields;
        ZipArchive::putU32(fields, crc);
        ZipArchive::putU32(fields, static_cast<std::uint32_t>(stored));
        ZipArchive::putU32(fields, static_cast<std::uint32_t>(size));
        std::fseek(f, static_cast<long>(at + 14), SEEK_SET);
        std::fwrite(fields.data(), 1, fields.size(), f);
        std::fseek(f, 0, SEEK_END);

        ZipArchive::putU32(central, 0x02014b50);
        ZipArchive::putU16(central, 20);
        ZipArchive::putU16(central, 20);
        ZipArchive::putU16(central, 0);
        ZipArchive::putU16(central, huge ? 8 : 0);
        ZipArchive::putU32(central, 0);
        central.insert(central.end(), fields.begin(), fields.end());
        ZipArchive::putU16(central, static_cast<std::uint16_t>(name.size()));
        for (int k = 0; k < 4; ++k) ZipArchive::putU16(central, 0);
        ZipArchive::putU32(central, 0);
        ZipArchive::putU32(central, static_cast<std::uint32_t>(at));
        central.insert(central.end(), name.begin(), name.end());
    }
    const std::uint64_t cdStart = offset;
    put(central);
    Bytes endRecord;
    ZipArchive::putU32(endRecord, 0x06054b50);
    ZipArchive::putU32(endRecord, 0);
    ZipArchive::putU16(endRecord, static_cast<std::uint16_t>(entries.size()));
    ZipArchive::putU16(endRecord, static_cast<std::uint16_t>(entries.size()));
    ZipArchive::putU32(endRecord, static_cast<std::uint32_t>(central.size()));
    ZipArchive::putU32(endRecord, static_cast<std::uint32_t>(cdStart));
    ZipArchive::putU16(endRecord, 0);
    put(endRecord);
    std::fclose(f);
}

std::filesystem::path largestCorpusDeck() {
    const char* env = std::getenv("ORVANDEL_CORPUS");
    const std::filesystem::path dir = env ? std::filesystem::path(env)
                                          : std::filesystem::path(ORVANDEL_SOURCE_DIR) / ".." / "shared" / "corpus";
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
