#pragma once
// A SmartArt diagram drawn as PowerPoint laid it out. LibreOffice often lays
// a diagram out again from its data part, which can give another picture (an
// org chart as a stack of boxes); PowerPoint saves the shapes it drew beside
// the data, in the diagram's drawing part. Here the diagram's graphic frame
// becomes a group, at the frame's place, of those shapes written as slide
// shapes. A drawing's coordinates are the frame's own (its origin at the
// frame's corner, the same EMU), so the group's child extent is the frame's.
//
// Where a shape's text sits elsewhere than the shape (dsp:txXfrm: the text
// rectangle of its geometry, a label beside a circle, text kept upright on a
// turned arrow), the text becomes a shape of its own over that rectangle,
// without fill, line or effects, so that it lands where PowerPoint put it.
#include <string>
#include <string_view>
#include <vector>

#include "deck/DeckModel.hpp"

namespace orvandel::DiagramShapes {

struct Diagram {
    std::string frameId;      // the graphic frame's p:cNvPr id
    std::string drawingPart;  // the drawing's part name: its relationships' targets resolve against it
    std::string drawingXml;   // as the state shows it (GraphicBuild::drawingInState)
    std::vector<Relationship> drawingRelationships;
};

struct Slide {
    std::string xml, rels;
};

// Pure. The slide with each diagram's frame replaced by the group of its
// drawing's shapes, and `slideRels` with the relationships those shapes use
// (the drawing's, under fresh ids, their targets from the slide's folder).
// The group keeps the frame's id and name; the shapes in it take ids above
// every id of the slide. A reference to a relationship the drawing does not
// have, or has to outside the package, is given an id of its own that leads
// nowhere. A frame that is not in the slide or has no extent, and a drawing
// without a shape tree or whose DrawingML prefix is not the slide's, are left
// as they are. A state that hides every element gives an empty group.
Slide drawn(std::string_view slideXml, std::string_view slideRels, const std::string& slidePart,
            const std::vector<Diagram>& diagrams);

}  // namespace orvandel::DiagramShapes
