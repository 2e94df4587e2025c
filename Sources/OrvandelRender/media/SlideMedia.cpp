#include "media/SlideMedia.hpp"

#include <algorithm>
#include <functional>
#include <map>

#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "container/XmlElement.hpp"
#include "deck/DeckModel.hpp"

namespace orvandel::SlideMedia {

namespace {

std::map<std::string, Relationship> relationships(std::string_view relsXml) {
    if (relsXml.empty()) return {};
    try {
        return Relationships::byId(Relationships::parse(relsXml));
    } catch (const XmlParseError&) {
        // Unreadable relationships: no media can be found behind the shapes.
        return {};
    }
}

XmlElement child(const XmlElement& e, std::string_view name) { return e ? e.firstChildElement(name) : XmlElement(); }

std::int64_t number(const XmlElement& e, std::string_view name, std::int64_t fallback = 0) {
    if (!e) return fallback;
    const auto text = e.attribute(name);
    return text ? parseInt64(*text).value_or(fallback) : fallback;
}

// The offset and scale of a group: child coordinates to the group's parent's.
struct Group {
    std::int64_t x, y, cx, cy, chX, chY, chCx, chCy;
    std::int64_t mapX(std::int64_t v) const { return x + (chCx > 0 ? (v - chX) * cx / chCx : v - chX); }
    std::int64_t mapY(std::int64_t v) const { return y + (chCy > 0 ? (v - chY) * cy / chCy : v - chY); }
    std::int64_t scaleX(std::int64_t v) const { return chCx > 0 ? v * cx / chCx : v; }
    std::int64_t scaleY(std::int64_t v) const { return chCy > 0 ? v * cy / chCy : v; }
};

Group groupOf(const XmlElement& grpSp) {
    const auto xfrm = child(child(grpSp, "p:grpSpPr"), "a:xfrm");
    const auto off = child(xfrm, "a:off"), ext = child(xfrm, "a:ext");
    const auto chOff = child(xfrm, "a:chOff"), chExt = child(xfrm, "a:chExt");
    return {number(off, "x"),   number(off, "y"),   number(ext, "cx"),   number(ext, "cy"),
            number(chOff, "x"), number(chOff, "y"), number(chExt, "cx"), number(chExt, "cy")};
}

// What the slide's timing says of each media shape: volume and loop.
struct Playback {
    std::int64_t volume = 100000;
    bool loops = false;
};

std::map<std::string, Playback> playbacks(const XmlElement& sld) {
    std::map<std::string, Playback> out;
    const auto timing = child(sld, "p:timing");
    if (!timing) return out;
    timing.walk([&](const XmlElement& e) {
        if (e.name() != "p:cMediaNode") return;
        const auto spTgt = child(child(e, "p:tgtEl"), "p:spTgt");
        const auto spid = spTgt ? spTgt.attribute("spid") : std::nullopt;
        if (!spid) return;
        Playback p;
        // An absent volume is full volume, as the deck's own player plays it.
        p.volume = e.attribute("mute") == "1" ? 0 : std::clamp<std::int64_t>(number(e, "vol", 100000), 0, 100000);
        p.loops = child(e, "p:cTn").attribute("repeatCount") == "indefinite";
        out[*spid] = p;
    });
    return out;
}

bool endsWithGif(std::string_view target) { return asciiLowercased(target).ends_with(".gif"); }

class Finder {
public:
    Finder(std::map<std::string, Relationship> rels, std::map<std::string, Playback> playbacks, std::string_view part)
        : rels_(std::move(rels)), playbacks_(std::move(playbacks)), part_(part) {}

    void walk(const XmlElement& tree, std::vector<Group>& groups) {
        for (const auto& e : tree.childElements()) {
            const std::string name = e.name();
            if (name == "p:grpSp") {
                groups.push_back(groupOf(e));
                walk(e, groups);
                groups.pop_back();
            } else if (name == "mc:AlternateContent") {
                // The first choice is what a current reader draws.
                const auto choice = child(e, "mc:Choice");
                walk(choice ? choice : child(e, "mc:Fallback"), groups);
            } else if (name == "p:pic") {
                picture(e, groups);
            }
        }
    }

