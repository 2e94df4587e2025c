#pragma once
// The media of one slide as the deck places them: each video, audio clip and
// animated GIF with the file behind it, its rectangle on the slide and how it
// plays (trim, volume, loop). A pure function of the slide's XML and its
// relationships; the renderer decides from it what moves in the movie.
//
// A medium's rectangle is its shape's a:xfrm mapped through the transforms of
// the groups around it (offset and scale; a group's own rotation and flip are
// not applied). Its rotation and flips are the shape's own, its crop the
// picture's a:srcRect (negative values, which pad, count as 0).
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvandel {

struct SlideMedium {
    enum class Kind { video, audio, gif };
    Kind kind = Kind::video;
    std::string shapeId;
    // The archive entry behind it, or, for a link out of the deck, the
    // relationship's target as written (externalTarget).
    std::string entry;
    std::string externalTarget;
    std::int64_t xEmu = 0, yEmu = 0, widthEmu = 0, heightEmu = 0;
    std::int64_t rotation = 0;  // 60000ths of a degree, clockwise
    bool flipH = false, flipV = false;
    // Thousandths of a percent of the source cut from each side.
    std::int64_t cropLeft = 0, cropTop = 0, cropRight = 0, cropBottom = 0;
    std::int64_t trimStartMs = 0, trimEndMs = 0;  // cut from the start and the end
    std::int64_t volume = 100000;                 // thousandths of a percent
    bool loops = false;                           // until the slide ends
    bool operator==(const SlideMedium&) const = default;
};

namespace SlideMedia {

// In document order. slidePart is the slide's archive path (targets are
// relative to its folder). A slide that does not parse has no media: the
// plan reader has already refused a slide whose timing cannot be read.
std::vector<SlideMedium> find(std::string_view slideXml, std::string_view relsXml, std::string_view slidePart);

// A time the deck writes in milliseconds, maybe with a fraction ("1234.56"),
// to whole milliseconds, rounded half up; nothing for anything else.
std::optional<std::int64_t> wholeMs(std::string_view text);

}  // namespace SlideMedia

}  // namespace orvandel
