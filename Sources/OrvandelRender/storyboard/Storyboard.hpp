#pragma once
// The storyboard: the deck LibreOffice draws, one slide per state that the
// movie shows (PlayoutTimeline), so that one conversion to PDF gives a page
// for every state of every slide. A slide's first page is the slide's own
// part; its further states are copies placed right after it. Hidden slides
// keep one page each (they are exported too, so pages follow storyboard slides
// one to one).
//
// A diagram with a drawing of its own is drawn from that drawing's shapes in
// every page of its slide (DiagramShapes), without the shapes of the
// elements a state hides.
//
// A storyboard slide is a still: no timing, no transition. In it, hidden
// shapes are removed from the shape tree: every shape is positioned on its
// own, so nothing else moves (and LibreOffice ignores hidden="1" on
// placeholders). Hidden paragraphs stay in place, so that the text keeps its
// layout: their runs become fully transparent, their bullets are switched
// off, and a numbered paragraph after them keeps its number.
//
// A slide-number field in a slide's own markup is written as the number the
// slide has in the prepared deck (its place, counted from the presentation's
// firstSlideNum), so that every page of the slide shows it whatever its place
// in the storyboard. Fields in layouts and masters are left as they are:
// LibreOffice numbers those by the page's place.
//
// What an emphasis or a motion path leaves on a shape (PlayoutState::held)
// is drawn on it in every state that holds it (HeldShapes), so such states
// get pages of their own. An emphasis or a motion path is drawn by lifting
// its targets off a page of the state before without them: that page (the
// shot's withoutPage) is added to the slide's pages as well.
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plan/DrawnEffect.hpp"
#include "plan/PlayoutTimeline.hpp"
#include "plan/RenderPlan.hpp"
#include "storyboard/HeldShapes.hpp"
#include "storyboard/LinkSweep.hpp"

namespace orvandel::Storyboard {

struct Page {
    std::int64_t displayIndex = 0;  // the prepared deck's slide it shows
    std::vector<PlayoutTarget> hidden;
    std::vector<HeldChange> held;
    bool operator==(const Page&) const = default;
};

struct Shot {
    int page = 0;  // 1-based, as in the PDF
    std::int64_t durationMs = 0;
    // How the movie changes to this shot from the one before: a state's
    // effect, or for a slide's first shot the slide's transition.
    DrawnEffect effect{};
    bool opensSlide = false;
    // For an emphasis or a motion path drawn into this shot: the page of the
    // state before with the effect's targets left out, so that the targets'
    // own pixels can be lifted off it; 0 when there is none.
    int withoutPage = 0;
    bool operator==(const Shot&) const = default;
};

struct Layout {
    // Storyboard slide i is pages[i - 1]; the pages of a slide are
    // consecutive, and one slide's states that look alike share a page.
    std::vector<Page> pages;
    // What the movie shows, in order: each visible slide's states, clipped
    // to its advance time, so that the durations add up to the plan's total.
    std::vector<Shot> shots;
};

// Pure. With steps false every slide shows its final state, as drawn, for its
// whole advance time. `transitions` (by slide part) are the slides' own; the
// first slide's is not drawn (nothing comes before it). `drawnGifs` (shape
// ids by slide display index, MediaLayers::Gathered) are left out of every
// state of their slide: the movie draws them, and their own transparent
// pixels would show the first frame beneath.
Layout layout(const RenderPlan& plan, bool steps = true, const std::map<std::string, DrawnEffect>& transitions = {},
              const std::map<std::int64_t, std::vector<std::string>>& drawnGifs = {});

// The storyboard slide of one state of a slide (exposed for tests). A
// paragraph whose text cannot be edited safely (it declares namespaces of its
// own or uses prefixes the fragment parser does not know) is left visible.
// The held changes are drawn as HeldShapes does, in `context` (the slide's
// size and its placeholders' inherited boxes). With a `slideNumber`, the
// slide's own slide-number fields become plain text of that number.
std::string slideInState(std::string_view slideXml, const std::vector<PlayoutTarget>& hidden,
                         const std::vector<HeldChange>& held = {}, const HeldShapes::Context& context = {},
                         std::optional<std::int64_t> slideNumber = std::nullopt);

// Writes the storyboard of the prepared deck to `out`: its entries copied as
// they are, the changed parts replaced and the copies added (stored), as in
// the timing rewrite; the parts are taken as the sweep leaves them (slides
// and their copies alike), and its parts are added. Throws the archive
// reader's errors and RenderError for a deck whose slide list cannot be
// extended.
void write(DeckModel& preparedDeck, const RenderPlan& plan, const Layout& layout, const std::filesystem::path& out,
           const LinkSweep::Sweep& sweep = {});

}  // namespace orvandel::Storyboard
