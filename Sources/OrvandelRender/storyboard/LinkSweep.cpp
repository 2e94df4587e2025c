#include "storyboard/LinkSweep.hpp"

#include <zlib.h>

#include <algorithm>
#include <set>
#include <span>
#include <variant>

#include "container/PptxArchive.hpp"
#include "container/XMLEmitter.hpp"
#include "container/XmlElement.hpp"
#include "container/ZipArchive.hpp"
#include "deck/DeckModel.hpp"
#include "plan/XmlSpans.hpp"
#include "storyboard/FreshName.hpp"

namespace orvandel::LinkSweep {

namespace {

namespace fs = std::filesystem;
using PptxArchive::ArchiveError;
using XmlSpans::Edit;

constexpr std::int64_t kLargestPicture = std::int64_t{128} << 20;
// A compressed SVG that unpacks to more than this is not drawn at all.
constexpr std::size_t kLargestUnpacked = std::size_t{64} << 20;
// Enough of a part to see whether LibreOffice would take it for an SVG.
constexpr std::size_t kHead = 4096;
// Where a link out of the package is pointed instead: a part no deck has.
const char* const kNowhere = "NULL";

bool isSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// What may be an SVG picture or other markup, from its first bytes: they
// start with "<" (or are all blank so far), or name an SVG root.
bool isMarkup(std::span<const std::uint8_t> head) {
    std::size_t i = head.size() >= 3 && head[0] == 0xEF && head[1] == 0xBB && head[2] == 0xBF ? 3 : 0;
    while (i < head.size() && isSpace(head[i])) ++i;
    return i == head.size() || head[i] == '<' ||
           asciiLowercased({reinterpret_cast<const char*>(head.data()), head.size()}).find("<svg") != std::string::npos;
}
// A compressed stream: LibreOffice unpacks one to see whether it is an SVG.
bool isGzip(std::span<const std::uint8_t> head) { return head.size() >= 2 && head[0] == 0x1F && head[1] == 0x8B; }

int base64Digit(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

// The first bytes a data: URL holds; nothing when its data cannot be read.
std::optional<Bytes> dataStart(std::string_view url) {
    const auto comma = url.find(',');
    if (comma == std::string_view::npos || url.find('&') != std::string_view::npos) return std::nullopt;
    const std::string meta = asciiLowercased(url.substr(5, comma - 5));
    const std::string_view data = url.substr(comma + 1);
    Bytes out;
    if (meta.ends_with(";base64")) {
        std::uint32_t bits = 0;
        int count = 0;
        for (std::size_t i = 0; i < data.size() && out.size() < kHead; ++i) {
            if (isSpace(static_cast<unsigned char>(data[i]))) continue;
            if (data[i] == '=') break;
            const int digit = base64Digit(data[i]);
            if (digit < 0) return std::nullopt;
            bits = (bits << 6) | static_cast<std::uint32_t>(digit);
            if ((count += 6) >= 8) out.push_back(static_cast<std::uint8_t>(bits >> (count -= 8)));
        }
    } else {
        // Three characters at most make a byte: enough of the data for kHead bytes.
        out = toBytes(percentDecoded(data.substr(0, 3 * kHead)));
        if (out.size() > kHead) out.resize(kHead);
    }
    return out;
}

// A reference that cannot lead outside its part: a fragment of it, or data
// that is no markup (an SVG in a data: URL is read with its own links).
bool staysInside(std::string_view value) {
    while (!value.empty() && isSpace(static_cast<unsigned char>(value.front()))) value.remove_prefix(1);
    if (value.starts_with('#')) return true;
    if (value.size() < 5 || asciiLowercased(value.substr(0, 5)) != "data:") return false;
    const auto start = dataStart(value);
    return start && !isMarkup(*start) && !isGzip(*start);
}

// Where a document type declaration ends, its internal subset included.
std::size_t declarationEnd(std::string_view text, std::size_t from) {
    char quote = 0;
    int depth = 0;
    for (std::size_t i = from; i < text.size(); ++i) {
        const char c = text[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '[') {
            ++depth;
        } else if (c == ']') {
            --depth;
        } else if (c == '>' && depth <= 0) {
            return i + 1;
        }
    }
    return text.size();
}

// The unpacked bytes of a gzip stream, at most `most`; nothing when damaged or larger.
std::optional<Bytes> gunzipped(const Bytes& packed, std::size_t most) {
    z_stream zs{};
    if (inflateInit2(&zs, 16 + MAX_WBITS) != Z_OK) throw std::bad_alloc();
    zs.next_in = const_cast<std::uint8_t*>(packed.data());
    zs.avail_in = static_cast<uInt>(std::min<std::size_t>(packed.size(), UINT32_MAX));
    Bytes out, chunk(std::size_t{1} << 16);
    int rc = Z_OK;
    while (rc == Z_OK && out.size() <= most) {
        zs.next_out = chunk.data();
        zs.avail_out = static_cast<uInt>(chunk.size());
        rc = inflate(&zs, Z_NO_FLUSH);
        out.insert(out.end(), chunk.begin(), chunk.end() - zs.avail_out);
    }
    inflateEnd(&zs);
    if (rc != Z_STREAM_END || out.size() > most) return std::nullopt;
    return out;
}

// The whole of a part that may be markup, within the limit of a text part.
Bytes wholeMarkup(DeckModel& deck, const std::string& name) {
    try {
        return toBytes(deck.part(name));
    } catch (const ArchiveError& e) {
        if (e.errorCase() != ArchiveError::Case::decodeFailed) throw;
        return deck.archive().readEntryBytes(name);  // not UTF-8, but within the limit
    }
}

// A part's content as LibreOffice may be given it: markup without outside
// references; a compressed SVG unpacked and swept, or dropped when it cannot
// be unpacked. Nothing when it is fine as it is.
std::optional<Bytes> swept(const Bytes& content) {
    if (isGzip(content)) {
        const auto plain = gunzipped(content, kLargestUnpacked);
        if (!plain) return Bytes{};
        if (!isMarkup(*plain)) return std::nullopt;
        const std::string text = toString(*plain);
        const auto clean = withoutOutsideReferences(text);
        if (!clean) return std::nullopt;
        return toBytes(*clean);
    }
    if (!isMarkup(content)) return std::nullopt;
    const auto clean = withoutOutsideReferences(toString(content));
    return clean ? std::optional(toBytes(*clean)) : std::nullopt;
}

bool leadsOutside(const Relationship& r) { return r.external(); }

// The relationships a part lists, wherever they stand in it; nothing when it
// is not well-formed (a reader that goes on past an error may find some).
std::optional<std::vector<Relationship>> relationshipsIn(const std::string& xml) {
    try {
        return Relationships::parse(xml);
    } catch (const XmlParseError&) {
        return std::nullopt;
    }
}

std::string relationshipsXml(const std::vector<Relationship>& rels) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                      "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (const auto& r : rels) {
        out += "<Relationship Id=\"" + XMLEmitter::escapeAttribute(r.id) + "\" Type=\"" +
               XMLEmitter::escapeAttribute(r.type) + "\" Target=\"" + XMLEmitter::escapeAttribute(r.target) + "\"" +
               (r.mode.empty() ? "" : " TargetMode=\"" + XMLEmitter::escapeAttribute(r.mode) + "\"") + "/>";
    }
    return out + "</Relationships>";
}

// The part a relationships part belongs to ("ppt/slides/_rels/slide1.xml.rels"
// -> "ppt/slides/slide1.xml", "_rels/.rels" -> "", the package); nothing for
// a name LibreOffice would not take as one.
std::optional<std::string> ownerOf(const std::string& rels) {
    const auto slash = rels.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : rels.substr(0, slash + 1);
    if (!rels.ends_with(".rels") || !(folder == "_rels/" || folder.ends_with("/_rels/"))) return std::nullopt;
    return folder.substr(0, folder.size() - 6) + rels.substr(slash + 1, rels.size() - slash - 6);
}

// A blip's link to a picture: which relationship, where the attribute's name
// lies in the part, and whether the blip embeds a picture too (that one is
// drawn).
struct BlipLink {
    std::string id;
    std::size_t nameBegin, nameEnd;
    bool embeds;
};

std::vector<BlipLink> blipLinks(std::string_view xml) {
    std::vector<BlipLink> out;
    for (const auto& s : XmlSpans::elementSpans(xml)) {
        if (localName(s.name) != "blip") continue;
        const auto tag = xml.substr(s.begin, s.tagEnd - s.begin);
        const auto attributes = XmlSpans::attributesOf(tag);
        bool embeds = false;
        for (const auto& a : attributes) embeds = embeds || localName(a.name) == "embed";
        for (const auto& a : attributes) {
            if (localName(a.name) != "link") continue;
            const auto begin = s.begin + std::size_t(a.name.data() - tag.data());
            out.push_back({std::string(tag.substr(a.valueBegin, a.valueEnd - a.valueBegin)), begin,
                           begin + a.name.size(), embeds});
        }
    }
    return out;
}

// For every part a visible slide shows (its layout, master, theme, charts,
// drawings...), the first such slide; links to other slides and notes are
// not followed.
std::map<std::string, std::int64_t> showingSlides(const RenderPlan& plan,
                                                  const std::map<std::string, std::vector<Relationship>>& relsOf) {
    std::map<std::string, std::int64_t> slideOf;
    for (const auto& s : plan.slides) {
        if (!s.hidden) slideOf.emplace(s.file, s.displayIndex);
    }
    for (const auto& s : plan.slides) {
        if (s.hidden) continue;
        std::vector<std::string> todo{s.file};
        while (!todo.empty()) {
            const std::string part = todo.back();
            todo.pop_back();
            const auto rels = relsOf.find(part);
            if (rels == relsOf.end()) continue;
            for (const auto& r : rels->second) {
                if (leadsOutside(r) || r.type.ends_with("/slide") || r.type.ends_with("/notesSlide")) continue;
                const std::string target = Relationships::resolveEntry(r.target, part);
                if (slideOf.emplace(target, s.displayIndex).second) todo.push_back(target);
            }
        }
    }
    return slideOf;
}

std::string contentTypeOf(const std::string& extension) {
    static const std::map<std::string, std::string> types{{"png", "image/png"},   {"jpg", "image/jpeg"},
                                                          {"jpeg", "image/jpeg"}, {"gif", "image/gif"},
                                                          {"bmp", "image/bmp"},   {"tif", "image/tiff"},
                                                          {"tiff", "image/tiff"}, {"emf", "image/x-emf"},
                                                          {"wmf", "image/x-wmf"}, {"svg", "image/svg+xml"}};
    const auto found = types.find(extension);
    return found == types.end() ? "application/octet-stream" : found->second;
}

// The linked pictures taken into the package, one part per file.
class Pictures {
public:
    Pictures(std::set<std::string>& used, const DeckLinks::Rule& rule) : used_(used), rule_(rule) {}

