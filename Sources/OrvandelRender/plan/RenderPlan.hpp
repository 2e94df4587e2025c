#pragma once
// What the headless renderer needs to know of a prepared deck: the slides in
// presentation order with their hidden flags, the advance time the timing
// rewrite wrote into each transition and what each visible slide shows while
// it plays (PlayoutTimeline), and the slide size. A chart or diagram built
// part by part that cannot be drawn so is shown whole, with a warning.
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Warning.hpp"
#include "deck/DeckModel.hpp"
#include "plan/PlayoutTimeline.hpp"

namespace orvandel {

struct RenderSlide {
    std::int64_t displayIndex = 0;  // 1-based; also the slide's page in the PDF
    std::string file;
    bool hidden = false;
    std::int64_t advanceTimeMs = 0;  // 0 for hidden slides without one
    SlidePlayout playout;            // left empty for hidden slides
    // The frames (ids) of the diagrams drawn from the shapes PowerPoint saved
    // with them (GraphicBuild::drawnDiagrams); left empty for hidden slides.
    std::vector<std::string> drawnDiagrams;
    bool operator==(const RenderSlide&) const = default;
};

struct RenderPlan {
    std::vector<RenderSlide> slides;
    std::int64_t slideWidthEmu = 0;
    std::int64_t slideHeightEmu = 0;
    std::vector<Warning> warnings;  // graphic builds shown whole, in slide order

    std::int64_t totalMs() const;  // sum over the visible slides
};

namespace RenderPlanReader {

// Throws RenderError when a visible slide has no advance time (the deck was
// not prepared) or a timing that cannot be read, and the archive reader's
// errors for an unreadable deck.
RenderPlan read(DeckModel& preparedDeck);
RenderPlan read(const std::filesystem::path& preparedDeck);

// The advTm of the slide's transition block, if any (exposed for tests).
std::optional<std::int64_t> advanceTimeMs(const std::string& slideXml);

}  // namespace RenderPlanReader

}  // namespace orvandel
