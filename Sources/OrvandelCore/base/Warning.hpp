#pragma once
// Something an export noticed and went on past: a part it could not read, a
// medium it could not play. The export still succeeds and the user is told;
// the command line prints text, the app shows its own words for each kind.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvandel {

struct Warning {
    enum class Kind {
        notesUnreadable,         // the slide's notes part could not be read: no notes for it
        notesTextRepaired,       // the notes are not valid UTF-8: bad bytes became U+FFFD
        slidePartMissing,        // a listed slide's part is missing: later slides renumber
        mediaNotPlayed,          // a video, audio clip, GIF or effect sound could not be decoded: its first
                                 // frame shows (a sound is not heard)
        graphicBuildShownWhole,  // a chart or diagram build could not be drawn step by step
        linkNotFollowed,         // a linked picture or medium was not read (a network address, outside the
                                 // deck's folder, not a regular file, missing): its poster or placeholder shows
        fontSubstituted,         // a font the deck uses is not installed and is drawn with another one
        embeddedFontNotUsed,     // a font the deck embeds could not be decoded: its text falls back to another font
        gifLengthAssumed,        // an animated GIF was given no length: it plays its own loop once (lengthMs)
        gifLengthIgnored,        // a length was given for a GIF that is a still picture (or a slide without a GIF)
        videoLengthIgnored,      // a video length was given for a slide without a video (in a batch)
        mediaStaysStill,         // videos or audio clips that only a click (on them or another shape) starts (slides):
                                 // they stay still (their poster) in the lesson
        deckConverted,           // the deck was not a .pptx and was converted first (detail: its format)
    };

    Kind kind = Kind::notesUnreadable;
    std::int64_t slide = 0;  // display number (1-based), the slide's position for slidePartMissing, 0 for a font
    std::string detail;      // the reason, in the system's, the parser's or the tool's words
    std::string text;        // one English sentence
    std::string drawnWith;   // fontSubstituted: the font drawn instead of the one in detail
    // Every slide the warning concerns, in order, when it can concern several
    // (mediaStaysStill); `slide` is then the first.
    std::vector<std::int64_t> slides;
    std::int64_t lengthMs = 0;  // gifLengthAssumed: the length used

    static Warning notesUnreadable(std::int64_t slide, std::string reason);
    static Warning notesTextRepaired(std::int64_t slide);
    static Warning slidePartMissing(std::int64_t position, std::string part);
    static Warning mediaNotPlayed(std::int64_t slide, std::string medium, std::string reason);
    static Warning graphicBuildShownWhole(std::int64_t slide, std::string reason);
    // One per slide: `linked` names the first link not followed ("picture",
    // "video", "audio clip"), `target` is its target as the deck writes it
    // (shown shortened, without control characters), `reason` ends the
    // sentence ("is outside the deck's folder and was not read"); `more`
    // counts the slide's other links not followed.
    static Warning linkNotFollowed(std::int64_t slide, const std::string& linked, std::string target,
                                   const std::string& reason, std::int64_t more = 0);

    // One per font, not per slide: `slide` is the first that uses it, `font`
    // (the detail) the name the deck writes, shown as the deck's names are.
    static Warning fontSubstituted(std::int64_t firstSlide, std::string font, std::string drawnWith);
    // `typeface` as the deck names it, `style` as its list does ("bold").
    static Warning embeddedFontNotUsed(const std::string& typeface, const std::string& style, std::string reason);

    static Warning gifLengthAssumed(std::int64_t slide, std::int64_t lengthMs);
    // `withoutGif`: the slide has no GIF at all, rather than a still one.
    static Warning gifLengthIgnored(std::int64_t slide, bool withoutGif);
    static Warning videoLengthIgnored(std::int64_t slide);
    // `medium` is "video" or "audio clip"; one warning names every slide.
    static Warning mediaStaysStill(std::vector<std::int64_t> slides, const std::string& medium);
    // `deckName` the file as the user named it, `format` its extension without the dot ("ppt", "odp").
    static Warning deckConverted(const std::string& deckName, const std::string& format);

    bool operator==(const Warning&) const = default;
};

using WarningCallback = std::function<void(const Warning&)>;

}  // namespace orvandel
