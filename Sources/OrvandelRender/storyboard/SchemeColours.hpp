#pragma once
// What a scheme colour stands for in a slide, layout or master: the master's
// colour map (p:clrMap), overridden by the layout's and then the slide's
// (p:clrMapOvr/a:overrideClrMapping), over the colours of the master's theme.
#include <string_view>
#include <vector>

#include "storyboard/DrawingColour.hpp"

namespace orvandel::SchemeColours {

// The scheme of a part: the theme's and the master's texts, and the texts
// of the parts between the master and the part, outermost first (a layout,
// then a slide), whose colour map overrides apply in that order. What a
// text does not hold (or cannot be read) is left out. Pure.
DrawingColour::Scheme schemeOf(std::string_view theme, std::string_view master,
                               const std::vector<std::string_view>& overriding);

}  // namespace orvandel::SchemeColours
