#pragma once
// The media that move in the movie: for every visible slide, each video, audio
// clip and GIF (SlideMedia) placed in the movie's frame and time, ready for
// the encoder to draw over the stills and mix into the soundtrack in the same
// pass. A video plays in its rectangle from the moment the slide's timing
// starts it until its own end (looping until the slide ends when the deck
// says so), then holds its last frame; before that the still shows its
// poster frame. A GIF plays from the slide's start, honouring its own loop
// count. An audio clip only sounds. Everything stops at the slide's end,
// except the sounds of effects and transitions (EffectSounds), which play
// on as a slideshow plays them.
//
// A medium that does not decode keeps what the still shows (its poster
// frame, or its first frame for a GIF) and is reported as a warning; so does
// a linked one the link rule (DeckLinks) does not let be read, or that is not
// there. A medium the timing never starts stays still without a warning.
#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Cancellation.hpp"
#include "base/Warning.hpp"
#include "deck/DeckLinks.hpp"
#include "media/MediaProbe.hpp"
#include "media/SlideMedia.hpp"
#include "plan/DrawnEffect.hpp"
#include "plan/FrameSize.hpp"
#include "plan/MsRange.hpp"
#include "plan/RenderPlan.hpp"

namespace orvandel {

// One medium as the encoder plays it.
struct MediaLayer {
    std::filesystem::path file;
    std::int64_t startMs = 0;      // movie time of its first frame and sound
    std::int64_t trimStartMs = 0;  // skipped at the start of the file
    std::int64_t playMs = 0;       // how much is read from there, loops included (> 0)
    bool loops = false;            // read again from the start until playMs
    bool gif = false;              // loops as many times as the file says
    bool picture = true;
    bool sound = false;
    std::int64_t volume = 100000;  // thousandths of a percent
    // Its rectangle in frame pixels before rotation (width, height >= 2).
    std::int64_t left = 0, top = 0, width = 0, height = 0;
    std::int64_t rotation = 0;  // 60000ths of a degree, clockwise
    bool flipH = false, flipV = false;
    std::int64_t cropLeft = 0, cropTop = 0, cropRight = 0, cropBottom = 0;  // thousandths of a percent
    std::vector<MsRange> shown;  // the movie spans in which its picture is drawn
    bool operator==(const MediaLayer&) const = default;
};

namespace MediaLayers {

// Where a slide lies in the movie and what its timing says of a medium.
struct SlideTime {
    std::int64_t startMs = 0;    // the slide's start in the movie
    std::int64_t advanceMs = 0;  // its length
    // When its timing starts the medium, from the slide's start; nothing: never.
    std::optional<std::int64_t> playStartMs;
    // The spans of the slide (from its start) in which the medium's shape is
    // not hidden by a build step.
    std::vector<MsRange> visible;
};

// The layer of one medium, pure; nothing when it does not play in the slide.
// The layer's `file` is left empty for the caller.
std::optional<MediaLayer> place(const SlideMedium& medium, const MediaInfo& info, const SlideTime& time,
                                FrameSize frame, std::int64_t slideWidthEmu, std::int64_t slideHeightEmu);

// The span in which the layer's picture changes (for the timeline's frame
// rate); nothing for a sound.
std::optional<MsRange> moving(const MediaLayer& layer);

struct Gathered {
    std::vector<MediaLayer> layers;
    std::vector<MsRange> moving;
    // Per slide (display index), the GIF shapes the stills leave out because
    // the movie draws them.
    std::map<std::int64_t, std::vector<std::string>> drawnGifs;
    // The linked media not read, for the caller to report with the slide's
    // other links.
    std::vector<DeckLinks::NotFollowed> notFollowed;
    // gatherPostponingProbe: ffprobe is missing (and nothing was gathered).
    std::exception_ptr missingProbe;
};

// Reads every visible slide's media, and the sounds of its effects and of
// its transition (`transitions`: the slides' own, by slide part; their
// relationship ids are the prepared slide's, which keeps the source slide's
// relationships) from the prepared deck, copies them to mediaDir (those
// linked out of the deck through the link rule, at most 16 GiB each) and
// probes them. Media that cannot play are reported through `warn`. Throws the archive reader's errors, FileError when
// mediaDir cannot be written, RenderError when ffprobe is missing, CancelledError.
Gathered gather(DeckModel& preparedDeck, const RenderPlan& plan, FrameSize frame, const std::filesystem::path& mediaDir,
                const DeckLinks::Rule& links, const WarningCallback& warn,
                const std::optional<CancellationToken>& cancel,
                const std::map<std::string, DrawnEffect>& transitions = {});

// gather, but a missing ffprobe is kept in missingProbe for the caller to
// throw where a missing ffmpeg would be, so that the tools are asked for in
// the order the stages need them.
Gathered gatherPostponingProbe(DeckModel& preparedDeck, const RenderPlan& plan, FrameSize frame,
                               const std::filesystem::path& mediaDir, const DeckLinks::Rule& links,
                               const WarningCallback& warn, const std::optional<CancellationToken>& cancel,
                               const std::map<std::string, DrawnEffect>& transitions = {});

}  // namespace MediaLayers

}  // namespace orvandel
