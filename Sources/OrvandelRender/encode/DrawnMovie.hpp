#pragma once
// The frames of a movie whose changes are drawn, handed to the encoder
// through a RawVideoStream: each frame of the timeline is the still of its
// shot, or within a drawn change the frame EffectPainter makes from the
// stills on either side of it. Stills are read from the frame files
// (FrameConverter) as they are needed; at most a few are held at once. A
// drawing's first frame, the picture already on screen, is left out.
#include <filesystem>
#include <optional>
#include <vector>

#include "base/Cancellation.hpp"
#include "encode/FrameSchedule.hpp"
#include "encode/RawVideoStream.hpp"
#include "pixels/DrawnChanges.hpp"

namespace orvandel::DrawnMovie {

// shots are the timeline's entries (a frame file and its duration each);
// pageFrames the frame file of every storyboard page (page p at p - 1, empty
// when not drawn), for the stills without an effect's targets. The stream's
// times start at originMs (a segment's start in the movie), where the
// segment's first frame is always written. Stops early, without an error, when
// the stream's reader has gone (the encoder reports why). Throws
// RenderError for a frame file that cannot be read, CancelledError.
void write(RawVideoStream& stream, const std::vector<ScheduledFrame>& frames, const std::vector<ScheduledStill>& shots,
           const std::vector<DrawnChange>& changes, const std::vector<std::filesystem::path>& pageFrames,
           FrameSize size, const std::optional<CancellationToken>& cancel, std::int64_t originMs = 0);

}  // namespace orvandel::DrawnMovie
