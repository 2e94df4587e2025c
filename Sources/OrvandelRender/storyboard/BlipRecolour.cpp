#include "storyboard/BlipRecolour.hpp"

#include <algorithm>
#include <functional>
#include <set>

#include "container/PptxArchive.hpp"
#include "container/XMLEmitter.hpp"
#include "container/XmlElement.hpp"
#include "plan/XmlSpans.hpp"
#include "storyboard/BlipEffects.hpp"
#include "storyboard/FreshName.hpp"
#include "storyboard/GradientFill.hpp"
#include "storyboard/PictureFill.hpp"
#include "storyboard/SchemeColours.hpp"
#include "storyboard/ShapeFills.hpp"
#include "storyboard/SweptDeck.hpp"
#include "tools/PictureCodec.hpp"

namespace orvandel::BlipRecolour {

namespace {

namespace fs = std::filesystem;
using BlipEffects::Effect;
using DrawingColour::Rgba;
using XmlSpans::Span;

constexpr std::int64_t kLargestPicture = std::int64_t{128} << 20;
constexpr std::int64_t kEmuPerInch = 914400;
constexpr std::int64_t kEmuPerPixel = 9525;  // at 96 dpi
// A picture file that states no resolution is taken at the screen's.
constexpr std::pair<int, int> kUnstatedDpi{96, 96};
constexpr const char* kImageType = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/image";

std::string_view local(const Span& s) { return localName(s.name); }

// A part that shows pictures, and the parts its colours resolve through.
struct Showing {
    std::string part;
    std::string master;
    std::vector<std::string> between;  // the layout, then the slide, as far as the part goes
    std::string theme;                 // the master's theme part
    DrawingColour::Scheme scheme;      // filled only for a part that may hold effects
};

// Every slide, and the layouts and masters they use, each once.
std::vector<Showing> showingParts(DeckModel& deck, SweptDeck& parts) {
    std::vector<Showing> out;
    std::set<std::string> seen;
    const auto add = [&](const std::string& part, const std::string& master, std::vector<std::string> between) {
        if (part.empty() || !seen.insert(part).second) return;
        out.push_back({part, master, std::move(between), parts.related(master, "theme"), {}});
    };
    for (const auto& slide : deck.slideFiles()) {
        const std::string layout = parts.related(slide, "slideLayout");
        const std::string master = parts.related(layout, "slideMaster");
        add(master, master, {});
        add(layout, master, {layout});
        add(slide, master, {layout, slide});
    }
    return out;
}

// The colours the part resolves through: the theme's, mapped by the master
// and overridden by the layout and the slide.
DrawingColour::Scheme schemeOf(SweptDeck& parts, const Showing& showing, const std::string& theme) {
    std::vector<std::string> texts;
    for (const auto& p : showing.between) texts.push_back(parts.textOrEmpty(p));
    const std::vector<std::string_view> views(texts.begin(), texts.end());
    return SchemeColours::schemeOf(theme, parts.textOrEmpty(showing.master), views);
}

// The attribute as an integer, `fallback` when absent, nothing when malformed.
std::optional<std::int64_t> number(std::string_view xml, const Span& s, std::string_view name, std::int64_t fallback) {
    if (!XmlSpans::attributeOf(xml, s, name)) return fallback;
    return XmlSpans::integerAttribute(xml, s, name);
}

// The colour of the first colour element among the children of spans[parent].
std::optional<Rgba> firstColour(std::string_view xml, const std::vector<Span>& spans, int parent,
                                const DrawingColour::Scheme& scheme) {
    const auto children = XmlSpans::childrenOf(spans, parent);
    if (children.empty()) return std::nullopt;
    return DrawingColour::colourAt(xml, spans, children.front(), scheme);
}

// The effect a child of a blip stands for; nothing for one not applied here.
std::optional<Effect> effectOf(std::string_view xml, const std::vector<Span>& spans, int index,
                               const DrawingColour::Scheme& scheme) {
    const Span& s = spans[std::size_t(index)];
    const auto kind = local(s);
    const auto children = XmlSpans::childrenOf(spans, index);
    if (kind == "duotone") {
        if (children.size() != 2) return std::nullopt;
        const auto dark = DrawingColour::colourAt(xml, spans, children[0], scheme);
        const auto light = DrawingColour::colourAt(xml, spans, children[1], scheme);
        if (dark && light) return BlipEffects::Duotone{*dark, *light};
    } else if (kind == "grayscl") {
        return BlipEffects::Grayscale{};
    } else if (kind == "biLevel") {
        if (const auto t = number(xml, s, "thresh", 50000)) return BlipEffects::BiLevel{*t};
    } else if (kind == "alphaModFix") {
        if (const auto amount = number(xml, s, "amt", 100000)) return BlipEffects::AlphaModFix{*amount};
    } else if (kind == "lum") {
        const auto bright = number(xml, s, "bright", 0), contrast = number(xml, s, "contrast", 0);
        if (bright && contrast) return BlipEffects::Luminance{*bright, *contrast};
    } else if (kind == "clrChange") {
        std::optional<Rgba> from, to;
        for (const int c : children) {
            if (local(spans[std::size_t(c)]) == "clrFrom") from = firstColour(xml, spans, c, scheme);
            if (local(spans[std::size_t(c)]) == "clrTo") to = firstColour(xml, spans, c, scheme);
        }
        const auto useAlpha = XmlSpans::attributeOf(xml, s, "useA");
        if (from && to) return BlipEffects::ColourChange{*from, *to, useAlpha != "0" && useAlpha != "false"};
    } else if (kind == "fillOverlay") {
        const auto blend = BlipEffects::blendNamed(XmlSpans::attributeOf(xml, s, "blend").value_or(""));
        if (!blend || children.size() != 1 || local(spans[std::size_t(children[0])]) != "solidFill") {
            return std::nullopt;
        }
        if (const auto colour = firstColour(xml, spans, children[0], scheme)) {
            return BlipEffects::FillOverlay{*colour, *blend};
        }
    }
    return std::nullopt;
}

// One blip with effects to bake: where its embed value lies, the effects'
// elements and what they stand for.
struct Blip {
    std::string embed;
    std::size_t embedBegin, embedEnd;
    std::vector<int> applied;
    std::vector<Effect> effects;
    std::string key;  // the effects, resolved, as text: equal blips of a picture share its copy
};

std::string keyOf(const Effect& e) {
    const auto hex = [](const Rgba& c) {
        return std::to_string(c.r) + "." + std::to_string(c.g) + "." + std::to_string(c.b) + "." + std::to_string(c.a) +
               ";";
    };
    return std::visit(
        [&](const auto& v) -> std::string {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, BlipEffects::Duotone>) return "d" + hex(v.dark) + hex(v.light);
            if constexpr (std::is_same_v<T, BlipEffects::Grayscale>) return "g;";
            if constexpr (std::is_same_v<T, BlipEffects::BiLevel>) return "b" + std::to_string(v.threshold) + ";";
            if constexpr (std::is_same_v<T, BlipEffects::AlphaModFix>) return "a" + std::to_string(v.amount) + ";";
            if constexpr (std::is_same_v<T, BlipEffects::Luminance>) {
                return "l" + std::to_string(v.bright) + "," + std::to_string(v.contrast) + ";";
            }
            if constexpr (std::is_same_v<T, BlipEffects::ColourChange>) {
                return "c" + hex(v.from) + hex(v.to) + (v.matchAlpha ? "1;" : "0;");
            }
            if constexpr (std::is_same_v<T, BlipEffects::FillOverlay>) {
                return "o" + hex(v.colour) + std::to_string(int(v.blend)) + ";";
            }
        },
        e);
}

// The blips of a fill (a picture's, a shape's, a background's) whose effects this pass applies.
std::vector<Blip> blipsToBake(std::string_view xml, const std::vector<Span>& spans, const DrawingColour::Scheme& scheme,
                              const std::vector<ShapeFills::Target>& bakedWhole) {
    std::vector<Blip> out;
    for (std::size_t i = 0; i < spans.size(); ++i) {
        const Span& s = spans[i];
        if (local(s) != "blip" || s.parent < 0 || local(spans[std::size_t(s.parent)]) != "blipFill") continue;
        if (std::any_of(bakedWhole.begin(), bakedWhole.end(),
                        [&](const auto& t) { return t.begin <= s.begin && s.begin < t.end; })) {
            continue;
        }
        Blip blip;
        const auto tag = xml.substr(s.begin, s.tagEnd - s.begin);
        for (const auto& a : XmlSpans::attributesOf(tag)) {
            if (localName(a.name) != "embed") continue;
            blip.embed = std::string(tag.substr(a.valueBegin, a.valueEnd - a.valueBegin));
            blip.embedBegin = s.begin + a.valueBegin;
            blip.embedEnd = s.begin + a.valueEnd;
        }
        if (blip.embed.empty()) continue;
        for (const int child : XmlSpans::childrenOf(spans, int(i))) {
            if (auto effect = effectOf(xml, spans, child, scheme)) {
                blip.key += keyOf(*effect);
                blip.effects.push_back(*effect);
                blip.applied.push_back(child);
            }
        }
        if (!blip.effects.empty()) out.push_back(std::move(blip));
    }
    return out;
}

bool mayHoldEffects(std::string_view xml, bool themeHasPictures) {
    if (themeHasPictures &&
        (xml.find("bgRef") != std::string_view::npos || xml.find("fillRef") != std::string_view::npos)) {
        return true;
    }
    if (xml.find("blip") == std::string_view::npos) return false;
    for (const char* name :
         {"duotone", "grayscl", "biLevel", "alphaModFix", "lum ", "lum/", "clrChange", "fillOverlay"}) {
        if (xml.find(name) != std::string_view::npos) return true;
    }
    return false;
}

// A picture's pixels once decoded, with the resolution its file states.
struct Decoded {
    PictureCodec::Picture picture;
    std::pair<int, int> dotsPerInch;
};
using Finish = std::function<PictureCodec::Picture(Decoded)>;

// The recoloured copies made so far, by picture and what was done to it; "" for a picture not decoded.
class Bakery {
public:
    Bakery(SweptDeck& parts, const fs::path& workDir, const std::optional<CancellationToken>& cancel)
        : parts_(parts), workDir_(workDir), cancel_(cancel), used_(parts.names()) {}

