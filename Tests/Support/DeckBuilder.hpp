#pragma once
// Builds small synthetic decks in code, so that a test states the one slide
// it is about and nothing else. Written with ZipArchive::create (stored
// entries). Slide N lives at ppt/slides/slideN.xml with relationship id "rIdN"
// from the presentation; its notes at ppt/notesSlides/notesSlideN.xml.
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Bytes.hpp"

namespace orvandel::test {

inline constexpr const char* kNsA = "http://schemas.openxmlformats.org/drawingml/2006/main";
inline constexpr const char* kNsR = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
inline constexpr const char* kNsP = "http://schemas.openxmlformats.org/presentationml/2006/main";

// Shape 2, a text box.
inline const std::string kTextBox =
    "<p:sp><p:nvSpPr><p:cNvPr id=\"2\" name=\"t\"/><p:cNvSpPr/><p:nvPr/></p:nvSpPr><p:spPr/></p:sp>";
// A picture: shape `id` showing image relationship `embed`, `nvPr` inside its p:nvPr.
std::string picture(const std::string& id, const std::string& embed, const std::string& nvPr = "");
// The same with the fill's content (an a:blip and what follows it) and the shape properties given.
std::string pictureWith(const std::string& id, const std::string& nvPr, const std::string& blipFill,
                        const std::string& spPr = "");
// Shape 3, a video linked through rId2 (poster frame rId9).
inline const std::string kVideo = picture("3", "rId9", "<a:videoFile r:link=\"rId2\"/>");

// A complete <p:sld> (with the a/p/r namespace declarations plus rootAttrs):
// <p:cSld><p:spTree> group properties, spTreeInner </p:spTree></p:cSld>,
// then afterCSld (timing, transition), then </p:sld>.
std::string slideXml(const std::string& spTreeInner = "", const std::string& afterCSld = "",
                     const std::string& rootAttrs = "");

// A notes slide whose body placeholder holds one <a:p><a:r><a:t> per paragraph (text escaped).
std::string notesSlideXml(const std::vector<std::string>& paragraphs);
// The same with the body's paragraphs as raw XML.
std::string notesSlideWithBody(const std::string& paragraphsXml);

// A relationship as the builder writes it.
struct Rel {
    std::string id;
    std::string type;  // a short type such as "video" gets the officeDocument relationships prefix
    std::string target;
    bool external = false;  // TargetMode="External": a link out of the deck
};
// A complete relationships part.
std::string relationshipsXml(const std::vector<Rel>& relationships);

// A theme whose colour scheme holds the given entries ("<a:dk1><a:srgbClr
// val=\"000000\"/></a:dk1>..."; missing ones are black), whose font scheme
// holds `majorFonts` and `minorFonts` (a:latin, a:ea, a:cs and a:font
// elements; Liberation Sans when empty), with the formats a theme needs.
std::string themeXml(const std::string& colourSchemeInner, const std::string& majorFonts = "",
                     const std::string& minorFonts = "");

class DeckBuilder {
public:
    // Gives the deck one master (with `clrMapAttributes` on its p:clrMap, the
    // usual mapping when empty) showing `theme`, and one layout (with
    // `layoutAfterCSld`, such as a p:clrMapOvr, after its p:cSld) that every
    // slide uses through relationship "rIdLayout". Without it the deck has none.
    DeckBuilder& setMaster(const std::string& theme, const std::string& clrMapAttributes = "",
                           const std::string& layoutAfterCSld = "");
    // Adds ppt/slides/slideN.xml (N = slides so far + 1), its sldId and
    // relationship, and the slide's own relationships.
    DeckBuilder& addSlide(const std::string& slideXml, const std::vector<Rel>& slideRels = {});
    // The notes part of slide `slideNumber` (1-based) and the slide's notesSlide relationship.
    DeckBuilder& addNotes(int slideNumber, const std::string& notesSlideXml);
    // A font the presentation embeds: a p:embeddedFont naming `typeface`, whose
    // `style` child ("regular", "bold"...) is the presentation's relationship
    // to `part` (an entry such as "ppt/fonts/font1.fntdata"), of `contentType`.
    DeckBuilder& addEmbeddedFont(const std::string& typeface, const std::string& style, const std::string& part,
                                 const Bytes& data, const std::string& contentType = "application/x-fontdata");
    // Any other entry (media, or a raw replacement of a generated part of the same name).
    DeckBuilder& addEntry(const std::string& name, const Bytes& data);
    DeckBuilder& addEntry(const std::string& name, const std::string& text);

    // The entries in the order write() stores them.
    std::vector<std::pair<std::string, Bytes>> entries() const;
    // Writes the deck and returns `path`.
    std::filesystem::path write(const std::filesystem::path& path) const;

private:
    struct Slide {
        std::string xml;
        std::vector<Rel> rels;
        std::string notes;
    };
    struct Master {
        std::string theme, clrMap, layoutAfterCSld;
    };
    struct Font {
        std::string typeface, style, part, contentType;
    };
    std::vector<Slide> slides_;
    std::optional<Master> master_;
    std::vector<Font> fonts_;
    std::vector<std::pair<std::string, Bytes>> extra_;
};

}  // namespace orvandel::test
