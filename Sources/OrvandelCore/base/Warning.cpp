#include "base/Warning.hpp"

#include <string_view>

namespace orvandel {

namespace {

Warning make(Warning::Kind kind, std::int64_t slide, std::string detail, std::string text) {
    return Warning{kind, slide, std::move(detail), std::move(text), {}};
}

std::string slideName(std::int64_t slide) { return "slide " + std::to_string(slide); }

// "2.4 s", "12 s", "0.05 s": milliseconds as seconds, without trailing zeros.
std::string seconds(std::int64_t ms) {
    std::string out = std::to_string(ms / 1000);
    if (const std::int64_t rest = ms % 1000; rest != 0) {
        std::string fraction = std::to_string(1000 + rest).substr(1);
        while (fraction.back() == '0') fraction.pop_back();
        out += "." + fraction;
    }
    return out + " s";
}

// A name from the deck as a warning line shows it: on one line, without
// control characters (a terminal would act on them), at most 100 bytes.
std::string shown(std::string_view name) {
    constexpr std::size_t kMost = 100;
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto c = static_cast<unsigned char>(name[i]);
        if (out.size() >= kMost && (c & 0xC0) != 0x80) return out + "...";
        out += c < 0x20 || c == 0x7F ? '?' : name[i];
    }
    return out;
}

}  // namespace

Warning Warning::notesUnreadable(std::int64_t slide, std::string reason) {
    std::string text = slideName(slide) + ": the speaker notes could not be read (" + reason +
                       "); the package has no notes for this slide";
    return make(Kind::notesUnreadable, slide, std::move(reason), std::move(text));
}

Warning Warning::notesTextRepaired(std::int64_t slide) {
    return make(Kind::notesTextRepaired, slide, "invalid UTF-8",
                slideName(slide) +
                    ": the speaker notes are not valid UTF-8; the characters that could not be read were replaced");
}

Warning Warning::slidePartMissing(std::int64_t position, std::string part) {
    std::string text = "the slide at position " + std::to_string(position) + " of the deck (" + part +
                       ") cannot be found and is left out; the slides after it move up one number";
    return make(Kind::slidePartMissing, position, std::move(part), std::move(text));
}

Warning Warning::mediaNotPlayed(std::int64_t slide, std::string medium, std::string reason) {
    // A sound has no frame to show.
    const bool heard = medium == "sound" || medium == "audio clip";
    std::string text = slideName(slide) + ": the " + medium + " could not be decoded (" + reason + "); " +
                       (heard ? "it is not heard" : "its first frame is shown");
    return make(Kind::mediaNotPlayed, slide, std::move(reason), std::move(text));
}

Warning Warning::graphicBuildShownWhole(std::int64_t slide, std::string reason) {
    std::string text = slideName(slide) + ": the chart or diagram cannot be built step by step (" + reason +
                       "); it appears whole at its first step";
    return make(Kind::graphicBuildShownWhole, slide, std::move(reason), std::move(text));
}

Warning Warning::linkNotFollowed(std::int64_t slide, const std::string& linked, std::string target,
                                 const std::string& reason, std::int64_t more) {
    std::string text = slideName(slide) + ": the linked " + linked + " \"" + shown(target) + "\" " + reason;
    if (more == 1) text += "; 1 more link on this slide was not followed either";
    if (more > 1) text += "; " + std::to_string(more) + " more links on this slide were not followed either";
    return make(Kind::linkNotFollowed, slide, std::move(target), std::move(text));
}

Warning Warning::fontSubstituted(std::int64_t firstSlide, std::string font, std::string drawnWith) {
    std::string text = "the font \"" + shown(font) + "\" is not installed; its text is drawn with \"" +
                       shown(drawnWith) + "\" and may break lines differently";
    Warning w = make(Kind::fontSubstituted, firstSlide, std::move(font), std::move(text));
    w.drawnWith = std::move(drawnWith);
    return w;
}

Warning Warning::embeddedFontNotUsed(const std::string& typeface, const std::string& style, std::string reason) {
    std::string text = "the embedded font \"" + shown(typeface) + "\" (" + shown(style) + ") could not be used (" +
                       reason + "); its text is drawn in another font";
    return make(Kind::embeddedFontNotUsed, 0, std::move(reason), std::move(text));
}

Warning Warning::gifLengthAssumed(std::int64_t slide, std::int64_t lengthMs) {
    Warning w = make(Kind::gifLengthAssumed, slide, {},
                     slideName(slide) + ": no length was given for the GIF; it plays its own loop, " +
                         seconds(lengthMs));
    w.lengthMs = lengthMs;
    return w;
}

Warning Warning::gifLengthIgnored(std::int64_t slide, bool withoutGif) {
    return make(Kind::gifLengthIgnored, slide, {},
                slideName(slide) + (withoutGif ? " has no GIF" : "'s GIF is a still picture") +
                    ": the GIF length given for it is ignored");
}

Warning Warning::videoLengthIgnored(std::int64_t slide) {
    return make(Kind::videoLengthIgnored, slide, {},
                slideName(slide) + " has no video: the video length given for it is ignored");
}

Warning Warning::mediaStaysStill(std::vector<std::int64_t> slides, const std::string& medium) {
    std::string list;
    for (const auto slide : slides) list += (list.empty() ? "" : ", ") + std::to_string(slide);
    const std::int64_t first = slides.empty() ? 0 : slides.front();
    Warning w = make(Kind::mediaStaysStill, first, medium,
                     (slides.size() == 1 ? "slide " : "slides ") + list + ": the " + medium +
                         " starts only when it or another shape is clicked; " +
                         (medium == "audio clip" ? "it is not heard" : "it stays still") + " in the lesson");
    w.slides = std::move(slides);
    return w;
}

Warning Warning::deckConverted(const std::string& deckName, const std::string& format) {
    return make(Kind::deckConverted, 0, format,
                shown(deckName) + " is not a .pptx: it was converted first, and its animations and timings "
                                  "come from the converted copy");
}

}  // namespace orvandel
