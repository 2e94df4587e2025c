#pragma once
// A chart part and a diagram (data and drawing parts) built in code, with the
// graphic frames that show them and the build targets that name their parts,
// for the tests of charts and diagrams built part by part.
#include <string>

#include "DeckBuilder.hpp"

namespace orvandel::test {

// A column chart of `series` series over `categories` categories, value
// (s + 1) * 10 + c, with axes and a legend and no gridlines.
inline std::string columnChartXml(int series, int categories) {
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><c:chartSpace xmlns:c=\"http://schemas."
        "openxmlformats.org/drawingml/2006/chart\" xmlns:a=\"" +
        std::string(kNsA) + "\" xmlns:r=\"" + kNsR +
        "\"><c:chart><c:autoTitleDeleted val=\"1\"/><c:plotArea><c:layout/><c:barChart><c:barDir val=\"col\"/>"
        "<c:grouping val=\"clustered\"/>";
    const char* colors[] = {"1F4E79", "C00000", "375623", "7030A0"};
    for (int s = 0; s < series; ++s) {
        out += "<c:ser><c:idx val=\"" + std::to_string(s) + "\"/><c:order val=\"" + std::to_string(s) +
               "\"/><c:tx><c:v>S" + std::to_string(s + 1) + "</c:v></c:tx><c:spPr><a:solidFill><a:srgbClr val=\"" +
               colors[s % 4] + "\"/></a:solidFill></c:spPr><c:cat><c:strLit><c:ptCount val=\"" +
               std::to_string(categories) + "\"/>";
        for (int c = 0; c < categories; ++c) {
            out += "<c:pt idx=\"" + std::to_string(c) + "\"><c:v>C" + std::to_string(c + 1) + "</c:v></c:pt>";
        }
        out += "</c:strLit></c:cat><c:val><c:numLit><c:ptCount val=\"" + std::to_string(categories) + "\"/>";
        for (int c = 0; c < categories; ++c) {
            out += "<c:pt idx=\"" + std::to_string(c) + "\"><c:v>" + std::to_string((s + 1) * 10 + c) + "</c:v></c:pt>";
        }
        out += "</c:numLit></c:val></c:ser>";
    }
    return out + "<c:axId val=\"1\"/><c:axId val=\"2\"/></c:barChart><c:catAx><c:axId val=\"1\"/><c:scaling>"
                 "<c:orientation val=\"minMax\"/></c:scaling><c:delete val=\"0\"/><c:axPos val=\"b\"/><c:crossAx "
                 "val=\"2\"/></c:catAx><c:valAx><c:axId val=\"2\"/><c:scaling><c:orientation val=\"minMax\"/><c:max "
                 "val=\"50\"/><c:min val=\"0\"/></c:scaling><c:delete val=\"0\"/><c:axPos val=\"l\"/><c:crossAx "
                 "val=\"1\"/></c:valAx></c:plotArea><c:legend><c:legendPos val=\"r\"/></c:legend>"
                 "<c:plotVisOnly val=\"1\"/></c:chart></c:chartSpace>";
}

// A graphic frame, shape `id`, over the slide below a title; `graphicData`
// is what it shows.
inline std::string graphicFrame(const std::string& id, const std::string& graphicData) {
    return "<p:graphicFrame><p:nvGraphicFramePr><p:cNvPr id=\"" + id + "\" name=\"Grafico " + id +
           "\"/><p:cNvGraphicFramePr/><p:nvPr/></p:nvGraphicFramePr><p:xfrm><a:off x=\"838200\" y=\"1600200\"/>"
           "<a:ext cx=\"10515600\" cy=\"4800000\"/></p:xfrm><a:graphic>" +
           graphicData + "</a:graphic></p:graphicFrame>";
}

inline std::string chartFrame(const std::string& id, const std::string& relId) {
    return graphicFrame(id, "<a:graphicData uri=\"http://schemas.openxmlformats.org/drawingml/2006/chart\"><c:chart "
                            "xmlns:c=\"http://schemas.openxmlformats.org/drawingml/2006/chart\" r:id=\"" +
                                relId + "\"/></a:graphicData>");
}

// The diagram of a frame whose data part is relationship rIdD.
inline std::string diagramFrame(const std::string& id) {
    return graphicFrame(id,
                        "<a:graphicData uri=\"http://schemas.openxmlformats.org/drawingml/2006/diagram\"><dgm:relIds "
                        "xmlns:dgm=\"http://schemas.openxmlformats.org/drawingml/2006/diagram\" r:dm=\"rIdD\" "
                        "r:lo=\"rIdL\" r:qs=\"rIdQ\" r:cs=\"rIdC\"/></a:graphicData>");
}

// A list of `boxes` boxes: element i is node {N<i>}, drawn by the shape of
// its presentation point {P<i>}. The drawing is slide relationship rIdW.
inline std::string diagramDataXml(int boxes) {
    std::string points = "<dgm:pt modelId=\"{DOC}\" type=\"doc\"><dgm:prSet/><dgm:spPr/></dgm:pt>", links;
    for (int i = 0; i < boxes; ++i) {
        const std::string n = std::to_string(i);
        points += "<dgm:pt modelId=\"{N" + n + "}\"><dgm:prSet/><dgm:spPr/><dgm:t><a:bodyPr/><a:p><a:r><a:t>Item " + n +
                  "</a:t></a:r></a:p></dgm:t></dgm:pt><dgm:pt modelId=\"{P" + n +
                  "}\" type=\"pres\"><dgm:prSet "
                  "presAssocID=\"{N" +
                  n + "}\" presName=\"node\"/><dgm:spPr/></dgm:pt>";
        links += "<dgm:cxn modelId=\"{X" + n + "}\" srcId=\"{DOC}\" destId=\"{N" + n + "}\" srcOrd=\"" + n +
                 "\" destOrd=\"0\"/>";
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><dgm:dataModel xmlns:dgm=\"http://schemas."
           "openxmlformats.org/drawingml/2006/diagram\" xmlns:a=\"" +
           std::string(kNsA) + "\"><dgm:ptLst>" + points + "</dgm:ptLst><dgm:cxnLst>" + links +
           "</dgm:cxnLst><dgm:bg/><dgm:whole/><dgm:extLst><a:ext uri=\"http://"
           "schemas.microsoft.com/office/drawing/2008/diagram\"><dsp:dataModelExt xmlns:dsp=\"http://schemas.microsoft"
           ".com/office/drawing/2008/diagram\" relId=\"rIdW\" minVer=\"http://schemas.openxmlformats.org/drawingml/"
           "2006/diagram\"/></a:ext></dgm:extLst></dgm:dataModel>";
}

// The boxes one above the other, or in rows of `columns`, dark with white text.
inline std::string diagramDrawingXml(int boxes, int columns = 1) {
    std::string shapes;
    for (int i = 0; i < boxes; ++i) {
        const int x = columns == 1 ? 0 : (i % columns) * 3500000,
                  y = (i / columns) * (columns == 1 ? 1500000 : 1800000);
        shapes +=
            "<dsp:sp modelId=\"{P" + std::to_string(i) +
            "}\"><dsp:nvSpPr><dsp:cNvPr id=\"0\" name=\"\"/>"
            "<dsp:cNvSpPr/></dsp:nvSpPr><dsp:spPr><a:xfrm><a:off x=\"" +
            std::to_string(x) + "\" y=\"" + std::to_string(y) + "\"/><a:ext cx=\"" +
            (columns == 1 ? "6000000" : "3000000") +
            "\" cy=\"1200000\"/></a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom>"
            "<a:solidFill><a:srgbClr val=\"1F4E79\"/></a:solidFill></dsp:spPr><dsp:txBody><a:bodyPr/><a:lstStyle/>"
            "<a:p><a:r><a:rPr lang=\"pt-BR\" sz=\"2400\"><a:solidFill><a:srgbClr val=\"FFFFFF\"/></a:solidFill>"
            "</a:rPr><a:t>Item " +
            std::to_string(i) + "</a:t></a:r></a:p></dsp:txBody></dsp:sp>";
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><dsp:drawing xmlns:dgm=\"http://schemas."
           "openxmlformats.org/drawingml/2006/diagram\" xmlns:dsp=\"http://schemas.microsoft.com/office/drawing/2008/"
           "diagram\" xmlns:a=\"" +
           std::string(kNsA) +
           "\"><dsp:spTree><dsp:nvGrpSpPr><dsp:cNvPr id=\"0\" name=\"\"/>"
           "<dsp:cNvGrpSpPr/></dsp:nvGrpSpPr><dsp:grpSpPr/>" +
           shapes + "</dsp:spTree></dsp:drawing>";
}

// The diagram's layout, style and colours: empty, the drawing shows it.
inline std::vector<std::pair<std::string, std::string>> diagramDefinitionParts() {
    const std::string ns = " xmlns:dgm=\"http://schemas.openxmlformats.org/drawingml/2006/diagram\"";
    return {{"ppt/diagrams/layout1.xml", "<dgm:layoutDef" + ns + "><dgm:layoutNode name=\"root\"/></dgm:layoutDef>"},
            {"ppt/diagrams/quickStyle1.xml", "<dgm:styleDef" + ns + "/>"},
            {"ppt/diagrams/colors1.xml", "<dgm:colorsDef" + ns + "/>"}};
}

// The slide relationships of a diagram whose parts are ppt/diagrams/<part>1.xml.
inline std::vector<Rel> diagramRelationships() {
    return {{"rIdD", "diagramData", "../diagrams/data1.xml"},
            {"rIdL", "diagramLayout", "../diagrams/layout1.xml"},
            {"rIdQ", "diagramQuickStyle", "../diagrams/quickStyle1.xml"},
            {"rIdC", "diagramColors", "../diagrams/colors1.xml"},
            {"rIdW", "http://schemas.microsoft.com/office/2007/relationships/diagramDrawing",
             "../diagrams/drawing1.xml"}};
}

// Build targets: series n / category n of chart shape `spid`, element n of a diagram.
inline std::string chartPart(const std::string& spid, const std::string& step, int series, int category) {
    return "<p:spTgt spid=\"" + spid + "\"><p:graphicEl><a:chart seriesIdx=\"" + std::to_string(series) +
           "\" categoryIdx=\"" + std::to_string(category) + "\" bldStep=\"" + step + "\"/></p:graphicEl></p:spTgt>";
}
inline std::string diagramPart(const std::string& spid, int n) {
    return "<p:spTgt spid=\"" + spid + "\"><p:graphicEl><a:dgm id=\"{N" + std::to_string(n) +
           "}\"/></p:graphicEl></p:spTgt>";
}

}  // namespace orvandel::test