    std::vector<SlideMedium> media;

private:
    void picture(const XmlElement& pic, const std::vector<Group>& groups) {
        SlideMedium m;
        const auto nvPicPr = child(pic, "p:nvPicPr");
        m.shapeId = child(nvPicPr, "p:cNvPr").attribute("id").value_or("");
        const auto nvPr = child(nvPicPr, "p:nvPr");
        const auto video = child(nvPr, "a:videoFile"), wav = child(nvPr, "a:wavAudioFile");
        const auto audio = wav ? wav : child(nvPr, "a:audioFile");
        XmlElement embedded;
        if (const auto extLst = child(nvPr, "p:extLst")) {
            for (const auto& ext : extLst.childElements("p:ext")) {
                if (const auto media = child(ext, "p14:media")) embedded = media;
            }
        }
        const auto blip = child(child(pic, "p:blipFill"), "a:blip");
        if (video || audio) {
            m.kind = video ? SlideMedium::Kind::video : SlideMedium::Kind::audio;
            // The embedded part first; the link is the older readers' way to it.
            if (!locate(embedded ? embedded.attribute("r:embed") : std::nullopt, m)) {
                // A WAV sound is embedded in the deck, anything else linked.
                locate((video ? video : audio).attribute(wav && !video ? "r:embed" : "r:link"), m);
            }
            if (const auto trim = child(embedded, "p14:trim")) {
                m.trimStartMs = wholeMs(trim.attribute("st").value_or("0")).value_or(0);
                m.trimEndMs = wholeMs(trim.attribute("end").value_or("0")).value_or(0);
            }
            if (const auto it = playbacks_.find(m.shapeId); it != playbacks_.end()) {
                m.volume = it->second.volume;
                m.loops = it->second.loops;
            }
        } else {
            const auto id = blip ? blip.attribute("r:embed") : std::nullopt;
            const auto rel = id ? rels_.find(*id) : rels_.end();
            if (rel == rels_.end() || rel->second.external() || !endsWithGif(rel->second.target)) return;
            m.kind = SlideMedium::Kind::gif;
            m.entry = Relationships::resolveEntry(rel->second.target, part_);
        }
        if (m.entry.empty() && m.externalTarget.empty()) return;

        const auto xfrm = child(child(pic, "p:spPr"), "a:xfrm");
        const auto off = child(xfrm, "a:off"), ext = child(xfrm, "a:ext");
        m.xEmu = number(off, "x");
        m.yEmu = number(off, "y");
        m.widthEmu = number(ext, "cx");
        m.heightEmu = number(ext, "cy");
        for (auto g = groups.rbegin(); g != groups.rend(); ++g) {
            m.xEmu = g->mapX(m.xEmu);
            m.yEmu = g->mapY(m.yEmu);
            m.widthEmu = g->scaleX(m.widthEmu);
            m.heightEmu = g->scaleY(m.heightEmu);
        }
        m.rotation = number(xfrm, "rot");
        m.flipH = xfrm && xfrm.attribute("flipH") == "1";
        m.flipV = xfrm && xfrm.attribute("flipV") == "1";
        if (const auto crop = child(child(pic, "p:blipFill"), "a:srcRect")) {
            m.cropLeft = std::clamp<std::int64_t>(number(crop, "l"), 0, 99000);
            m.cropTop = std::clamp<std::int64_t>(number(crop, "t"), 0, 99000);
            m.cropRight = std::clamp<std::int64_t>(number(crop, "r"), 0, 99000 - m.cropLeft);
            m.cropBottom = std::clamp<std::int64_t>(number(crop, "b"), 0, 99000 - m.cropTop);
        }
        media.push_back(std::move(m));
    }

    bool locate(const std::optional<std::string>& id, SlideMedium& m) const {
        const auto rel = id ? rels_.find(*id) : rels_.end();
        if (rel == rels_.end() || rel->second.target.empty()) return false;
        if (rel->second.external()) {
            m.externalTarget = rel->second.target;
        } else {
            m.entry = Relationships::resolveEntry(rel->second.target, part_);
        }
        return true;
    }

    std::map<std::string, Relationship> rels_;
    std::map<std::string, Playback> playbacks_;
    std::string part_;
};

}  // namespace

std::optional<std::int64_t> wholeMs(std::string_view text) { return roundedDecimal(text, 0); }

std::vector<SlideMedium> find(std::string_view slideXml, std::string_view relsXml, std::string_view slidePart) {
    XmlElement sld;
    try {
        sld = XmlElement::parseDocument(slideXml);
    } catch (const XmlParseError&) {
        return {};
    }
    Finder finder(relationships(relsXml), playbacks(sld), slidePart);
    std::vector<Group> groups;
    if (const auto tree = child(child(sld, "p:cSld"), "p:spTree")) finder.walk(tree, groups);
    return std::move(finder.media);
}

}  // namespace orvandel::SlideMedia
