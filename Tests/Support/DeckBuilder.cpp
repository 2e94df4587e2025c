#include "DeckBuilder.hpp"

#include "XMLEmitter.hpp"

#include <algorithm>
#include <stdexcept>

#include "ZipArchive.hpp"

namespace orvandel::test {

namespace {

const std::string kXmlDecl = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
const std::string kCtBase = "application/vnd.openxmlformats-officedocument.presentationml.";

std::string namespaces() {
    return std::string("xmlns:a=\"") + kNsA + "\" xmlns:r=\"" + kNsR + "\" xmlns:p=\"" + kNsP + "\"";
}

const std::string kGroupProps =
    "<p:nvGrpSpPr><p:cNvPr id=\"1\" name=\"\"/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr><p:grpSpPr/>";

std::string mediaContentType(const std::string& extension) {
    static const std::map<std::string, std::string> types = {
        {"png", "image/png"},   {"jpg", "image/jpeg"},  {"jpeg", "image/jpeg"},       {"gif", "image/gif"},
        {"mp4", "video/mp4"},   {"mov", "video/quicktime"}, {"m4a", "audio/mp4"},    {"wav", "audio/wav"},
        {"mp3", "audio/mpeg"},
    };
    const auto it = types.find(extension);
    return it == types.end() ? "application/octet-stream" : it->second;
}

std::string extensionOf(const std::string& name) {
    const auto slash = name.rfind('/');
    const auto dot = name.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    return name.substr(dot + 1);
}

}  // namespace

std::string slideXml(const std::string& spTreeInner, const std::string& afterCSld, const std::string& rootAttrs) {
    return kXmlDecl + "<p:sld " + namespaces() + (rootAttrs.empty() ? "" : " " + rootAttrs) + "><p:cSld><p:spTree>" +
           kGroupProps + spTreeInner + "</p:spTree></p:cSld>" + afterCSld + "</p:sld>";
}

std::string notesSlideXml(const std::vector<std::string>& paragraphs) {
    std::string body;
    for (const auto& p : paragraphs) body += "<a:p><a:r><a:t>" + XMLEmitter::escapeAttribute(p) + "</a:t></a:r></a:p>";
    return kXmlDecl + "<p:notes " + namespaces() + "><p:cSld><p:spTree>" + kGroupProps +
           "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"Slide Image Placeholder 1\"/><p:cNvSpPr/>"
           "<p:nvPr><p:ph type=\"sldImg\"/></p:nvPr></p:nvSpPr><p:spPr/></p:sp>"
           "<p:sp><p:nvSpPr><p:cNvPr id=\"3\" name=\"Notes Placeholder 2\"/><p:cNvSpPr/>"
           "<p:nvPr><p:ph type=\"body\" idx=\"1\"/></p:nvPr></p:nvSpPr><p:spPr/>"
           "<p:txBody><a:bodyPr/><a:lstStyle/>" +
           body + "</p:txBody></p:sp></p:spTree></p:cSld></p:notes>";
}

std::string relationshipsXml(const std::vector<Relationship>& relationships) {
    std::string out =
        kXmlDecl + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (const auto& r : relationships) {
        const std::string type = r.type.find("://") == std::string::npos ? kRelTypeBase + r.type : r.type;
        out += "<Relationship Id=\"" + r.id + "\" Type=\"" + type + "\" Target=\"" + XMLEmitter::escapeAttribute(r.target) + "\"" +
               (r.targetMode.empty() ? "" : " TargetMode=\"" + r.targetMode + "\"") + "/>";
    }
    return out + "</Relationships>";
}

DeckBuilder& DeckBuilder::addSlide(const std::string& xml, const std::string& slideRels) {
    slides_.push_back(Slide{xml, slideRels, ""});
    return *this;
}

DeckBuilder& DeckBuilder::addNotes(int slideNumber, const std::string& notesXml) {
    if (slideNumber < 1 || static_cast<std::size_t>(slideNumber) > slides_.size()) {
        throw std::out_of_range("addNotes: no slide " + std::to_string(slideNumber));
    }
    slides_[static_cast<std::size_t>(slideNumber - 1)].notes = notesXml;
    return *this;
}

DeckBuilder& DeckBuilder::addEntry(const std::string& name, const Bytes& data) {
    extra_.emplace_back(name, data);
    return *this;
}

DeckBuilder& DeckBuilder::addEntry(const std::string& name, const std::string& text) {
    return addEntry(name, toBytes(text));
}

std::vector<std::pair<std::string, Bytes>> DeckBuilder::entries() const {
    std::string overrides = "<Override PartName=\"/ppt/presentation.xml\" ContentType=\"" + kCtBase +
                            "presentation.main+xml\"/>";
    std::string sldIds;
    std::vector<Relationship> presentationRels;
    std::vector<std::pair<std::string, Bytes>> parts;
    for (std::size_t i = 0; i < slides_.size(); ++i) {
        const std::string n = std::to_string(i + 1);
        const Slide& s = slides_[i];
        sldIds += "<p:sldId id=\"" + std::to_string(256 + i) + "\" r:id=\"rId" + n + "\"/>";
        presentationRels.push_back({"rId" + n, "slide", "slides/slide" + n + ".xml", ""});
        overrides += "<Override PartName=\"/ppt/slides/slide" + n + ".xml\" ContentType=\"" + kCtBase +
                     "slide+xml\"/>";
        parts.emplace_back("ppt/slides/slide" + n + ".xml", toBytes(s.xml));
        std::string rels = s.rels;
        if (!s.notes.empty()) {
            const Relationship notes{"rIdNotes" + n, "notesSlide", "../notesSlides/notesSlide" + n + ".xml", ""};
            if (rels.empty()) rels = relationshipsXml({notes});
            else {
                const auto close = rels.rfind("</Relationships>");
                if (close == std::string::npos) throw std::invalid_argument("slide rels lack </Relationships>");
                const std::string one = relationshipsXml({notes});
                const auto begin = one.find("<Relationship ");
                rels.insert(close, one.substr(begin, one.rfind("</Relationships>") - begin));
            }
        }
        if (!rels.empty()) parts.emplace_back("ppt/slides/_rels/slide" + n + ".xml.rels", toBytes(rels));
        if (!s.notes.empty()) {
            overrides += "<Override PartName=\"/ppt/notesSlides/notesSlide" + n + ".xml\" ContentType=\"" +
                         kCtBase + "notesSlide+xml\"/>";
            parts.emplace_back("ppt/notesSlides/notesSlide" + n + ".xml", toBytes(s.notes));
            parts.emplace_back("ppt/notesSlides/_rels/notesSlide" + n + ".xml.rels",
                               toBytes(relationshipsXml({{"rId1", "slide", "../slides/slide" + n + ".xml", ""}})));
        }
    }

    std::map<std::string, std::string> defaults = {
        {"rels", "application/vnd.openxmlformats-package.relationships+xml"}, {"xml", "application/xml"}};
    for (const auto& [name, data] : extra_) {
        const auto ext = extensionOf(name);
        if (!ext.empty() && !defaults.count(ext)) defaults[ext] = mediaContentType(ext);
    }
    std::string contentTypes =
        kXmlDecl + "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">";
    for (const auto& [ext, type] : defaults) {
        contentTypes += "<Default Extension=\"" + ext + "\" ContentType=\"" + type + "\"/>";
    }
    contentTypes += overrides + "</Types>";

    std::vector<std::pair<std::string, Bytes>> out;
    out.emplace_back("[Content_Types].xml", toBytes(contentTypes));
    out.emplace_back("_rels/.rels",
                     toBytes(relationshipsXml({{"rId1", "officeDocument", "ppt/presentation.xml", ""}})));
    out.emplace_back("ppt/presentation.xml",
                     toBytes(kXmlDecl + "<p:presentation " + namespaces() + "><p:sldIdLst>" + sldIds +
                             "</p:sldIdLst><p:sldSz cx=\"12192000\" cy=\"6858000\"/>"
                             "<p:notesSz cx=\"6858000\" cy=\"9144000\"/></p:presentation>"));
    out.emplace_back("ppt/_rels/presentation.xml.rels", toBytes(relationshipsXml(presentationRels)));
    out.insert(out.end(), parts.begin(), parts.end());
    for (const auto& entry : extra_) {
        const auto same = std::find_if(out.begin(), out.end(), [&](const auto& e) { return e.first == entry.first; });
        if (same != out.end()) same->second = entry.second;
        else out.push_back(entry);
    }
    return out;
}

void DeckBuilder::write(const std::filesystem::path& path) const { ZipArchive::create(entries(), path); }

}  // namespace orvandel::test
