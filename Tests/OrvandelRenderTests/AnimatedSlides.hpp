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
                            "</p:cBhvr><p:to><p:strVal val=\"" +
                            (entrance ? "visible" : "hidden") + "\"/></p:to></p:set>";
    return "<p:par><p:cTn presetClass=\"" + std::string(entrance ? "entr" : "exit") + "\" nodeType=\"" + nodeType +
           "\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst>" + set +
           "<p:animEffect filter=\"fade\"><p:cBhvr><p:cTn dur=\"500\"/><p:tgtEl>" + target +
           "</p:tgtEl></p:cBhvr></p:animEffect></p:childTnLst></p:cTn></p:par>";
}

// A click step of one group.
inline std::string click(const std::string& effects) {
    return "<p:par><p:cTn><p:stCondLst><p:cond delay=\"indefinite\"/></p:stCondLst><p:childTnLst><p:par><p:cTn>"
           "<p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst>" +
           effects + "</p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:par>";
}

// What starts with the slide, once its main sequence (cTn 2) begins: `effects`
// in one group, then `after` beside it.
inline std::string opening(const std::string& effects, const std::string& after = "") {
    return "<p:par><p:cTn><p:stCondLst><p:cond delay=\"indefinite\"/><p:cond evt=\"onBegin\" delay=\"0\"><p:tn "
           "val=\"2\"/></p:cond></p:stCondLst><p:childTnLst><p:par><p:cTn><p:stCondLst><p:cond delay=\"0\"/>"
           "</p:stCondLst><p:childTnLst>" +
           effects + "</p:childTnLst></p:cTn></p:par>" + after + "</p:childTnLst></p:cTn></p:par>";
}

// A call that plays video shape `spid` for `dur` ms, `delay` ms after its group starts; `cTnAttrs` on its behaviour.
inline std::string playVideo(const std::string& spid, const std::string& dur, const std::string& delay,
                             const std::string& cTnAttrs = "") {
    return "<p:par><p:cTn presetClass=\"mediacall\" nodeType=\"withEffect\"><p:stCondLst><p:cond delay=\"" + delay +
           "\"/></p:stCondLst><p:childTnLst><p:cmd type=\"call\" cmd=\"playFrom(0.0)\"><p:cBhvr><p:cTn" + cTnAttrs +
           " dur=\"" + dur + "\"/><p:tgtEl>" + shape(spid) +
           "</p:tgtEl></p:cBhvr></p:cmd></p:childTnLst></p:cTn></p:par>";
}

// A paragraph of 28 pt text with its paragraph properties (XML, may be empty).
inline std::string para(const std::string& text, const std::string& pPr = "") {
    return "<a:p>" + (pPr.empty() ? "" : "<a:pPr marL=\"457200\" indent=\"-457200\">" + pPr + "</a:pPr>") +
           "<a:r><a:rPr lang=\"pt-BR\" sz=\"2800\"/><a:t>" + text + "</a:t></a:r></a:p>";
}
inline const std::string kBullet = "<a:buChar char=\"&#8226;\"/>";
inline const std::string kNumbered = "<a:buAutoNum type=\"arabicPeriod\"/>";

// A text box: shape `id`, `y` EMU from the top of a 16:9 slide, full width.
inline std::string textBox(const std::string& id, long y, const std::string& paragraphs) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"" + id + "\" name=\"Caixa " + id +
           "\"/><p:cNvSpPr txBox=\"1\"/><p:nvPr/>"
           "</p:nvSpPr><p:spPr><a:xfrm><a:off x=\"838200\" y=\"" +
           std::to_string(y) +
           "\"/><a:ext cx=\"10515600\" "
           "cy=\"1400000\"/></a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom></p:spPr><p:txBody><a:bodyPr "
           "wrap=\"square\"/><a:lstStyle/>" +
           paragraphs + "</p:txBody></p:sp>";
}

// A title (shape 2) and three bulleted paragraphs (shape 3) that come in on
// three clicks.
inline std::string bulletSlide() {
    return slideXml(textBox("2", 365125, para("Titulo")) +
                        textBox("3", 1825625, para("Um", kBullet) + para("Dois", kBullet) + para("Tres", kBullet)),
                    timing(click(fade("clickEffect", paragraph(0))) + click(fade("clickEffect", paragraph(1))) +
                           click(fade("clickEffect", paragraph(2)))));
}

}  // namespace orvandel::test
