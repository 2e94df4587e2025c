#pragma once
// Makes exit effects play by themselves. On a slide of bullets, whose groups
// the bullet writer has already timed, the first exit of each group gets a
// short fixed delay; on any other slide each click-started exit becomes an
// effect that follows the previous one, at a fixed step. Only the p:timing
// element of the slide is replaced; a slide without timing, without a main
// sequence or with nothing to change comes back unchanged.
#include <cstdint>
#include <string>

namespace orvandel::ExitWriter {

// Throws SlideXMLError when the timing cannot be parsed.
std::string retimeExitHeads(std::string xml, std::int64_t offsetMs);

// Click heads of presetClass "exit" become afterEffect with the delays
// TimingPolicy::EXIT_OFFSET + k * TimingPolicy::STEP, and the main sequence starts on slide begin. A head
// without a start condition to carry its delay is left alone. Throws
// SlideXMLError when the timing cannot be parsed.
std::string convertExitToAfterEffect(std::string xml);

}  // namespace orvandel::ExitWriter