    // The part now holding the picture the target links to, or why it is not drawn.
    std::variant<std::string, DeckLinks::Refusal> take(const std::string& target) {
        const auto checked = DeckLinks::check(target, rule_);
        if (const auto* refusal = std::get_if<DeckLinks::Refusal>(&checked)) return *refusal;
        const fs::path& file = std::get<fs::path>(checked);
        if (const auto known = parts_.find(file); known != parts_.end()) return known->second;
        auto read = DeckLinks::read(file, kLargestPicture);
        if (const auto* refusal = std::get_if<DeckLinks::Refusal>(&read)) return *refusal;
        Bytes bytes = std::move(std::get<Bytes>(read));
        if (auto clean = swept(bytes)) bytes = std::move(*clean);
        std::string extension = asciiLowercased(file.extension().string());
        if (!extension.empty()) extension.erase(0, 1);
        if (extension.empty() || extension.size() > 5 ||
            extension.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789") != std::string::npos) {
            extension = "bin";
        }
        const std::string part = freshName(used_, "ppt/media/linked-picture", "." + extension);
        added.emplace_back(part, std::move(bytes));
        types += "<Override PartName=\"/" + part + "\" ContentType=\"" + contentTypeOf(extension) + "\"/>";
        return parts_[file] = part;
    }

