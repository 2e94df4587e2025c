#pragma once
// Builders of timing trees in the shape PowerPoint writes, for tests that
// need a main sequence without spelling out every level.
#include <string>

#include "DeckBuilder.hpp"

namespace orvandel::test {

// One effect: its p:cTn attributes, start delay and the dur of its behaviour on shape spid.
inline std::string effect(const std::string& attrs, const std::string& delay, const std::string& dur,
                          const std::string& spid = "2") {
    return "<p:par><p:cTn " + attrs + "><p:stCondLst><p:cond delay=\"" + delay +
           "\"/></p:stCondLst><p:childTnLst><p:set><p:cBhvr><p:cTn dur=\"" + dur + "\"/><p:tgtEl><p:spTgt spid=\"" +
           spid + "\"/></p:tgtEl></p:cBhvr></p:set></p:childTnLst></p:cTn></p:par>";
}

// An effect of shape 2 started the way nodeType says (clickEffect, withEffect,
// afterEffect), of preset class cls when one is given.
inline std::string anim(const std::string& nodeType, const std::string& dur, const std::string& cls = "",
                        const std::string& delay = "0") {
    return effect((cls.empty() ? "" : "presetClass=\"" + cls + "\" ") + "nodeType=\"" + nodeType + "\"", delay, dur);
}

// A media call playing the video, shape 3.
inline std::string mediaCall(const std::string& nodeType, const std::string& dur, const std::string& delay = "0") {
    return effect("presetClass=\"mediacall\" nodeType=\"" + nodeType + "\"", delay, dur, "3");
}

// A whole p:timing in which a click plays shape 3 for durationMs, as the deck's
// own writer times a video or sound that waits for a click.
inline std::string playOnClick(const std::string& durationMs) {
    return "<p:timing><p:tnLst><p:par><p:cTn id=\"1\" dur=\"indefinite\" nodeType=\"tmRoot\"><p:childTnLst><p:seq>"
           "<p:cTn id=\"2\" dur=\"indefinite\" nodeType=\"mainSeq\"><p:childTnLst><p:par><p:cTn id=\"4\"><p:stCondLst>"
           "<p:cond delay=\"indefinite\"/></p:stCondLst><p:childTnLst><p:par><p:cTn id=\"5\"><p:stCondLst><p:cond "
           "delay=\"0\"/></p:stCondLst><p:childTnLst><p:par><p:cTn id=\"6\" presetClass=\"mediacall\" "
           "nodeType=\"clickEffect\"><p:stCondLst><p:cond delay=\"0\"/></p:stCondLst><p:childTnLst><p:cmd "
           "type=\"call\" cmd=\"playFrom(0.0)\"><p:cBhvr><p:cTn id=\"3\" dur=\"" +
           durationMs +
           "\"/><p:tgtEl><p:spTgt spid=\"3\"/></p:tgtEl></p:cBhvr></p:cmd></p:childTnLst></p:cTn></p:par>"
           "</p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:par></p:childTnLst></p:cTn></p:seq><p:video>"
           "<p:cMediaNode><p:cTn id=\"7\"><p:stCondLst><p:cond delay=\"indefinite\"/></p:stCondLst></p:cTn><p:tgtEl>"
           "<p:spTgt spid=\"3\"/></p:tgtEl></p:cMediaNode></p:video></p:childTnLst></p:cTn></p:par></p:tnLst>"
           "</p:timing>";
}

// A click step or a group container holding the given p:par children.
inline std::string node(const std::string& id, const std::string& children) {
    return "<p:par><p:cTn id=\"" + id + "\"><p:stCondLst><p:cond delay=\"indefinite\"/></p:stCondLst><p:childTnLst>" +
           children + "</p:childTnLst></p:cTn></p:par>";
}

// A whole p:timing in which a click on shape `trigger` plays shape 3 (an
// interactive sequence), as the deck's own writer times a trigger.
inline std::string playOnTrigger(const std::string& durationMs, const std::string& trigger = "2") {
    const std::string onClick = "<p:cond evt=\"onClick\" delay=\"0\"><p:tgtEl><p:spTgt spid=\"" + trigger +
                                "\"/></p:tgtEl></p:cond>";
    return "<p:timing><p:tnLst><p:par><p:cTn id=\"1\" dur=\"indefinite\" nodeType=\"tmRoot\"><p:childTnLst>"
           "<p:seq concurrent=\"1\" nextAc=\"seek\"><p:cTn id=\"2\" restart=\"whenNotActive\" fill=\"hold\" "
           "evtFilter=\"cancelBubble\" nodeType=\"interactiveSeq\"><p:stCondLst>" +
           onClick + "</p:stCondLst><p:childTnLst>" + node("3", node("4", mediaCall("clickEffect", durationMs))) +
           "</p:childTnLst></p:cTn><p:nextCondLst>" + onClick +
           "</p:nextCondLst></p:seq></p:childTnLst></p:cTn></p:par></p:tnLst></p:timing>";
}

// A click step holding one group container.
inline std::string step(const std::string& effects) { return node("7", node("8", effects)); }

inline std::string timing(const std::string& steps, const std::string& seqType = "mainSeq",
                          const std::string& more = "") {
    return "<p:timing><p:tnLst><p:par><p:cTn id=\"1\" nodeType=\"tmRoot\"><p:childTnLst><p:seq><p:cTn id=\"2\" "
           "nodeType=\"" +
           seqType + "\"><p:childTnLst>" + steps + "</p:childTnLst></p:cTn></p:seq>" + more +
           "</p:childTnLst></p:cTn></p:par></p:tnLst></p:timing>";
}

// A slide whose shape 2 is a text box and shape 3 a video, timed by timingXml.
inline std::string slide(const std::string& timingXml) { return slideXml(kTextBox + kVideo, timingXml); }

}  // namespace orvandel::test
