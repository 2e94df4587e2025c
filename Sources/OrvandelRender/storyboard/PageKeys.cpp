#include "storyboard/PageKeys.hpp"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

#include "base/Bytes.hpp"
#include "cache/ContentHash.hpp"
#include "container/PptxArchive.hpp"
#include "container/XmlElement.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckModel.hpp"
#include "plan/XmlSpans.hpp"
#include "tools/RenderError.hpp"

namespace orvandel::PageKeys {

namespace {

using XmlSpans::Span;

const std::string kPresentation = "ppt/presentation.xml";
const std::string kPresentationRels = "ppt/_rels/presentation.xml.rels";
const char* const kErrorLead = "writing the storyboard: ";
const char* const kMasterType = "presentationml.slideMaster+xml";

bool typeEndsIn(std::string_view type, std::initializer_list<std::string_view> kinds) {
    return std::any_of(kinds.begin(), kinds.end(), [&](std::string_view kind) {
        return type.size() > kind.size() && type.ends_with(kind) && type[type.size() - kind.size() - 1] == '/';
    });
}

// What decides no drawing of a page: notes, other slides (a hyperlink to
// one), comments.
bool notFollowed(std::string_view type) {
    return typeEndsIn(type, {"notesSlide", "slide", "notesMaster", "handoutMaster", "comments", "commentAuthors"});
}

// The content type of each part, as [Content_Types].xml gives it; names and
// extensions compared without case, as the package format does.
class ContentTypes {
public:
    explicit ContentTypes(std::string_view xml) {
        for (const auto& s : XmlSpans::elementSpans(xml)) {
            const auto name = localName(s.name);
            if (name == "Override") {
                const auto part = XmlSpans::attributeOf(xml, s, "PartName");
                if (part)
                    overrides_.try_emplace(asciiLowercased(*part),
                                           XmlSpans::attributeOf(xml, s, "ContentType").value_or(""));
            } else if (name == "Default") {
                const auto extension = XmlSpans::attributeOf(xml, s, "Extension");
                if (extension)
                    defaults_.try_emplace(asciiLowercased(*extension),
                                          XmlSpans::attributeOf(xml, s, "ContentType").value_or(""));
            }
        }
    }

    std::string of(const std::string& part) const {
        if (const auto it = overrides_.find(asciiLowercased("/" + part)); it != overrides_.end()) return it->second;
        const auto dot = part.rfind('.');
        if (dot == std::string::npos || part.find('/', dot) != std::string::npos) return "";
        const auto it = defaults_.find(asciiLowercased(part.substr(dot + 1)));
        return it == defaults_.end() ? "" : it->second;
    }

private:
    std::unordered_map<std::string, std::string> overrides_, defaults_;
};

// Whether a slide shows the day it is drawn: a date field of its own, or a
// date placeholder, through which its layout's or master's field shows.
// Fields in a layout or master without the slide's placeholder are not drawn
// (and most templates have one, so keying on them would make every page new
// each day).
bool showsDate(std::string_view xml) {
    if (xml.find("type=\"dt\"") != std::string_view::npos) return true;
    for (auto at = xml.find("<a:fld"); at != std::string_view::npos; at = xml.find("<a:fld", at + 1)) {
        const auto end = xml.find('>', at);
        if (end == std::string_view::npos) break;
        const auto type = XmlSpans::attributeOf(xml.substr(at, end + 1 - at), "type");
        if (type && type->starts_with("datetime")) return true;
    }
    return false;
}

struct PartKey {
    std::string key;
    bool dated = false;
};

// Every part's key, each part read and hashed once. The walk keeps its own
// stack: a deck is untrusted, and a chain of parts may be as long as it likes.
class Keys {
public:
    explicit Keys(PptxArchive::Deck& deck)
        : deck_(deck),
          types_(deck.contains("[Content_Types].xml") ? deck.readEntryUnchecked("[Content_Types].xml") : "") {}

    const PartKey& of(const std::string& root) {
        if (const auto it = done_.find(root); it != done_.end()) return it->second;
        std::vector<Frame> stack;
        stack.push_back(opened(root));
        onStack_.insert(root);
        for (;;) {
            Frame& top = stack.back();
            if (top.next < top.relationships.size()) {
                const Relationship& r = top.relationships[top.next++];
                top.hash.field(r.id).field(r.type);
                if (r.external()) {
                    top.hash.field("external").field(r.target);
                    continue;
                }
                const std::string target = Relationships::resolveEntry(r.target, top.part);
                if (const auto it = done_.find(target); it != done_.end()) {
                    top.hash.field(it->second.key);
                } else if (onStack_.contains(target)) {
                    top.hash.field("cycle").field(target);
                } else if (!deck_.contains(target)) {
                    top.hash.field("missing").field(target);
                } else {
                    onStack_.insert(target);
                    stack.push_back(opened(target));
                }
                continue;
            }
            onStack_.erase(top.part);
            const PartKey& key = done_.emplace(top.part, PartKey{top.hash.hex(), top.dated}).first->second;
            stack.pop_back();
            if (stack.empty()) return key;
            stack.back().hash.field(key.key);
        }
    }

private:
    struct Frame {
        std::string part;
        ContentHash hash;
        bool dated = false;
        std::vector<Relationship> relationships;  // those followed, by id
        std::size_t next = 0;
    };

