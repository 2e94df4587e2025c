#include "deck/TriggerMedia.hpp"

#include "container/SlideXML.hpp"

#include <map>
#include <optional>
#include <set>
#include <string>

namespace orvandel::TriggerMedia {

namespace {

enum class Medium { video, audio };

bool inInteractiveSequence(XmlElement node) {
    for (; node; node = node.parent()) {
        if (node.is(OOXML::p, "cTn") && node.attribute("nodeType") == "interactiveSeq") return true;
    }
    return false;
}

}  // namespace

Found find(const XmlElement& slide) {
    std::map<std::string, Medium> media;  // shape id -> what it plays
    std::set<std::string> triggered, started;
    slide.walk([&](const XmlElement& e) {
        if (e.is(OOXML::p, "pic")) {
            std::optional<std::string> id;
            std::optional<Medium> medium;
            e.walk([&](const XmlElement& inner) {
                if (!id && inner.is(OOXML::p, "cNvPr")) id = inner.attribute("id");
                if (inner.is(OOXML::a, "videoFile")) medium = Medium::video;
                if (!medium && inner.is(OOXML::a, "audioFile")) medium = Medium::audio;
            });
            if (id && medium) media.emplace(*id, *medium);
            return;
        }
        if (!e.is(OOXML::p, "cTn") || e.attribute("presetClass") != "mediacall") return;
        const bool trigger = inInteractiveSequence(e.parent());
        e.walk([&](const XmlElement& inner) {
            if (!inner.is(OOXML::p, "spTgt")) return;
            if (const auto spid = inner.attribute("spid")) (trigger ? triggered : started).insert(*spid);
        });
    });
    Found found;
    for (const auto& spid : triggered) {
        const auto it = media.find(spid);
        if (it == media.end() || started.contains(spid)) continue;
        (it->second == Medium::video ? found.video : found.audio) = true;
    }
    return found;
}

}  // namespace orvandel::TriggerMedia
