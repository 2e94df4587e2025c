#pragma once
// Pictures recoloured by the deck, baked. A picture's blip may carry colour
// effects (duotone, grayscale, black and white, transparency, brightness and
// contrast, a colour made transparent, a colour laid over it) that
// LibreOffice ignores or draws otherwise: a duotone picture comes out grey.
// For every blip of a slide, layout or master with such effects (a picture's,
// a shape's or a background's fill), the picture is decoded, the effects are
// applied here, and the blip points through a new relationship of its part
// at a PNG beside the original media, without the effects applied. A fill
// LibreOffice cannot draw at all (a picture under a fill overlay, a
// background or shape style taken from the theme's pictures, ShapeFills) is
// baked whole at its box's size, and a stretched picture takes its place.
// Effects this pass does not know, and pictures it cannot decode (vector
// pictures among them: no tool at hand reads WMF and EMF safely), are left
// as they are.
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Cancellation.hpp"
#include "deck/DeckModel.hpp"
#include "plan/RenderPlan.hpp"
#include "storyboard/LinkSweep.hpp"

namespace orvandel::BlipRecolour {

struct Recolouring {
    std::map<std::string, Bytes> replaced;             // parts with new contents
    std::vector<std::pair<std::string, Bytes>> added;  // the recoloured pictures
    bool empty() const { return replaced.empty() && added.empty(); }
};

// Reads the prepared deck's parts as the link sweep leaves them (the plan
// gives the slide size, a background's box). Pictures are decoded in workDir (created, and left empty), each at most
// 128 MiB and scaled down to PictureCodec::kLargestSide. Throws RenderError when ffmpeg is missing or fails to write a
// PNG, CancelledError when cancelled.
Recolouring bake(DeckModel& preparedDeck, const RenderPlan& plan, const LinkSweep::Sweep& sweep,
                 const std::filesystem::path& workDir, const std::optional<CancellationToken>& cancel);

// The sweep with the recolouring's parts: its replacements win, as they were
// made from the sweep's.
void mergeInto(LinkSweep::Sweep& sweep, Recolouring recolouring);

}  // namespace orvandel::BlipRecolour
