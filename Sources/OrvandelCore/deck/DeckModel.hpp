#pragma once
// One deck, read once: the file is opened and its directory parsed a single
// time, and everything an export asks of it (the slide list, each part's
// relationships, the parts themselves, the notes parts, the slides'
// transitions) is answered from that one reading. A text part is inflated at
// most once and kept (within PptxArchive::largestPart() each, as any read);
// media are not kept: read them through archive() as bytes or streamed.
//
// Relationships are read here and nowhere else, with the XML parser.
//
// Not for use by several threads at once: reads fill caches.
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Warning.hpp"
#include "container/PptxArchive.hpp"
#include "container/XmlElement.hpp"

namespace orvandel {

// One relationship of a part, as its relationships part lists it.
struct Relationship {
    std::string id, type, target;
    std::string mode;  // TargetMode as written ("" when absent)
    // An external target (a link out of the deck) is not an entry of it.
    bool external() const { return !mode.empty() && mode != "Internal"; }
    bool operator==(const Relationship&) const = default;
};

namespace Relationships {

// "ppt/slides/slide3.xml" -> "ppt/slides/_rels/slide3.xml.rels".
std::string relsPath(std::string_view part);

// A relationship target as an archive path: "/x" is absolute (-> "x"), else
// it is resolved against the directory of relativeTo, ".." and "." applied.
std::string resolveEntry(std::string_view target, std::string_view relativeTo);

// The reverse: the target by which a part `owner` reaches the entry `part`,
// relative to owner's directory ("ppt/media/a.png" from
// "ppt/slides/slide1.xml" -> "../media/a.png").
std::string relativeTarget(const std::string& part, const std::string& owner);

// Every Relationship element of a relationships part, in document order,
// wherever it stands and whatever its prefix. Throws XmlParseError when the
// text is not well-formed.
std::vector<Relationship> parse(std::string_view relsXml);

// Id -> relationship; a later one with the same id replaces the earlier.
std::map<std::string, Relationship> byId(const std::vector<Relationship>& relationships);

}  // namespace Relationships

// The slides a deck lists, as found.
struct SlideList {
    std::vector<std::string> files;  // entry paths ("ppt/slides/slide3.xml"), in p:sldId order
    // A listed slide whose relationship or part is missing is left out, and
    // the slides after it take the numbers one lower: said here.
    std::vector<Warning> warnings;
    // The relationship ids (r:id) of the p:sldId entries left out.
    std::vector<std::string> droppedIds;
};

// A listed slide as the deck shows it.
struct Slide {
    std::string file;         // its entry path
    std::int64_t number = 0;  // its display number: 1, 2... in list order, hidden slides counted
    bool hidden = false;
    bool operator==(const Slide&) const = default;
};

class DeckModel {
public:
    explicit DeckModel(std::filesystem::path deck);
    DeckModel(const DeckModel&) = delete;
    DeckModel& operator=(const DeckModel&) = delete;

    const std::filesystem::path& path() const { return archive_.path(); }
    // The open archive, for media (bytes, streamed copies, byte ranges) and
    // for copying the deck into a new one.
    PptxArchive::Deck& archive() { return archive_; }

    // The slides in p:sldId order, read with the XML parser (comments, either
    // quote, any relationship id and any namespace prefix are fine). Throws
    // PptxArchive::ArchiveError when the presentation part or its
    // relationships cannot be read, SlideXMLError naming the part when one
    // does not parse.
    const SlideList& slideList();
    const std::vector<std::string>& slideFiles() { return slideList().files; }
    // The presentation's p:sldSz element (any prefix), from the same reading
    // as the slide list; nothing when it has none. Throws as slideList().
    std::optional<XmlElement> slideSize();

    // The slides of slideList() with their display numbers and hidden flags,
    // read once. Reads every slide part: throws as slideList() and part() do.
    const std::vector<Slide>& slides();
    // The slide's root start tag is the presentation namespace's sld and its
    // show attribute is "0" or, in any case, "false". A slide whose text does
    // not parse up to that tag is not hidden.
    static bool isHidden(std::string_view slideXml);

    bool contains(const std::string& entry) { return archive_.contains(entry); }
    // The part as UTF-8 text, inflated on the first call and kept. Throws as
    // PptxArchive::Deck::readEntry does (each call, until a read succeeds).
    const std::string& part(const std::string& entry);

    // The part as text whose bytes that are not UTF-8 are replaced (U+FFFD),
    // for the notes, which are shown even when damaged; `repaired` says
    // whether any were. Read once and kept, within largestPart() as part().
    const std::string& repairedPart(const std::string& entry, bool& repaired);

    // The relationships of `part` (by the part's own name): none when it has
    // no relationships part. Throws ArchiveError when that part cannot be
    // read, XmlParseError when it is not well-formed.
    const std::vector<Relationship>& relationships(const std::string& part);
    // The relationships part's text, "" when there is none.
    const std::string& relationshipsText(const std::string& part);

    // The notes part a slide lists (its first notesSlide relationship),
    // resolved; nothing when it lists none. Throws as relationships() does.
    std::optional<std::string> notesPart(const std::string& slideFile);

    // Every slide's transition markup (its p:transition, or the
    // mc:AlternateContent around them) by slide part, for slides that have
    // one. Throws ArchiveError as part() does.
    std::map<std::string, std::string> transitions();

    // How many parts have been inflated so far (each at most once).
    std::size_t partsInflated() const { return parts_.size() + repairedParts_.size(); }

private:
    PptxArchive::Deck archive_;
    std::optional<SlideList> slideList_;
    std::optional<std::vector<Slide>> slides_;
    std::optional<XmlElement> slideSize_;
    std::map<std::string, std::string> parts_;
    std::map<std::string, std::string> repairedParts_;  // only those that needed it
    std::map<std::string, std::vector<Relationship>> relationships_;
};

}  // namespace orvandel