    std::vector<std::pair<std::string, Bytes>> added;
    std::string types;  // their content types, as [Content_Types].xml lists them

private:
    std::set<std::string>& used_;
    const DeckLinks::Rule& rule_;
    std::map<fs::path, std::string> parts_;
};

}  // namespace

std::optional<std::string> withoutOutsideReferences(std::string_view markup) {
    const std::string folded = asciiLowercased(markup);
    if (folded.find("href") == std::string::npos && folded.find("src") == std::string::npos &&
        folded.find("<!doctype") == std::string::npos) {
        return std::nullopt;
    }
    std::vector<Edit> edits;
    // A document type can give an element an attribute it does not write, or
    // bring in markup through an entity: it goes, with whatever then fails.
    for (std::size_t at = 0; (at = folded.find("<!doctype", at)) != std::string::npos;) {
        const std::size_t end = declarationEnd(markup, at);
        edits.push_back({at, end, ""});
        at = end;
    }
    for (const auto& s : XmlSpans::elementSpans(markup)) {
        const auto tag = markup.substr(s.begin, s.tagEnd - s.begin);
        for (const auto& a : XmlSpans::attributesOf(tag)) {
            const std::string name = asciiLowercased(localName(a.name));
            if ((name == "href" || name == "src") &&
                !staysInside(tag.substr(a.valueBegin, a.valueEnd - a.valueBegin))) {
                edits.push_back({s.begin + a.valueBegin, s.begin + a.valueEnd, "#"});
            }
        }
    }
    if (edits.empty()) return std::nullopt;
    return XmlSpans::applied(markup, std::move(edits));
}