    // The copy of `picture` with the effects applied, then finished (painted into a fill) when asked.
    std::string copyOf(const std::string& picture, const std::string& key, const std::vector<Effect>& effects,
                       const Finish& finish = {}) {
        const auto known = copies_.find({picture, key});
        if (known != copies_.end()) return known->second;
        return copies_[{picture, key}] = baked(picture, effects, finish);
    }

    std::vector<std::pair<std::string, Bytes>> added;
    std::string types;  // their content types, as [Content_Types].xml lists them

private:
    std::string baked(const std::string& picture, const std::vector<Effect>& effects, const Finish& finish) {
        if (cancel_ && cancel_->isCancelled()) throw CancelledError();
        const auto bytes = parts_.picture(picture, kLargestPicture);
        if (!bytes) return "";
        const fs::path file = workDir_ / "picture";
        writeFile(file, *bytes);
        auto decoded = PictureCodec::decode(file, workDir_, cancel_);
        fs::remove(file);
        if (!decoded) return "";
        BlipEffects::apply(effects, decoded->rgba);
        if (finish) {
            *decoded = finish({std::move(*decoded), PictureCodec::dotsPerInch(*bytes).value_or(kUnstatedDpi)});
        }
        const std::string part = freshName(used_, "ppt/media/recoloured", ".png");
        added.emplace_back(part, PictureCodec::png(*decoded, workDir_, cancel_));
        types += "<Override PartName=\"/" + part + "\" ContentType=\"image/png\"/>";
        return part;
    }

