#pragma once
// Makes a slide's video start by itself: a media call that waits for a click
// becomes one that starts with its group, and the video's start gets a fixed
// pre-roll so that the movie shows the slide briefly first. Only the p:timing
// element of the slide is replaced.
#include <cstdint>
#include <string>

#include "base/Error.hpp"

namespace orvandel::MediaWriter {

class MediaError : public ::orvandel::Error {
public:
    enum class Case { noMainSeqMediaCall };

    // "no mainSeq mediacall effect to convert to autoplay"
    static MediaError noMainSeqMediaCall();

    Case errorCase() const { return case_; }
    bool operator==(const MediaError& other) const { return case_ == other.case_; }

private:
    MediaError(Case c, const std::string& description) : ::orvandel::Error(description), case_(c) {}

    Case case_;
};

// The main sequence's click-started media call becomes a "withEffect" and the
// main sequence starts on slide begin. Throws MediaError when there is no
// timing, no main-sequence media call, or one that is not click-started;
// SlideXMLError when the timing cannot be parsed.
std::string convertOnClickToAutoplay(std::string xml);

// Sets the delay of the first media call that is not click-started to
// videoPreMs. A slide without one comes back unchanged. Throws SlideXMLError
// when the timing cannot be parsed.
std::string setAutoplayPreroll(std::string xml, std::int64_t videoPreMs);

}  // namespace orvandel::MediaWriter