Sweep sweep(DeckModel& model, const RenderPlan& plan, const DeckLinks::Rule& rule) {
    Sweep out;
    PptxArchive::Deck& deck = model.archive();
    const auto names = deck.entryNames();
    std::set<std::string> used, twice;
    for (const auto& name : names) {
        if (!used.insert(name).second) twice.insert(name);
    }

    // Every part's content that is markup, swept; anything unreadable goes. A
    // name the archive holds twice is read here as its first entry, and may
    // be read by LibreOffice as the other: both get what was read here.
    for (const auto& name : names) {
        if (name.empty() || name.ends_with('/') || asciiLowercased(name).ends_with(".rels") ||
            out.replaced.contains(name)) {
            continue;
        }
        try {
            const Bytes head = deck.readEntryHead(name, kHead);
            if (twice.contains(name)) {
                Bytes whole = deck.readEntryBytes(name);
                out.replaced[name] = isMarkup(head) || isGzip(head) ? swept(whole).value_or(whole) : whole;
                continue;
            }
            if (!isMarkup(head) && !isGzip(head)) continue;
            if (auto clean = swept(isGzip(head) ? deck.readEntryBytes(name) : wholeMarkup(model, name))) {
                out.replaced[name] = std::move(*clean);
            }
        } catch (const ArchiveError&) {
            out.replaced[name] = {};
        }
    }

    // Every relationships part, and the links out of the package in it.
    std::map<std::string, std::vector<Relationship>> relsOf;  // by the part they belong to
    std::map<std::string, std::string> relsPartOf;
    for (const auto& name : names) {
        if (name.empty() || !asciiLowercased(name).ends_with(".rels")) continue;
        std::optional<std::vector<Relationship>> rels;
        try {
            rels = relationshipsIn(model.part(name));
        } catch (const ArchiveError&) {
        }
        const auto owner = ownerOf(name);
        if (!rels || !owner) {
            out.replaced[name] = toBytes(relationshipsXml({}));
            continue;
        }
        relsPartOf[*owner] = name;
        relsOf[*owner] = std::move(*rels);
    }

    const auto slideOf = showingSlides(plan, relsOf);
    Pictures pictures(used, rule);
    for (auto& [owner, rels] : relsOf) {
        if (std::none_of(rels.begin(), rels.end(), leadsOutside)) {
            if (twice.contains(relsPartOf[owner])) out.replaced[relsPartOf[owner]] = toBytes(relationshipsXml(rels));
            continue;
        }
        std::string ownerXml;
        if (const auto swept = out.replaced.find(owner); swept != out.replaced.end()) {
            ownerXml = toString(swept->second);
        } else if (deck.contains(owner)) {
            try {
                ownerXml = model.part(owner);
            } catch (const ArchiveError&) {
            }
        }
        const auto blips = blipLinks(ownerXml);
        std::set<std::string> linkedOnly, embedded;
        for (const auto& b : blips) {
            if (!b.embeds) linkedOnly.insert(b.id);
        }
        for (auto& r : rels) {
            if (!leadsOutside(r)) continue;
            if (linkedOnly.contains(r.id)) {
                const auto taken = pictures.take(r.target);
                if (const auto* part = std::get_if<std::string>(&taken)) {
                    r = {r.id, r.type, Relationships::relativeTarget(*part, owner), ""};
                    embedded.insert(r.id);
                    continue;
                }
                if (const auto slide = slideOf.find(owner); slide != slideOf.end()) {
                    out.notFollowed.push_back(
                        {slide->second, "picture", r.target, std::get<DeckLinks::Refusal>(taken)});
                }
            }
            r = {r.id, r.type, kNowhere, ""};
        }
        out.replaced[relsPartOf[owner]] = toBytes(relationshipsXml(rels));
        if (embedded.empty()) continue;
        std::vector<Edit> edits;
        for (const auto& b : blips) {
            if (!b.embeds && embedded.contains(b.id)) {
                const auto name = std::string_view(ownerXml).substr(b.nameBegin, b.nameEnd - b.nameBegin);
                edits.push_back({b.nameBegin, b.nameEnd, std::string(name.substr(0, name.size() - 4)) + "embed"});
            }
        }
        out.replaced[owner] = toBytes(XmlSpans::applied(ownerXml, std::move(edits)));
    }

    out.added = std::move(pictures.added);
    if (!pictures.types.empty()) {
        std::string types = out.replaced.contains("[Content_Types].xml") ? toString(out.replaced["[Content_Types].xml"])
                                                                         : model.part("[Content_Types].xml");
        const auto end = types.rfind("</Types>");
        if (end != std::string::npos) types.insert(end, pictures.types);
        out.replaced["[Content_Types].xml"] = toBytes(types);
    }
    return out;
}

}  // namespace orvandel::LinkSweep
