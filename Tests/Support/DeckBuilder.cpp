#include "DeckBuilder.hpp"

#include <algorithm>
#include <stdexcept>

#include "container/XMLEmitter.hpp"
#include "container/ZipArchive.hpp"

namespace orvandel::test {

namespace {

// Plain arrays: tests build parts while their own statics are initialised.
constexpr char kXmlDecl[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr char kCtBase[] = "application/vnd.openxmlformats-officedocument.presentationml.";
constexpr char kGroupProps[] =
    "<p:nvGrpSpPr><p:cNvPr id=\"1\" name=\"\"/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr><p:grpSpPr/>";

std::string namespaces() {
    return std::string("xmlns:a=\"") + kNsA + "\" xmlns:r=\"" + kNsR + "\" xmlns:p=\"" + kNsP + "\"";
}

std::string override_(const std::string& part, const std::string& type) {
    return "<Override PartName=\"/" + part + "\" ContentType=\"" + kCtBase + type + "\"/>";
}

}  // namespace

std::string picture(const std::string& id, const std::string& embed, const std::string& nvPr) {
    return pictureWith(id, nvPr, "<a:blip r:embed=\"" + embed + "\"/>");
}

std::string pictureWith(const std::string& id, const std::string& nvPr, const std::string& blipFill,
                        const std::string& spPr) {
    return "<p:pic><p:nvPicPr><p:cNvPr id=\"" + id + "\" name=\"Imagem\"/><p:cNvPicPr/><p:nvPr>" + nvPr +
           "</p:nvPr></p:nvPicPr><p:blipFill>" + blipFill + "</p:blipFill>" +
           (spPr.empty() ? "<p:spPr/>" : "<p:spPr>" + spPr + "</p:spPr>") + "</p:pic>";
}

std::string slideXml(const std::string& spTreeInner, const std::string& afterCSld, const std::string& rootAttrs) {
    return std::string(kXmlDecl) + "<p:sld " + namespaces() + (rootAttrs.empty() ? "" : " " + rootAttrs) +
           "><p:cSld><p:spTree>" + kGroupProps + spTreeInner + "</p:spTree></p:cSld>" + afterCSld + "</p:sld>";
}

std::string notesSlideXml(const std::vector<std::string>& paragraphs) {
    std::string body;
    for (const auto& p : paragraphs) body += "<a:p><a:r><a:t>" + XMLEmitter::escapeAttribute(p) + "</a:t></a:r></a:p>";
    return notesSlideWithBody(body);
}

std::string notesSlideWithBody(const std::string& body) {
    return std::string(kXmlDecl) + "<p:notes " + namespaces() + "><p:cSld><p:spTree>" + kGroupProps +
           "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"Slide Image Placeholder 1\"/><p:cNvSpPr/>"
           "<p:nvPr><p:ph type=\"sldImg\"/></p:nvPr></p:nvSpPr><p:spPr/></p:sp>"
           "<p:sp><p:nvSpPr><p:cNvPr id=\"3\" name=\"Notes Placeholder 2\"/><p:cNvSpPr/>"
           "<p:nvPr><p:ph type=\"body\" idx=\"1\"/></p:nvPr></p:nvSpPr><p:spPr/><p:txBody><a:bodyPr/><a:lstStyle/>" +
           body + "</p:txBody></p:sp></p:spTree></p:cSld></p:notes>";
}

std::string themeXml(const std::string& colourSchemeInner, const std::string& majorFonts,
                     const std::string& minorFonts) {
    std::string colours = colourSchemeInner;
    for (const char* name : {"dk1", "lt1", "dk2", "lt2", "accent1", "accent2", "accent3", "accent4", "accent5",
                             "accent6", "hlink", "folHlink"}) {
        if (colours.find(std::string("<a:") + name + ">") == std::string::npos) {
            colours += std::string("<a:") + name + "><a:srgbClr val=\"000000\"/></a:" + name + ">";
        }
    }
    const std::string font = "<a:latin typeface=\"Liberation Sans\"/><a:ea typeface=\"\"/><a:cs typeface=\"\"/>";
    const std::string solid = "<a:solidFill><a:schemeClr val=\"phClr\"/></a:solidFill>";
    const std::string line = "<a:ln w=\"9525\">" + solid + "</a:ln>";
    const std::string effect = "<a:effectStyle><a:effectLst/></a:effectStyle>";
    return std::string(kXmlDecl) + "<a:theme xmlns:a=\"" + kNsA +
           "\" name=\"Tema\"><a:themeElements><a:clrScheme name=\"Cores\">" + colours +
           "</a:clrScheme><a:fontScheme name=\"Fontes\"><a:majorFont>" + (majorFonts.empty() ? font : majorFonts) +
           "</a:majorFont><a:minorFont>" + (minorFonts.empty() ? font : minorFonts) +
           "</a:minorFont></a:fontScheme><a:fmtScheme name=\"Formatos\"><a:fillStyleLst>" + solid + solid + solid +
           "</a:fillStyleLst><a:lnStyleLst>" + line + line + line + "</a:lnStyleLst><a:effectStyleLst>" + effect +
           effect + effect + "</a:effectStyleLst><a:bgFillStyleLst>" + solid + solid + solid +
           "</a:bgFillStyleLst></a:fmtScheme></a:themeElements></a:theme>";
}

std::string relationshipsXml(const std::vector<Rel>& relationships) {
    std::string out = std::string(kXmlDecl) +
                      "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (const auto& r : relationships) {
        const std::string type = r.type.find("://") == std::string::npos ? std::string(kNsR) + "/" + r.type : r.type;
        out += "<Relationship Id=\"" + r.id + "\" Type=\"" + type + "\" Target=\"" +
               XMLEmitter::escapeAttribute(r.target) + "\"" + (r.external ? " TargetMode=\"External\"" : "") + "/>";
    }
    return out + "</Relationships>";
}

DeckBuilder& DeckBuilder::addSlide(const std::string& xml, const std::vector<Rel>& slideRels) {
    slides_.push_back({xml, slideRels, ""});
    return *this;
}

DeckBuilder& DeckBuilder::setMaster(const std::string& theme, const std::string& clrMapAttributes,
                                    const std::string& layoutAfterCSld) {
    master_ = Master{theme, clrMapAttributes, layoutAfterCSld};
    return *this;
}

DeckBuilder& DeckBuilder::addNotes(int slideNumber, const std::string& notesXml) {
    if (slideNumber < 1 || static_cast<std::size_t>(slideNumber) > slides_.size()) {
        throw std::out_of_range("addNotes: no slide " + std::to_string(slideNumber));
    }
    slides_[static_cast<std::size_t>(slideNumber - 1)].notes = notesXml;
    return *this;
}

DeckBuilder& DeckBuilder::addEmbeddedFont(const std::string& typeface, const std::string& style,
                                          const std::string& part, const Bytes& data, const std::string& contentType) {
    fonts_.push_back({typeface, style, part, contentType});
    return addEntry(part, data);
}

DeckBuilder& DeckBuilder::addEntry(const std::string& name, const Bytes& data) {
    extra_.emplace_back(name, data);
    return *this;
}

DeckBuilder& DeckBuilder::addEntry(const std::string& name, const std::string& text) {
    return addEntry(name, toBytes(text));
}

std::vector<std::pair<std::string, Bytes>> DeckBuilder::entries() const {
    std::string overrides = override_("ppt/presentation.xml", "presentation.main+xml");
    std::string sldIds;
    std::vector<Rel> presentationRels;
    std::vector<std::pair<std::string, Bytes>> parts;
    for (std::size_t i = 0; i < slides_.size(); ++i) {
        const std::string n = std::to_string(i + 1), slide = "ppt/slides/slide" + n + ".xml";
        const std::string notes = "ppt/notesSlides/notesSlide" + n + ".xml";
        sldIds += "<p:sldId id=\"" + std::to_string(256 + i) + "\" r:id=\"rId" + n + "\"/>";
        presentationRels.push_back({"rId" + n, "slide", "slides/slide" + n + ".xml"});
        overrides += override_(slide, "slide+xml");
        parts.emplace_back(slide, toBytes(slides_[i].xml));
        auto rels = slides_[i].rels;
        if (master_) rels.push_back({"rIdLayout", "slideLayout", "../slideLayouts/slideLayout1.xml"});
        if (!slides_[i].notes.empty()) rels.push_back({"rIdNotes" + n, "notesSlide", "../" + notes.substr(4)});
        if (!rels.empty()) {
            parts.emplace_back("ppt/slides/_rels/slide" + n + ".xml.rels", toBytes(relationshipsXml(rels)));
        }
        if (slides_[i].notes.empty()) continue;
        overrides += override_(notes, "notesSlide+xml");
        parts.emplace_back(notes, toBytes(slides_[i].notes));
        parts.emplace_back("ppt/notesSlides/_rels/notesSlide" + n + ".xml.rels",
                           toBytes(relationshipsXml({{"rId1", "slide", "../slides/slide" + n + ".xml"}})));
    }

    std::string fontList;
    for (std::size_t i = 0; i < fonts_.size(); ++i) {
        const std::string id = "rIdFont" + std::to_string(i + 1);
        fontList += "<p:embeddedFont><p:font typeface=\"" + XMLEmitter::escapeAttribute(fonts_[i].typeface) +
                    "\"/><p:" + fonts_[i].style + " r:id=\"" + id + "\"/></p:embeddedFont>";
        const auto& part = fonts_[i].part;
        presentationRels.push_back({id, "font", part.starts_with("ppt/") ? part.substr(4) : "/" + part});
        overrides += "<Override PartName=\"/" + fonts_[i].part + "\" ContentType=\"" + fonts_[i].contentType + "\"/>";
    }
    if (!fontList.empty()) fontList = "<p:embeddedFontLst>" + fontList + "</p:embeddedFontLst>";

    // Parts only: extra entries such as media get no content type (nothing here reads them).
    const std::string contentTypes =
        std::string(kXmlDecl) +
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";

    std::string masterIds;
    if (master_) {
        const std::string clrMap = master_->clrMap.empty()
                                       ? "bg1=\"lt1\" tx1=\"dk1\" bg2=\"lt2\" tx2=\"dk2\" accent1=\"accent1\" "
                                         "accent2=\"accent2\" accent3=\"accent3\" accent4=\"accent4\" "
                                         "accent5=\"accent5\" accent6=\"accent6\" hlink=\"hlink\" "
                                         "folHlink=\"folHlink\""
                                       : master_->clrMap;
        const std::string tree = std::string("<p:cSld><p:spTree>") + kGroupProps + "</p:spTree></p:cSld>";
        masterIds = "<p:sldMasterIdLst><p:sldMasterId id=\"2147483648\" r:id=\"rIdMaster\"/></p:sldMasterIdLst>";
        presentationRels.push_back({"rIdMaster", "slideMaster", "slideMasters/slideMaster1.xml"});
        presentationRels.push_back({"rIdTheme", "theme", "theme/theme1.xml"});
        overrides += override_("ppt/slideMasters/slideMaster1.xml", "slideMaster+xml") +
                     override_("ppt/slideLayouts/slideLayout1.xml", "slideLayout+xml") +
                     "<Override PartName=\"/ppt/theme/theme1.xml\" "
                     "ContentType=\"application/vnd.openxmlformats-officedocument.theme+xml\"/>";
        parts.emplace_back("ppt/slideMasters/slideMaster1.xml",
                           toBytes(std::string(kXmlDecl) + "<p:sldMaster " + namespaces() + ">" + tree + "<p:clrMap " +
                                   clrMap +
                                   "/><p:sldLayoutIdLst><p:sldLayoutId id=\"2147483649\" r:id=\"rId1\"/>"
                                   "</p:sldLayoutIdLst></p:sldMaster>"));
        parts.emplace_back("ppt/slideMasters/_rels/slideMaster1.xml.rels",
                           toBytes(relationshipsXml({{"rId1", "slideLayout", "../slideLayouts/slideLayout1.xml"},
                                                     {"rId2", "theme", "../theme/theme1.xml"}})));
        parts.emplace_back("ppt/slideLayouts/slideLayout1.xml",
                           toBytes(std::string(kXmlDecl) + "<p:sldLayout " + namespaces() + ">" + tree +
                                   master_->layoutAfterCSld + "</p:sldLayout>"));
        parts.emplace_back("ppt/slideLayouts/_rels/slideLayout1.xml.rels",
                           toBytes(relationshipsXml({{"rId1", "slideMaster", "../slideMasters/slideMaster1.xml"}})));
        parts.emplace_back("ppt/theme/theme1.xml", toBytes(master_->theme));
    }

    std::vector<std::pair<std::string, Bytes>> out{
        {"[Content_Types].xml", toBytes(contentTypes + overrides + "</Types>")},
        {"_rels/.rels", toBytes(relationshipsXml({{"rId1", "officeDocument", "ppt/presentation.xml"}}))},
        {"ppt/presentation.xml",
         toBytes(std::string(kXmlDecl) + "<p:presentation " + namespaces() + ">" + masterIds + "<p:sldIdLst>" + sldIds +
                 "</p:sldIdLst><p:sldSz cx=\"12192000\" cy=\"6858000\"/><p:notesSz cx=\"6858000\" cy=\"9144000\"/>" +
                 fontList + "</p:presentation>")},
        {"ppt/_rels/presentation.xml.rels", toBytes(relationshipsXml(presentationRels))}};
    out.insert(out.end(), parts.begin(), parts.end());
    for (const auto& entry : extra_) {
        const auto same = std::find_if(out.begin(), out.end(), [&](const auto& e) { return e.first == entry.first; });
        if (same != out.end()) same->second = entry.second;
        else out.push_back(entry);
    }
    return out;
}

std::filesystem::path DeckBuilder::write(const std::filesystem::path& path) const {
    ZipArchive::create(entries(), path);
    return path;
}

}  // namespace orvandel::test