    Frame opened(const std::string& part) {
        Frame frame{part, ContentHash(), false, {}, 0};
        const std::string contentType = types_.of(part);
        frame.hash.field(contentType);
        hashBytes(frame, contentType);
        const std::string relsPart = Relationships::relsPath(part);
        if (!deck_.contains(relsPart)) return frame;
        const std::string rels = deck_.readEntryUnchecked(relsPart);
        try {
            frame.relationships = Relationships::parse(rels);
        } catch (const XmlParseError&) {
            // LibreOffice reads what it can of it; the key takes it as it is.
            frame.hash.field("unreadable relationships").field(rels);
            return frame;
        }
        // A master lists every layout, each of which leads back to it.
        const bool master = contentType.ends_with(kMasterType);
        std::erase_if(frame.relationships, [&](const Relationship& r) {
            return notFollowed(r.type) || (master && typeEndsIn(r.type, {"slideLayout"}));
        });
        std::stable_sort(frame.relationships.begin(), frame.relationships.end(),
                         [](const Relationship& a, const Relationship& b) { return a.id < b.id; });
        return frame;
    }

    void hashBytes(Frame& frame, const std::string& contentType) {
        frame.hash.field(deck_.unpackedSize(frame.part));
        // Pictures and media are hashed where they lie when stored, in
        // chunks: a long video is never held whole, and their CRC (slower
        // than the hash) is LibreOffice's to check.
        const bool xml = contentType.ends_with("xml") || frame.part.ends_with(".xml");
        if (!xml) {
            std::optional<ZipArchive::ByteRange> range;
            try {
                range = deck_.storedRange(frame.part);
            } catch (const PptxArchive::ArchiveError&) {
                // Compressed: read whole below.
            }
            if (range && streamed(frame.hash, *range)) return;
        }
        const Bytes bytes = deck_.readEntryBytes(frame.part);
        frame.hash.add(bytes);
        if (xml) frame.dated = showsDate(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    }

    bool streamed(ContentHash& hash, const ZipArchive::ByteRange& range) {
        if (!file_.is_open()) file_.open(deck_.path(), std::ios::binary);
        file_.clear();
        if (!file_.seekg(range.begin)) return false;
        buffer_.resize(1 << 20);
        for (std::int64_t left = range.end - range.begin; left > 0;) {
            const auto n = static_cast<std::streamsize>(std::min<std::int64_t>(left, std::int64_t(buffer_.size())));
            if (!file_.read(buffer_.data(), n)) return false;
            hash.add(std::string_view(buffer_.data(), std::size_t(n)));
            left -= n;
        }
        return true;
    }

    PptxArchive::Deck& deck_;
    ContentTypes types_;
    std::unordered_map<std::string, PartKey> done_;
    std::set<std::string> onStack_;
    std::ifstream file_;
    std::vector<char> buffer_;
};

[[noreturn]] void badList(const std::string& why) {
    throw RenderError(RenderError::Case::badDeck, ExportStage::storyboard, kErrorLead + why);
}

// The presentation's slide list as LibreOffice pages it: each p:sldId whose
// relationship leads to a slide part of the deck, in order.
struct SlideList {
    std::string presentation;
    std::vector<Span> spans;
    std::optional<std::size_t> list;                         // the sldIdLst span
    std::vector<std::size_t> ids;                            // every sldId span in it
    std::vector<std::pair<std::size_t, std::string>> pages;  // sldId span, slide part
    std::vector<Relationship> relationships;                 // the presentation's
};

SlideList slideList(PptxArchive::Deck& deck) {
    SlideList out;
    out.presentation = deck.readEntry(kPresentation);
    try {
        out.relationships = Relationships::parse(deck.readEntry(kPresentationRels));
    } catch (const XmlParseError& e) {
        badList("the presentation's relationships cannot be read (" + std::string(e.what()) + ").");
    }
    std::map<std::string, std::string> slides;  // relationship id -> slide part
    for (const auto& r : out.relationships) {
        if (typeEndsIn(r.type, {"slide"}) && !r.external()) {
            slides.insert_or_assign(r.id, Relationships::resolveEntry(r.target, kPresentation));
        }
    }
    out.spans = XmlSpans::elementSpans(out.presentation);
    for (std::size_t k = 0; k < out.spans.size(); ++k) {
        const Span& s = out.spans[k];
        if (s.parent == 0 && localName(s.name) == "sldIdLst" && !out.list) out.list = k;
        if (!out.list || s.parent != int(*out.list) || localName(s.name) != "sldId") continue;
        out.ids.push_back(k);
        const auto tag = std::string_view(out.presentation).substr(s.begin, s.tagEnd - s.begin);
        for (const auto& a : XmlSpans::attributesOf(tag)) {
            if (a.name.find(':') == std::string_view::npos || localName(a.name) != "id") continue;
            const auto slide = slides.find(std::string(tag.substr(a.valueBegin, a.valueEnd - a.valueBegin)));
            if (slide != slides.end() && deck.contains(slide->second)) out.pages.emplace_back(k, slide->second);
            break;
        }
    }
    return out;
}

std::string today() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    char text[16] = {};
    if (!localtime_r(&now, &local) || std::strftime(text, sizeof text, "%Y-%m-%d", &local) == 0) return "";
    return text;
}

}  // namespace

std::vector<std::string> of(const std::filesystem::path& storyboardDeck, std::string_view environment) {
    return of(storyboardDeck, environment, today());
}

std::vector<std::string> of(const std::filesystem::path& storyboardDeck, std::string_view environment,
                            std::string_view day) {
    PptxArchive::Deck deck(storyboardDeck);
    const SlideList list = slideList(deck);
    Keys keys(deck);

    // The deck-wide parts: the presentation without its slide list (the
    // storyboard's copies and the pages kept change it), and what it uses
    // for every slide.
    ContentHash deckWide;
    std::string_view presentation = list.presentation;
    std::string withoutList = list.presentation;
    if (list.list) {
        const Span& s = list.spans[*list.list];
        withoutList.erase(s.begin, s.end - s.begin);
        presentation = withoutList;
    }
    deckWide.field(presentation);
    std::vector<Relationship> used;
    for (const auto& r : list.relationships) {
        if (typeEndsIn(r.type, {"theme", "presProps", "tableStyles", "font"})) used.push_back(r);
    }
    std::stable_sort(used.begin(), used.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    for (const auto& r : used) {
        deckWide.field(r.id).field(r.type);
        const std::string target = Relationships::resolveEntry(r.target, kPresentation);
        if (r.external()) {
            deckWide.field("external").field(r.target);
        } else if (!deck.contains(target)) {
            deckWide.field("missing").field(target);
        } else {
            const PartKey& key = keys.of(target);
            deckWide.field(key.key);
        }
    }
    const std::string deckKey = deckWide.hex();

    std::vector<std::string> out;
    out.reserve(list.pages.size());
    for (const auto& [span, slide] : list.pages) {
        const PartKey& key = keys.of(slide);
        ContentHash page;
        page.field(environment).field(deckKey).field(key.key);
        if (key.dated) page.field(day);
        out.push_back(page.hex());
    }
    return out;
}

void keepOnly(const std::filesystem::path& storyboardDeck, const std::vector<int>& pages,
              const std::filesystem::path& out) {
    PptxArchive::Deck deck(storyboardDeck);
    const SlideList list = slideList(deck);
    if (!list.list) badList(storyboardDeck.filename().string() + " has no slide list.");
    std::set<std::size_t> kept;
    int last = 0;
    for (const int page : pages) {
        if (page < 1 || std::size_t(page) > list.pages.size()) {
            badList("page " + std::to_string(page) + " is not among the " + std::to_string(list.pages.size()) +
                    " pages of " + storyboardDeck.filename().string() + ".");
        }
        if (page <= last) {
            badList("the pages to keep are not in increasing order (" + std::to_string(page) + " after " +
                    std::to_string(last) + ").");
        }
        kept.insert(list.pages[std::size_t(page - 1)].first);
        last = page;
    }
    std::vector<XmlSpans::Edit> cuts;
    for (const std::size_t id : list.ids) {
        if (!kept.contains(id)) cuts.push_back({list.spans[id].begin, list.spans[id].end, ""});
    }
    const std::string presentation = XmlSpans::applied(list.presentation, std::move(cuts));
    ZipArchive::rewrite(deck, {{kPresentation, toBytes(presentation)}}, out);
}

}  // namespace orvandel::PageKeys
