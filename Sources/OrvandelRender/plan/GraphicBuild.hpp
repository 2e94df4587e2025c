#pragma once
// Charts and diagrams built part by part, for the storyboard: where a graphic
// frame's chart or diagram drawing lives, whether the parts a state hides can
// be hidden in a copy of it, and that copy. A chart copy keeps every series,
// category, axis and the legend where they were and makes the hidden ones
// fully transparent (no fill, no line, no label), so that nothing moves as
// the parts appear. A diagram copy leaves out the drawing's shapes of the
// hidden elements and their connectors: every shape of a drawing is placed
// on its own, as on a slide.
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "deck/DeckModel.hpp"
#include "plan/PlayoutTimeline.hpp"

namespace orvandel::GraphicBuild {

struct Source {
    enum class Kind { chart, diagram };
    Kind kind = Kind::chart;
    std::string relationshipId;  // the slide's relationship to the part; a copy's slide retargets it
    std::string part;            // the chart part, or the diagram's drawing part
    std::string dataPart;        // a diagram's data part: which shapes show which element
    bool operator==(const Source&) const = default;
};

// The chart or diagram drawing that graphic frame `shapeId` of the slide
// shows, or why its parts cannot be drawn one by one (an embedded OLE chart,
// a diagram without a drawing, a missing part). Throws the archive reader's
// errors for parts that are listed but unreadable.
std::variant<Source, std::string> locate(DeckModel& deck, const std::string& slideFile, std::string_view slideXml,
                                         const std::string& shapeId);

// The ids of the slide's diagram frames whose diagram has a drawing of its
// own with shapes in it, in document order. Throws as locate does.
std::vector<std::string> drawnDiagrams(DeckModel& deck, const std::string& slideFile, std::string_view slideXml);

// Why the parts cannot be hidden in a copy of the graphic (a series or a
// category the chart does not have, an element the drawing shows no shape
// of), or nothing. partXml is the chart or the drawing, dataXml a diagram's
// data part.
std::optional<std::string> whyNot(const Source& source, std::string_view partXml, std::string_view dataXml,
                                  const std::vector<GraphicPart>& parts);

// Pure: the chart part with the hidden parts fully transparent.
std::string chartInState(std::string_view chartXml, const std::vector<GraphicPart>& hidden);

// Pure: the diagram drawing without the shapes of the hidden elements.
std::string drawingInState(std::string_view drawingXml, std::string_view dataXml,
                           const std::vector<GraphicPart>& hidden);

}  // namespace orvandel::GraphicBuild
