#pragma once
// Decks with a theme, one master and one layout, built in code: for what a
// deck inherits from them (its fonts). Every slide uses the one layout.
#include <string>
#include <vector>

#include "DeckBuilder.hpp"

namespace orvandel::test {

// A theme whose font scheme holds `majorFonts` and `minorFonts` (a:latin,
// a:ea, a:cs and a:font elements, as XML): black text on white.
inline std::string fontThemeXml(const std::string& majorFonts, const std::string& minorFonts) {
    return themeXml("<a:lt1><a:srgbClr val=\"FFFFFF\"/></a:lt1><a:lt2><a:srgbClr val=\"FFFFFF\"/></a:lt2>", majorFonts,
                    minorFonts);
}

// The master: `spTree` shapes and title/body text styles whose first level
// has run properties `titleRun` and `bodyRun` (a:latin and the like).
inline std::string masterXml(const std::string& titleRun, const std::string& bodyRun, const std::string& spTree = "") {
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?><p:sldMaster xmlns:a=\"") + kNsA + "\" xmlns:r=\"" +
           kNsR + "\" xmlns:p=\"" + kNsP +
           "\"><p:cSld><p:bg><p:bgPr><a:solidFill><a:srgbClr val=\"FFFFFF\"/></a:solidFill><a:effectLst/></p:bgPr>"
           "</p:bg><p:spTree><p:nvGrpSpPr><p:cNvPr id=\"1\" name=\"\"/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr>"
           "<p:grpSpPr/>" +
           spTree +
           "</p:spTree></p:cSld><p:clrMap bg1=\"lt1\" tx1=\"dk1\" bg2=\"lt2\" tx2=\"dk2\" accent1=\"accent1\" "
           "accent2=\"accent2\" accent3=\"accent3\" accent4=\"accent4\" accent5=\"accent5\" accent6=\"accent6\" "
           "hlink=\"hlink\" folHlink=\"folHlink\"/><p:sldLayoutIdLst><p:sldLayoutId id=\"2147483649\" "
           "r:id=\"rId1\"/></p:sldLayoutIdLst><p:txStyles><p:titleStyle><a:lvl1pPr><a:defRPr sz=\"4400\">" +
           titleRun + "</a:defRPr></a:lvl1pPr></p:titleStyle><p:bodyStyle><a:lvl1pPr><a:defRPr sz=\"2800\">" + bodyRun +
           "</a:defRPr></a:lvl1pPr></p:bodyStyle><p:otherStyle/></p:txStyles></p:sldMaster>";
}

inline std::string layoutXml(const std::string& spTree = "") {
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?><p:sldLayout xmlns:a=\"") + kNsA + "\" xmlns:r=\"" +
           kNsR + "\" xmlns:p=\"" + kNsP +
           "\" type=\"title\"><p:cSld><p:spTree><p:nvGrpSpPr><p:cNvPr id=\"1\" name=\"\"/><p:cNvGrpSpPr/><p:nvPr/>"
           "</p:nvGrpSpPr><p:grpSpPr/>" +
           spTree + "</p:spTree></p:cSld></p:sldLayout>";
}

// The relationship every slide of a themed deck needs.
inline const Rel kLayoutRel{"rIdLayout", "slideLayout", "../slideLayouts/slideLayout1.xml"};

// Adds the theme, master and layout to a deck of `slides` slides (added
// with kLayoutRel), and the presentation part that lists the master.
inline DeckBuilder& addTheme(DeckBuilder& deck, int slides, const std::string& theme, const std::string& master,
                             const std::string& layout) {
    std::string ids;
    std::vector<Rel> rels{{"rIdMaster", "slideMaster", "slideMasters/slideMaster1.xml"},
                          {"rIdTheme", "theme", "theme/theme1.xml"}};
    for (int i = 1; i <= slides; ++i) {
        ids += "<p:sldId id=\"" + std::to_string(255 + i) + "\" r:id=\"rId" + std::to_string(i) + "\"/>";
        rels.push_back({"rId" + std::to_string(i), "slide", "slides/slide" + std::to_string(i) + ".xml"});
    }
    const std::string ct = "application/vnd.openxmlformats-officedocument.";
    std::string overrides;
    for (int i = 1; i <= slides; ++i) {
        overrides += "<Override PartName=\"/ppt/slides/slide" + std::to_string(i) + ".xml\" ContentType=\"" + ct +
                     "presentationml.slide+xml\"/>";
    }
    return deck
        .addEntry("[Content_Types].xml",
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?><Types "
                  "xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\"><Default Extension=\"rels\" "
                  "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/><Default "
                  "Extension=\"xml\" ContentType=\"application/xml\"/><Override PartName=\"/ppt/presentation.xml\" "
                  "ContentType=\"" +
                      ct +
                      "presentationml.presentation.main+xml\"/><Override "
                      "PartName=\"/ppt/slideMasters/slideMaster1.xml\" ContentType=\"" +
                      ct +
                      "presentationml.slideMaster+xml\"/><Override PartName=\"/ppt/slideLayouts/slideLayout1.xml\" "
                      "ContentType=\"" +
                      ct +
                      "presentationml.slideLayout+xml\"/><Override PartName=\"/ppt/theme/theme1.xml\" ContentType=\"" +
                      ct + "theme+xml\"/>" + overrides + "</Types>")
        .addEntry("ppt/presentation.xml",
                  std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?><p:presentation xmlns:a=\"") + kNsA +
                      "\" xmlns:r=\"" + kNsR + "\" xmlns:p=\"" + kNsP +
                      "\"><p:sldMasterIdLst><p:sldMasterId id=\"2147483648\" r:id=\"rIdMaster\"/></p:sldMasterIdLst>"
                      "<p:sldIdLst>" +
                      ids +
                      "</p:sldIdLst><p:sldSz cx=\"12192000\" cy=\"6858000\"/><p:notesSz cx=\"6858000\" "
                      "cy=\"9144000\"/></p:presentation>")
        .addEntry("ppt/_rels/presentation.xml.rels", relationshipsXml(rels))
        .addEntry("ppt/theme/theme1.xml", theme)
        .addEntry("ppt/slideMasters/slideMaster1.xml", master)
        .addEntry("ppt/slideMasters/_rels/slideMaster1.xml.rels",
                  relationshipsXml({{"rId1", "slideLayout", "../slideLayouts/slideLayout1.xml"},
                                    {"rId2", "theme", "../theme/theme1.xml"}}))
        .addEntry("ppt/slideLayouts/slideLayout1.xml", layout)
        .addEntry("ppt/slideLayouts/_rels/slideLayout1.xml.rels",
                  relationshipsXml({{"rId1", "slideMaster", "../slideMasters/slideMaster1.xml"}}));
}

}  // namespace orvandel::test
