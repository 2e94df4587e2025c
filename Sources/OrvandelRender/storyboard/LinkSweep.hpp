#pragma once
// The deck LibreOffice draws reaches nothing outside itself. LibreOffice
// follows whatever a part's relationships point to outside the package
// (TargetMode="External": hyperlinks, linked pictures, media, OLE links,
// external chart data, fonts, anything): it fetches URLs and reads any file,
// a FIFO that never answers included. And inside the package, an SVG
// picture's own links (an <image> of another file, another SVG in a data:
// URL) are read wherever they point, whatever the picture's part is called
// (LibreOffice knows an SVG by its content).
//
// The sweep lists what to change in the prepared deck so that none of that
// is left, in every part, whatever part it is: every relationship out of the
// package points inside it, to nothing; every href or src attribute (SVG,
// legacy VML drawings, any markup part) that is not a fragment of its own
// part or a data: URL of plain bytes points to nothing, and a document type
// declaration (which could add such an attribute) goes. A linked picture that
// the link rule (DeckLinks) lets be read is still drawn: its bytes become a
// part of the storyboard beside the part that shows it, so that LibreOffice
// reads nothing but the package. Any other linked picture is drawn as
// LibreOffice draws a missing one (video and audio shapes keep their
// embedded poster) and is reported for the first visible slide that shows it.
//
// What LibreOffice was seen not to resolve is left alone: style sheets,
// url() in styles, and the packages embedded in the deck (an OLE object is
// drawn from its picture).
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Bytes.hpp"
#include "deck/DeckLinks.hpp"
#include "deck/DeckModel.hpp"
#include "plan/RenderPlan.hpp"

namespace orvandel::LinkSweep {

struct Sweep {
    std::map<std::string, Bytes> replaced;             // parts with new contents
    std::vector<std::pair<std::string, Bytes>> added;  // linked pictures taken into the package
    // The linked pictures not drawn, each for the first visible slide that
    // shows it, in the order of the deck's parts.
    std::vector<DeckLinks::NotFollowed> notFollowed;
    // Nothing to change: the prepared deck reaches nothing outside itself.
    bool empty() const { return replaced.empty() && added.empty(); }
};

// Reads every part of the prepared deck (only the first bytes of one that is
// not markup). Linked pictures are taken at most 128 MiB each. Throws the
// archive reader's errors for a deck whose directory cannot be read; a part
// that cannot be read is left as it is (LibreOffice cannot read it either).
Sweep sweep(DeckModel& preparedDeck, const RenderPlan& plan, const DeckLinks::Rule& rule);

// The markup with every href and src attribute that could lead outside it
// pointing to nothing ("#"); nothing when none does. Pure.
std::optional<std::string> withoutOutsideReferences(std::string_view markup);

}  // namespace orvandel::LinkSweep
