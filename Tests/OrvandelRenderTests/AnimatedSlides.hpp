#pragma once
// Animation timing in the shapes PowerPoint writes, for the render tests:
// fades that show or hide a shape or a paragraph, click steps, and a slide of
// three bullets (paragraphs of shape 3) brought in one click each.
#include <string>

#include "DeckBuilder.hpp"
#include "TimingFixtures.hpp"

namespace orvandel::test {

inline std::string shape(const std::string& spid) { return "<p:spTgt spid=\"" + spid + "\"/>"; }
inline std::string paragraph(int n) {
    return "<p:spTgt spid=\"3\"><p:txEl><p:pRg st=\"" + std::to_string(n) + "\" end=\"" + std::to_string(n) +
           "\"/></p:txEl></p:spTgt>";
}

// An effect as PowerPoint writes it: a fade of 500 ms and the p:set that shows
// the target at the start (entrance) or hides it at the end (exit).
inline std::string fade(const std::string& nodeType, const std::string& target, bool entrance = true) {
    const std::string set = "<p:set><p:cBhvr><p:cTn dur=\"1\" fill=\"hold\"><p:stCondLst><p:cond delay=\"" +
                            std::string(entrance ? "0" : "499") + "\"/></p:stCondLst></p:cTn><p:tgtEl>" + target +
                            "</p:tgtEl><p:attrNameLst><p:attrName>style.visibility</p:attrName></p:attrNameLst>"
                            "</p:cBhvr><p:to><p:strVal val=\"" + (entrance ? "visible" : "hidden") + "\"/></p:to></p:set>";
    return "<p:par><p:cTn presetClass=\"" + std::string(entrance ? "entr" : "exit") + "\" nodeType=\"" + nodeType +
           "\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst>" + set +
           "<p:animEffect filter=\"fade\"><p:cBhvr><p:cTn dur=\"500\"/><p:tgtEl>" + target +
           "</p:tgtEl></p:cBhvr></p:animEffect></p:childTnLst></p:cTn></p:par>";
}

// A click step of one group.
inline std::string click(const std::string& effects) {
    return "<p:par><p:cTn><p:stCondLst><p:cond delay=\"indefinite\"/></p:stCondLst><p:childTnLst><p:par><p:cTn>"
           "<p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst>" + effects +
           "</p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:par>";
}

// Title (shape 2) and three bullets (shape 3) that come in on three clicks.
inline std::string bulletSlide() {
    std::string bullets;
    for (const char* text : {"Um", "Dois", "Tres"}) bullets += std::string("<a:p><a:r><a:t>") + text + "</a:t></a:r></a:p>";
    const std::string shapes =
        "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"T\"/><p:cNvSpPr/><p:nvPr><p:ph type=\"title\"/></p:nvPr></p:nvSpPr>"
        "<p:spPr/><p:txBody><a:bodyPr/><a:p><a:r><a:t>Titulo</a:t></a:r></a:p></p:txBody></p:sp><p:sp><p:nvSpPr>"
        "<p:cNvPr id=\"3\" name=\"B\"/><p:cNvSpPr/><p:nvPr><p:ph idx=\"1\"/></p:nvPr></p:nvSpPr><p:spPr/><p:txBody>"
        "<a:bodyPr/>" + bullets + "</p:txBody></p:sp>";
    return slideXml(shapes, timing(click(fade("clickEffect", paragraph(0))) + click(fade("clickEffect", paragraph(1))) +
                                   click(fade("clickEffect", paragraph(2)))));
}

}  // namespace orvandel::test