    SweptDeck& parts_;
    fs::path workDir_;
    const std::optional<CancellationToken>& cancel_;
    std::set<std::string> used_;
    std::map<std::pair<std::string, std::string>, std::string> copies_;
};

// The size in pixels a box is baked at: twice 96 dpi, which the movie's
// frames reach at most, within PictureCodec::kLargestSide a side.
std::pair<int, int> bakedSize(std::int64_t widthEmu, std::int64_t heightEmu) {
    std::int64_t w = std::max<std::int64_t>(1, widthEmu * 2 / kEmuPerPixel);
    std::int64_t h = std::max<std::int64_t>(1, heightEmu * 2 / kEmuPerPixel);
    const std::int64_t side = std::max(w, h);
    if (side > PictureCodec::kLargestSide) {
        w = std::max<std::int64_t>(1, w * PictureCodec::kLargestSide / side);
        h = std::max<std::int64_t>(1, h * PictureCodec::kLargestSide / side);
    }
    return {int(w), int(h)};
}

// A fill baked whole: its picture, the blip's effects, the fill laid into
// its box and the overlay blended over it. Nothing when its picture is not
// one of the deck's or cannot be decoded.
struct WholeFill {
    std::string picture, key;
    std::vector<Effect> effects;
    Finish finish;
};

std::optional<WholeFill> wholeFillOf(const ShapeFills::Target& target, SweptDeck& parts, const std::string& part,
                                     const Showing& showing) {
    const auto spans = XmlSpans::elementSpans(target.fill);
    if (spans.empty()) return std::nullopt;
    int blipIndex = -1;
    for (const int c : XmlSpans::childrenOf(spans, 0)) {
        if (local(spans[std::size_t(c)]) == "blip") blipIndex = c;
    }
    if (blipIndex < 0) return std::nullopt;
    const std::string_view fillXml = target.fill;
    const Span& blip = spans[std::size_t(blipIndex)];
    const auto tag = fillXml.substr(blip.begin, blip.tagEnd - blip.begin);
    std::string embed;
    for (const auto& a : XmlSpans::attributesOf(tag)) {
        if (localName(a.name) == "embed") embed = std::string(tag.substr(a.valueBegin, a.valueEnd - a.valueBegin));
    }
    const std::string owner = target.fromTheme ? showing.theme : part;
    const auto byId = Relationships::byId(parts.relationships(owner));
    const auto r = byId.find(embed);
    if (embed.empty() || r == byId.end() || r->second.external()) return std::nullopt;

    WholeFill whole;
    whole.picture = Relationships::resolveEntry(r->second.target, owner);
    auto scheme = showing.scheme;
    if (target.placeholder) scheme.colours["phClr"] = *target.placeholder;
    for (const int child : XmlSpans::childrenOf(spans, blipIndex)) {
        if (auto effect = effectOf(target.fill, spans, child, scheme)) {
            whole.key += keyOf(*effect);
            whole.effects.push_back(*effect);
        }
    }
    const auto fill = PictureFill::read(target.fill, spans, 0);
    const auto [width, height] = bakedSize(target.widthEmu, target.heightEmu);
    whole.key += "|" + target.fill + "|" + std::to_string(width) + "x" + std::to_string(height) + "|" +
                 std::to_string(target.widthEmu) + "x" + std::to_string(target.heightEmu);
    if (target.overlay) {
        whole.key += "|o" + std::to_string(int(target.blend)) + "," + std::to_string(target.overlay->angle) +
                     (target.overlay->scaled ? "s" : "") + ";";
        for (const auto& stop : target.overlay->stops) {
            whole.key += std::to_string(stop.position) + keyOf(BlipEffects::FillOverlay{stop.colour, target.blend});
        }
    }
    whole.finish = [fill, target, width, height](Decoded decoded) {
        const auto& [dpiX, dpiY] = decoded.dotsPerInch;
        auto painted = PictureFill::painted(decoded.picture, fill,
                                            std::int64_t{decoded.picture.width} * kEmuPerInch / dpiX,
                                            std::int64_t{decoded.picture.height} * kEmuPerInch / dpiY, target.widthEmu,
                                            target.heightEmu, width, height);
        if (target.overlay) GradientFill::overlay(painted, *target.overlay, target.blend);
        return painted;
    };
    return whole;
}

bool holdsPictureStyles(const std::string& theme) { return theme.find("blipFill") != std::string::npos; }

}  // namespace

