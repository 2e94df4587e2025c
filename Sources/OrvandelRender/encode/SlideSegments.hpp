#pragma once
// The movie cut into one segment per visible slide, each encoded by itself
// (MovieEncoder::encodeSegment) so that an unchanged slide's segment can be
// taken from an earlier export. A slide's segment runs from its first
// millisecond to the next slide's: its frames, the changes drawn in it (a
// transition included: it starts the slide), and the media pictures shown
// in it, their times from the segment's start (a medium's picture never
// outlasts its slide). Pure.
#include <cstdint>
#include <vector>

#include "encode/FrameSchedule.hpp"
#include "media/MediaLayers.hpp"
#include "pixels/DrawnChanges.hpp"
#include "plan/MsRange.hpp"
#include "storyboard/Storyboard.hpp"

namespace orvandel {

struct SlideSegment {
    MsRange span;                            // in the movie
    std::size_t firstShot = 0, endShot = 0;  // its shots: [firstShot, endShot)
    std::vector<ScheduledFrame> frames;      // movie times; entries are shot indices
    std::vector<DrawnChange> changes;        // movie times; shots by index
    std::vector<MediaLayer> pictures;        // from the segment's start, without sound
    // The storyboard pages its frames are made of: its shots', the pages
    // without an effect's targets, and the shot a transition starts from.
    std::vector<int> pages;
    bool operator==(const SlideSegment&) const = default;
};

namespace SlideSegments {

// frames: the whole movie's (FrameSchedule::frames over the shots); changes:
// DrawnChanges::plan's; media: every layer (sounds are left out).
std::vector<SlideSegment> split(const std::vector<Storyboard::Shot>& shots, const std::vector<ScheduledFrame>& frames,
                                const std::vector<DrawnChange>& changes, const std::vector<MediaLayer>& media);

}  // namespace SlideSegments

}  // namespace orvandel
