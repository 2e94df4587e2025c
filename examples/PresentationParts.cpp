#include "PresentationParts.hpp"

#include "container/XMLEmitter.hpp"

namespace orvandel::example {

const char* const kPmlNamespaces = "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" "
                                   "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\" "
                                   "xmlns:p=\"http://schemas.openxmlformats.org/presentationml/2006/main\"";

namespace {

const std::string kGroupShape =
    "<p:nvGrpSpPr><p:cNvPr id=\"1\" name=\"\"/><p:cNvGrpSpPr/><p:nvPr/></p:nvGrpSpPr><p:grpSpPr><a:xfrm>"
    "<a:off x=\"0\" y=\"0\"/><a:ext cx=\"0\" cy=\"0\"/><a:chOff x=\"0\" y=\"0\"/><a:chExt cx=\"0\" cy=\"0\"/>"
    "</a:xfrm></p:grpSpPr>";

const std::string kColorMap =
    "<p:clrMap bg1=\"lt1\" tx1=\"dk1\" bg2=\"lt2\" tx2=\"dk2\" accent1=\"accent1\" accent2=\"accent2\" "
    "accent3=\"accent3\" accent4=\"accent4\" accent5=\"accent5\" accent6=\"accent6\" hlink=\"hlink\" "
    "folHlink=\"folHlink\"/>";

std::string xfrm(long x, long y, long cx, long cy) {
    return "<a:xfrm><a:off x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\"/><a:ext cx=\"" +
           std::to_string(cx) + "\" cy=\"" + std::to_string(cy) + "\"/></a:xfrm>";
}

// A placeholder shape; `ph` is the whole <p:ph .../> element.
std::string placeholder(int id, const std::string& name, const std::string& ph, const std::string& geometry,
                        const std::string& bodyPr, const std::string& prompt, const std::string& lstStyle = "") {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + std::to_string(id) + "\" name=\"" + name +
           "\"/><p:cNvSpPr><a:spLocks noGrp=\"1\"/></p:cNvSpPr><p:nvPr>" + ph + "</p:nvPr></p:nvSpPr><p:spPr>" +
           geometry + "</p:spPr><p:txBody>" + bodyPr + "<a:lstStyle>" + lstStyle +
           "</a:lstStyle><a:p><a:r>"
           "<a:rPr lang=\"pt-BR\"/><a:t>" +
           prompt + "</a:t></a:r><a:endParaRPr lang=\"pt-BR\"/></a:p></p:txBody></p:sp>";
}

std::string rect(long x, long y, long cx, long cy) {
    return xfrm(x, y, cx, cy) + "<a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom>";
}

std::string defRPr(int size, const std::string& color, const std::string& font) {
    return "<a:defRPr sz=\"" + std::to_string(size) + "\" kern=\"1200\"><a:solidFill><a:schemeClr val=\"" + color +
           "\"/></a:solidFill><a:latin typeface=\"+" + font + "-lt\"/><a:ea typeface=\"+" + font +
           "-ea\"/><a:cs typeface=\"+" + font + "-cs\"/></a:defRPr>";
}

std::string level(int n, long marL, long indent, const std::string& spacingAndBullet, const std::string& rPr) {
    const std::string tag = "a:lvl" + std::to_string(n) + "pPr";
    return "<" + tag + " marL=\"" + std::to_string(marL) + "\" indent=\"" + std::to_string(indent) +
           "\" algn=\"l\" defTabSz=\"914400\" rtl=\"0\" eaLnBrk=\"1\" latinLnBrk=\"0\" hangingPunct=\"1\">" +
           spacingAndBullet + rPr + "</" + tag + ">";
}

// A decorative band along the bottom of every slide, in the accent colour.
const std::string kBand =
    "<p:sp><p:nvSpPr><p:cNvPr id=\"4\" name=\"Faixa\"/><p:cNvSpPr/><p:nvPr userDrawn=\"1\"/></p:nvSpPr><p:spPr>" +
    rect(0, 6583680, 12192000, 274320) +
    "<a:solidFill><a:schemeClr val=\"accent1\"/></a:solidFill><a:ln><a:noFill/></a:ln></p:spPr>"
    "<p:txBody><a:bodyPr/><a:lstStyle/><a:p><a:endParaRPr lang=\"pt-BR\"/></a:p></p:txBody></p:sp>";

const std::string kLayoutTail = "<p:clrMapOvr><a:masterClrMapping/></p:clrMapOvr>";

}  // namespace

std::string theme(std::string_view name) {
    const std::string n = XMLEmitter::escapeAttribute(name);
    const auto color = [](const char* slot, const char* rgb) {
        return std::string("<a:") + slot + "><a:srgbClr val=\"" + rgb + "\"/></a:" + slot + ">";
    };
    const auto line = [](int width) {
        return "<a:ln w=\"" + std::to_string(width) +
               "\" cap=\"flat\" cmpd=\"sng\" algn=\"ctr\"><a:solidFill><a:schemeClr val=\"phClr\"/></a:solidFill>"
               "<a:prstDash val=\"solid\"/><a:miter lim=\"800000\"/></a:ln>";
    };
    const std::string solid = "<a:solidFill><a:schemeClr val=\"phClr\"/></a:solidFill>";
    const std::string tinted =
        "<a:solidFill><a:schemeClr val=\"phClr\"><a:tint val=\"95000\"/><a:satMod val=\"170000\"/></a:schemeClr>"
        "</a:solidFill>";
    const std::string shaded =
        "<a:solidFill><a:schemeClr val=\"phClr\"><a:shade val=\"90000\"/><a:satMod val=\"120000\"/></a:schemeClr>"
        "</a:solidFill>";
    const std::string fonts = "<a:ea typeface=\"\"/><a:cs typeface=\"\"/>";
    return std::string(kXmlDecl) +
           "<a:theme xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" name=\"" + n +
           "\"><a:themeElements><a:clrScheme name=\"" + n +
           "\"><a:dk1><a:sysClr val=\"windowText\" lastClr=\"000000\"/></a:dk1>"
           "<a:lt1><a:sysClr val=\"window\" lastClr=\"FFFFFF\"/></a:lt1>" +
           color("dk2", "1B4332") + color("lt2", "EEF6EA") + color("accent1", "2D6A4F") + color("accent2", "F4A261") +
           color("accent3", "40916C") + color("accent4", "E9C46A") + color("accent5", "277DA1") +
           color("accent6", "C8553D") + color("hlink", "1D70B8") + color("folHlink", "7B4B94") +
           "</a:clrScheme><a:fontScheme name=\"" + n + "\"><a:majorFont><a:latin typeface=\"Calibri Light\"/>" + fonts +
           "</a:majorFont><a:minorFont><a:latin typeface=\"Calibri\"/>" + fonts +
           "</a:minorFont></a:fontScheme><a:fmtScheme name=\"" + n + "\"><a:fillStyleLst>" + solid + tinted + shaded +
           "</a:fillStyleLst><a:lnStyleLst>" + line(6350) + line(12700) + line(19050) +
           "</a:lnStyleLst><a:effectStyleLst><a:effectStyle><a:effectLst/></a:effectStyle><a:effectStyle>"
           "<a:effectLst/></a:effectStyle><a:effectStyle><a:effectLst/></a:effectStyle></a:effectStyleLst>"
           "<a:bgFillStyleLst>" +
           solid + tinted + shaded +
           "</a:bgFillStyleLst></a:fmtScheme></a:themeElements><a:objectDefaults/><a:extraClrSchemeLst/></a:theme>";
}

std::string slideMaster() {
    const std::string bodyBullet =
        "<a:lnSpc><a:spcPct val=\"90000\"/></a:lnSpc><a:spcBef><a:spcPts val=\"1000\"/></a:spcBef>"
        "<a:buClr><a:schemeClr val=\"accent1\"/></a:buClr><a:buFont typeface=\"Arial\"/><a:buChar char=\"&#8226;\"/>";
    const std::string otherLevel =
        "<a:lvl1pPr marL=\"0\" algn=\"l\" defTabSz=\"914400\" rtl=\"0\" eaLnBrk=\"1\" latinLnBrk=\"0\" "
        "hangingPunct=\"1\">" +
        defRPr(1800, "tx1", "mn") + "</a:lvl1pPr>";
    return std::string(kXmlDecl) + "<p:sldMaster " + kPmlNamespaces +
           "><p:cSld><p:bg><p:bgRef idx=\"1001\"><a:schemeClr val=\"bg1\"/></p:bgRef></p:bg><p:spTree>" + kGroupShape +
           placeholder(
               2, "Espaço Reservado para Título 1", "<p:ph type=\"title\"/>", rect(838200, 365125, 10515600, 1325563),
               "<a:bodyPr vert=\"horz\" lIns=\"91440\" tIns=\"45720\" rIns=\"91440\" bIns=\"45720\" rtlCol=\"0\" "
               "anchor=\"ctr\"><a:normAutofit/></a:bodyPr>",
               "Clique para editar o título") +
           placeholder(
               3, "Espaço Reservado para Texto 2", "<p:ph type=\"body\" idx=\"1\"/>",
               rect(838200, 1825625, 10515600, 4351338),
               "<a:bodyPr vert=\"horz\" lIns=\"91440\" tIns=\"45720\" rIns=\"91440\" bIns=\"45720\" rtlCol=\"0\">"
               "<a:normAutofit/></a:bodyPr>",
               "Clique para editar o texto") +
           kBand + "</p:spTree></p:cSld>" + kColorMap +
           "<p:sldLayoutIdLst><p:sldLayoutId id=\"2147483649\" r:id=\"rId1\"/><p:sldLayoutId id=\"2147483650\" "
           "r:id=\"rId2\"/></p:sldLayoutIdLst><p:txStyles><p:titleStyle><a:lvl1pPr algn=\"l\" defTabSz=\"914400\" "
           "rtl=\"0\" eaLnBrk=\"1\" latinLnBrk=\"0\" hangingPunct=\"1\"><a:lnSpc><a:spcPct val=\"90000\"/></a:lnSpc>"
           "<a:spcBef><a:spcPct val=\"0\"/></a:spcBef><a:buNone/>" +
           defRPr(4400, "tx2", "mj") + "</a:lvl1pPr></p:titleStyle><p:bodyStyle>" +
           level(1, 228600, -228600, bodyBullet, defRPr(2800, "tx1", "mn")) +
           level(2, 685800, -228600, bodyBullet, defRPr(2400, "tx1", "mn")) +
           level(3, 1143000, -228600, bodyBullet, defRPr(2000, "tx1", "mn")) +
           "</p:bodyStyle><p:otherStyle><a:defPPr><a:defRPr lang=\"pt-BR\"/></a:defPPr>" + otherLevel +
           "</p:otherStyle></p:txStyles></p:sldMaster>";
}

std::string titleLayout() {
    return std::string(kXmlDecl) + "<p:sldLayout " + kPmlNamespaces +
           " type=\"title\" preserve=\"1\"><p:cSld name=\"Slide de Título\"><p:spTree>" + kGroupShape +
           placeholder(2, "Título 1", "<p:ph type=\"ctrTitle\"/>", xfrm(1524000, 1122363, 9144000, 2387600),
                       "<a:bodyPr anchor=\"b\"><a:normAutofit/></a:bodyPr>", "Clique para editar o título",
                       "<a:lvl1pPr algn=\"ctr\"><a:defRPr sz=\"6000\"/></a:lvl1pPr>") +
           placeholder(3, "Subtítulo 2", "<p:ph type=\"subTitle\" idx=\"1\"/>",
                       xfrm(1524000, 3602038, 9144000, 1655762), "<a:bodyPr><a:normAutofit/></a:bodyPr>",
                       "Clique para editar o subtítulo",
                       "<a:lvl1pPr marL=\"0\" indent=\"0\" algn=\"ctr\"><a:buNone/><a:defRPr sz=\"2400\">"
                       "<a:solidFill><a:schemeClr val=\"accent1\"/></a:solidFill></a:defRPr></a:lvl1pPr>") +
           "</p:spTree></p:cSld>" + kLayoutTail + "</p:sldLayout>";
}

std::string contentLayout() {
    return std::string(kXmlDecl) + "<p:sldLayout " + kPmlNamespaces +
           " type=\"obj\" preserve=\"1\"><p:cSld name=\"Título e Conteúdo\"><p:spTree>" + kGroupShape +
           placeholder(2, "Título 1", "<p:ph type=\"title\"/>", "", "<a:bodyPr/>", "Clique para editar o título") +
           placeholder(3, "Espaço Reservado para Conteúdo 2", "<p:ph idx=\"1\"/>", "", "<a:bodyPr/>",
                       "Clique para editar o texto") +
           "</p:spTree></p:cSld>" + kLayoutTail + "</p:sldLayout>";
}

std::string notesMaster() {
    return std::string(kXmlDecl) + "<p:notesMaster " + kPmlNamespaces +
           "><p:cSld><p:bg><p:bgRef idx=\"1001\"><a:schemeClr val=\"bg1\"/></p:bgRef></p:bg><p:spTree>" + kGroupShape +
           "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"Espaço Reservado para Imagem de Slide 1\"/><p:cNvSpPr>"
           "<a:spLocks noGrp=\"1\" noRot=\"1\" noChangeAspect=\"1\"/></p:cNvSpPr><p:nvPr><p:ph type=\"sldImg\" "
           "idx=\"2\"/></p:nvPr></p:nvSpPr><p:spPr>" +
           rect(685800, 1143000, 5486400, 3086100) +
           "<a:noFill/><a:ln w=\"12700\"><a:solidFill><a:prstClr val=\"black\"/></a:solidFill></a:ln></p:spPr></p:sp>" +
           placeholder(
               3, "Espaço Reservado para Anotações 2", "<p:ph type=\"body\" sz=\"quarter\" idx=\"3\"/>",
               rect(685800, 4400550, 5486400, 3600450),
               "<a:bodyPr vert=\"horz\" lIns=\"91440\" tIns=\"45720\" rIns=\"91440\" bIns=\"45720\" rtlCol=\"0\"/>",
               "Clique para editar as anotações") +
           "</p:spTree></p:cSld>" + kColorMap +
           "<p:notesStyle><a:lvl1pPr marL=\"0\" algn=\"l\" defTabSz=\"914400\" rtl=\"0\" eaLnBrk=\"1\" "
           "latinLnBrk=\"0\" hangingPunct=\"1\">" +
           defRPr(1200, "tx1", "mn") + "</a:lvl1pPr></p:notesStyle></p:notesMaster>";
}

std::string presentationProperties() { return std::string(kXmlDecl) + "<p:presentationPr " + kPmlNamespaces + "/>"; }

std::string viewProperties() {
    return std::string(kXmlDecl) + "<p:viewPr " + kPmlNamespaces +
           "><p:normalViewPr><p:restoredLeft sz=\"15620\"/><p:restoredTop sz=\"94660\"/></p:normalViewPr>"
           "<p:gridSpacing cx=\"72008\" cy=\"72008\"/></p:viewPr>";
}

std::string tableStyles() {
    return std::string(kXmlDecl) + "<a:tblStyleLst xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" "
                                   "def=\"{5C22544A-7EE6-4342-B048-85BDC9FD1C3A}\"/>";
}

}  // namespace orvandel::example
