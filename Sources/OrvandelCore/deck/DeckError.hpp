#pragma once
// The error of the export path: raised while preparing the deck, assembling
// cues, running the export flow and writing the package. what() is the text
// the user finally sees when the application has no wording of its own, so it
// must not change.
#include <cstdint>
#include <string>
#include <vector>

#include "base/Error.hpp"

namespace orvandel {

class DeckError : public Error {
public:
    enum class Case {
        missingVideoDuration,
        invalidOutput,
        videoWithoutMediaCall,
        gifWithoutDuration,
        multipleVideosOnSlide,
        masterDurationMismatch,
        orvWriteFailed,
        noVisibleSlides,
        durationTooLong,
        lengthForSlideWithout,
    };

    // What a length was given for: lengthForSlideWithout.
    enum class Medium { gif, video };

    // One rejected slide of the prepared deck and why it was rejected.
    struct SlideFailure {
        std::int64_t slide = 0;
        std::string reason;
        bool operator==(const SlideFailure&) const = default;
    };

    static DeckError missingVideoDuration(std::int64_t slide);
    // Every slide whose video has no known length, in order (slide() is the first).
    static DeckError missingVideoDuration(std::vector<std::int64_t> slides);
    // Failures in slide order; all of them are listed in the description.
    static DeckError invalidOutput(std::vector<SlideFailure> failures);
    static DeckError videoWithoutMediaCall(std::int64_t slide);
    // Every slide whose video nothing starts, in order (slide() is the first).
    static DeckError videoWithoutMediaCall(std::vector<std::int64_t> slides);
    static DeckError gifWithoutDuration(std::vector<std::int64_t> slides);
    static DeckError multipleVideosOnSlide(std::vector<std::int64_t> slides);
    // Both in milliseconds; the description shows them in seconds, measured first.
    static DeckError masterDurationMismatch(std::int64_t expectedMs, std::int64_t measuredMs);
    static DeckError orvWriteFailed(std::string path);
    // Every slide is hidden (or there are none): there is nothing to put on a timeline.
    static DeckError noVisibleSlides();
    // A delay or duration of the slide (in its timing, or given for its video
    // or GIF) is longer than a day; what says which.
    static DeckError durationTooLong(std::int64_t slide, std::string what);
    // A GIF or video length was given for slides that have no GIF / no video
    // (or that the deck does not have), all of them in order.
    static DeckError lengthForSlideWithout(Medium medium, std::vector<std::int64_t> slides);

    Case errorCase() const { return case_; }
    // missingVideoDuration, videoWithoutMediaCall (their first slide),
    // durationTooLong, lengthForSlideWithout (its first); 0 otherwise.
    std::int64_t slide() const { return slide_; }
    // invalidOutput; empty otherwise.
    const std::vector<SlideFailure>& failures() const { return failures_; }
    // gifWithoutDuration, multipleVideosOnSlide, missingVideoDuration,
    // videoWithoutMediaCall, lengthForSlideWithout; empty otherwise.
    const std::vector<std::int64_t>& slides() const { return slides_; }
    // lengthForSlideWithout; gif otherwise.
    Medium medium() const { return medium_; }
    // masterDurationMismatch; 0 otherwise.
    std::int64_t expectedMs() const { return expectedMs_; }
    std::int64_t measuredMs() const { return measuredMs_; }
    // orvWriteFailed; empty otherwise.
    const std::string& path() const { return path_; }

private:
    DeckError(Case c, const std::string& description);

    Case case_;
    std::int64_t slide_ = 0;
    std::vector<SlideFailure> failures_;
    std::vector<std::int64_t> slides_;
    std::int64_t expectedMs_ = 0;
    std::int64_t measuredMs_ = 0;
    std::string path_;
    Medium medium_ = Medium::gif;
};

}  // namespace orvandel