Recolouring bake(DeckModel& deck, const RenderPlan& plan, const LinkSweep::Sweep& sweep, const fs::path& workDir,
                 const std::optional<CancellationToken>& cancel) {
    Recolouring out;
    SweptDeck parts(deck, sweep);
    std::optional<Bakery> bakery;
    std::map<std::string, std::string> themes;  // shared by many parts: each read once
    for (auto& showing : showingParts(deck, parts)) {
        const std::string& part = showing.part;
        const std::string xml = parts.textOrEmpty(part);
        auto theme = themes.find(showing.theme);
        if (theme == themes.end()) theme = themes.emplace(showing.theme, parts.textOrEmpty(showing.theme)).first;
        if (!mayHoldEffects(xml, holdsPictureStyles(theme->second))) continue;
        showing.scheme = schemeOf(parts, showing, theme->second);
        const auto whole = ShapeFills::find(xml, theme->second, plan.slideWidthEmu, plan.slideHeightEmu,
                                            showing.scheme);
        const auto spans = XmlSpans::elementSpans(xml);
        const auto blips = blipsToBake(xml, spans, showing.scheme, whole);
        if (blips.empty() && whole.empty()) continue;
        if (!bakery) {
            fs::create_directories(workDir);
            bakery.emplace(parts, workDir, cancel);
        }
        std::vector<Relationship> rels = parts.relationships(part);
        std::set<std::string> ids;
        for (const auto& r : rels) ids.insert(r.id);
        const auto byId = Relationships::byId(rels);
        std::map<std::string, std::string> idOf;  // copy -> its relationship
        std::string newRels;
        const auto idFor = [&](const std::string& copy) {
            auto& id = idOf[copy];
            if (id.empty()) {
                id = freshName(ids, "rIdRecoloured");
                newRels += "<Relationship Id=\"" + id + "\" Type=\"" + kImageType + "\" Target=\"" +
                           XMLEmitter::escapeAttribute(Relationships::relativeTarget(copy, part)) + "\"/>";
            }
            return id;
        };
        std::vector<XmlSpans::Edit> edits;
        for (const auto& target : whole) {
            const auto fill = wholeFillOf(target, parts, part, showing);
            if (!fill) continue;
            const std::string copy = bakery->copyOf(fill->picture, fill->key, fill->effects, fill->finish);
            if (copy.empty()) continue;
            edits.push_back({target.begin, target.end, ShapeFills::replacement(target, idFor(copy))});
            if (target.overlayEnd > target.overlayBegin) edits.push_back({target.overlayBegin, target.overlayEnd, ""});
        }
        for (const auto& blip : blips) {
            const auto r = byId.find(blip.embed);
            if (r == byId.end() || r->second.external()) continue;
            const std::string copy = bakery->copyOf(Relationships::resolveEntry(r->second.target, part), blip.key,
                                                    blip.effects);
            if (copy.empty()) continue;
            edits.push_back({blip.embedBegin, blip.embedEnd, idFor(copy)});
            for (const int applied : blip.applied) {
                edits.push_back({spans[std::size_t(applied)].begin, spans[std::size_t(applied)].end, ""});
            }
        }
        if (edits.empty()) continue;
        std::string relsXml = parts.textOrEmpty(Relationships::relsPath(part));
        const auto end = relsXml.rfind("</Relationships>");
        if (end == std::string::npos) continue;
        relsXml.insert(end, newRels);
        out.replaced[part] = toBytes(XmlSpans::applied(xml, std::move(edits)));
        out.replaced[Relationships::relsPath(part)] = toBytes(relsXml);
    }
    if (bakery && !bakery->added.empty()) {
        std::string types = parts.textOrEmpty("[Content_Types].xml");
        const auto end = types.rfind("</Types>");
        if (end != std::string::npos) {
            types.insert(end, bakery->types);
            out.replaced["[Content_Types].xml"] = toBytes(types);
        }
        out.added = std::move(bakery->added);
    }
    return out;
}

void mergeInto(LinkSweep::Sweep& sweep, Recolouring recolouring) {
    for (auto& [part, bytes] : recolouring.replaced) sweep.replaced[part] = std::move(bytes);
    for (auto& entry : recolouring.added) sweep.added.push_back(std::move(entry));
}

}  // namespace orvandel::BlipRecolour
