#pragma once
// Turns a deck into one SlideReport per slide, in presentation order: which
// entry holds the slide, whether it is hidden, its click steps and exit
// groups, its videos and GIFs, and the advance time it needs to play all of
// it by itself. Stateless; slide XML is searched as text, and only the
// p:timing fragment and the relationships are parsed.
//
// The per-slide probes take the slide's XML text and never throw: timing that
// is missing or does not parse reads as "no video".
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Warning.hpp"
#include "deck/DeckModel.hpp"
#include "deck/GifFrames.hpp"
#include "deck/SlideReport.hpp"

namespace orvandel {

// The media-call effect of a slide's main sequence. The default value means
// there is none.
struct MainSeqVideo {
    bool present = false;
    bool isOnClick = false;                  // its nodeType is exactly "clickEffect"
    std::optional<std::int64_t> durationMs;  // the largest dur below it, when above 0

    bool operator==(const MainSeqVideo&) const = default;
};

struct MediaValidation {
    std::vector<std::int64_t> slidesWithMultipleVideos;  // display indices, report order

    bool needsAttention() const { return !slidesWithMultipleVideos.empty(); }
    bool operator==(const MediaValidation&) const = default;
};

namespace DeckScanner {

// The timing of the GIF at a part of the deck; nothing when it cannot be read.
using GifReader = std::function<std::optional<GifFrames::Timing>(const std::string& part)>;

// One report per slide. videoMs and gifMs are keyed by display index; a
// videoMs entry wins over the duration the slide's own timing states. Throws
// ArchiveError (presentation parts, a slide), SlideXMLError naming the part (a
// slide whose timing cannot be scanned) and DeckError::durationTooLong;
// nothing partial is returned. The slide list's warnings go to warn.
std::vector<SlideReport> report(DeckModel& deck, const SlideDurations& videoMs, const SlideDurations& gifMs,
                                const WarningCallback& warn = {});
std::vector<SlideReport> report(const std::filesystem::path& deck, const SlideDurations& videoMs,
                                const SlideDurations& gifMs, const WarningCallback& warn = {});

// The report of one slide (its number and hidden flag as the model read
// them) from its XML and its relationships part (empty when it has none: then
// it has no GIF). advTmMs is absent exactly when the slide has a
// main-sequence video whose length neither videoMs nor the slide gives. Each
// GIF is read through readGif; without one, every GIF reads as unreadable.
SlideReport slideReport(const Slide& slide, std::string_view xml, std::string_view relsXML,
                        const SlideDurations& videoMs, const SlideDurations& gifMs, const GifReader& readGif = {});

MediaValidation validateMedia(const std::vector<SlideReport>& reports);

// A plain-text table, one line per slide after a header; no final line feed.
std::string formatTable(const std::vector<SlideReport>& reports);

// Some media call of the timing starts without a click.
bool hasVideoAutoplay(std::string_view xml);
MainSeqVideo mainSeqVideo(std::string_view xml);
// A picture that is not a video embeds an image whose target ends in ".gif"
// (any case); relsXML is the slide's relationships part, or "" (as is one
// that does not parse). Read with the parser, any prefix: throws
// SlideXMLError::parseFailed when the slide does not parse.
bool slideHasGif(std::string_view slideXML, std::string_view relsXML);

}  // namespace DeckScanner

}  // namespace orvandel
