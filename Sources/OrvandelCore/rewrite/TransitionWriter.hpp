#pragma once
// Gives a slide its automatic advance: a transition that never waits for a
// click and advances after a fixed time, with a zero transition duration where
// the reader understands it. An existing transition is replaced where it
// stands; every other byte of the slide is kept.
#include <cstdint>
#include <string>

namespace orvandel::TransitionWriter {

// One line, no whitespace between tags; declares its own mc and p14 prefixes.
std::string block(std::int64_t advanceTimeMs);

// Replaces the slide's transition block, or inserts one before "<p:timing",
// or else before the slide's own p:extLst, or else before "</p:sld>".
// Throws SlideXMLError::fragmentNotFound("</p:sld>") when there is no place.
std::string insert(std::string xml, std::int64_t advanceTimeMs);

}  // namespace orvandel::TransitionWriter
