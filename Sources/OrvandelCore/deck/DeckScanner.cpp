#include "deck/DeckScanner.hpp"

#include <algorithm>
#include <map>
#include <utility>

#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/XmlElement.hpp"
#include "deck/AdvanceTimeCalculator.hpp"
#include "deck/AdvanceTimeScanner.hpp"
#include "deck/DeckError.hpp"
#include "deck/TimingPolicy.hpp"
#include "deck/TimingTree.hpp"
#include "deck/TriggerMedia.hpp"

namespace orvandel::DeckScanner {

namespace {

constexpr std::int64_t kLargestGif = 64 * 1024 * 1024;

// The whole slide as a tree, read as a slide part is (SlideXMLError when it does not parse).
XmlElement parsedSlide(std::string_view xml) {
    try {
        return XmlElement::parseDocument(xml);
    } catch (const XmlParseError& e) {
        throw SlideXMLError::parseFailed(e.what());
    }
}

std::int64_t videoFiles(const XmlElement& slide) {
    std::int64_t count = 0;
    slide.walk([&](const XmlElement& e) { count += e.is(OOXML::a, "videoFile"); });
    return count;
}

// The parts of the GIF pictures the slide shows, each once, in order. A
// picture that is a video's poster frame is not one.
std::vector<std::string> gifParts(const XmlElement& slide, std::string_view relsXML, const std::string& slideFile) {
    std::map<std::string, Relationship> targets;
    try {
        if (!relsXML.empty()) targets = Relationships::byId(Relationships::parse(relsXML));
    } catch (const XmlParseError&) {
        // Unreadable relationships: no picture can be found behind the shapes.
    }
    std::vector<std::string> parts;
    if (targets.empty()) return parts;
    std::vector<XmlElement> pictures;
    slide.walk([&](const XmlElement& e) {
        if (e.is(OOXML::p, "pic")) pictures.push_back(e);
    });
    for (const auto& picture : pictures) {
        bool video = false;
        std::vector<std::string> images;
        picture.walk([&](const XmlElement& e) {
            video = video || e.is(OOXML::a, "videoFile");
            if (!e.is(OOXML::a, "blip")) return;
            if (auto id = e.attributeIn(OOXML::r, "embed")) images.push_back(std::move(*id));
        });
        // A video's poster frame is a picture too, but not a GIF to time.
        if (video) continue;
        for (const auto& id : images) {
            const auto it = targets.find(id);
            if (it == targets.end() || !asciiLowercased(it->second.target).ends_with(".gif")) continue;
            // An external target is not read: it names no part, so it reads as unreadable.
            std::string part = it->second.external() ? it->second.target
                                                     : Relationships::resolveEntry(it->second.target, slideFile);
            if (std::find(parts.begin(), parts.end(), part) == parts.end()) parts.push_back(std::move(part));
        }
    }
    return parts;
}

GifReport gifReport(const std::string& part, const GifReader& readGif) {
    GifReport gif;
    gif.part = part;
    const auto timing = readGif ? readGif(part) : std::nullopt;
    if (!timing) {
        gif.readable = false;
        return gif;
    }
    gif.animated = timing->animated();
    gif.loopMs = timing->playMs(TimingPolicy::LONGEST_TIMING);
    if (gif.animated) gif.passMs = std::min(timing->passMs, TimingPolicy::LONGEST_TIMING);
    return gif;
}

// The slide's p:timing as a tree, or nothing when it is missing or malformed.
std::optional<XmlElement> parsedTiming(std::string_view xml) {
    try {
        return SlideXML::parseElement(xml, "p:timing");
    } catch (const Error&) {
        return std::nullopt;
    }
}

bool hasVideoAutoplay(const std::optional<XmlElement>& timing) {
    if (!timing) return false;
    for (const auto& node : TimingTree::allCTnInDocumentOrder(*timing)) {
        if (node.attribute("presetClass") == "mediacall" && node.attribute("nodeType") != "clickEffect") return true;
    }
    return false;
}

MainSeqVideo mainSeqVideo(const std::optional<XmlElement>& timing) {
    if (!timing) return {};
    const auto call = TimingTree::mainSeqMediaCall(*timing);
    if (!call) return {};
    MainSeqVideo video;
    video.present = true;
    video.isOnClick = call->attribute("nodeType") == "clickEffect";
    if (const auto ms = TimingTree::effectDurationMs(*call); ms > 0) video.durationMs = ms;
    return video;
}

std::optional<std::int64_t> lookup(const SlideDurations& durations, std::int64_t slide) {
    const auto it = durations.find(slide);
    if (it == durations.end()) return std::nullopt;
    return it->second;
}

// Pads with spaces to `width` characters (code points); never truncates.
std::string padRight(std::string text, std::size_t width) {
    std::size_t length = 0;
    for (const char c : text) length += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    if (length < width) text.append(width - length, ' ');
    return text;
}

std::string padLeft(const std::string& text, std::size_t width) {
    std::size_t length = 0;
    for (const char c : text) length += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return length < width ? std::string(width - length, ' ') + text : text;
}

// Every occurrence of "ppt/slides/" removed, in one left-to-right pass (text
// that the removal brings together is not searched again).
std::string withoutSlidesFolder(std::string_view file) {
    static constexpr std::string_view folder = "ppt/slides/";
    std::string out;
    std::size_t from = 0;
    for (auto at = file.find(folder); at != std::string_view::npos; at = file.find(folder, from)) {
        out.append(file.substr(from, at - from));
        from = at + folder.size();
    }
    out.append(file.substr(from));
    return out;
}

}  // namespace

bool hasVideoAutoplay(std::string_view xml) { return hasVideoAutoplay(parsedTiming(xml)); }

MainSeqVideo mainSeqVideo(std::string_view xml) { return mainSeqVideo(parsedTiming(xml)); }

bool slideHasGif(std::string_view slideXML, std::string_view relsXML) {
    return !gifParts(parsedSlide(slideXML), relsXML, "ppt/slides/slide.xml").empty();
}

namespace {

SlideReport slideReportOf(const Slide& slide, std::string_view xml, std::string_view relsXML,
                          const SlideDurations& videoMs, const SlideDurations& gifMs, const GifReader& readGif) {
    const std::int64_t displayIndex = slide.number;
    for (const auto& [given, what] :
         {std::pair{&videoMs, "the video length given"}, {&gifMs, "the GIF length given"}}) {
        const auto ms = lookup(*given, displayIndex);
        if (ms && (*ms > TimingPolicy::LONGEST_TIMING || *ms < 0)) {
            throw DeckError::durationTooLong(displayIndex, std::string(what) + " (" + formatInt(*ms) + " ms)");
        }
    }
    const ScanResult scan = AdvanceTimeScanner::scan(xml);
    // Both timing probes share one parse of the fragment.
    const auto timing = parsedTiming(xml);
    const MainSeqVideo video = mainSeqVideo(timing);

    std::optional<std::int64_t> videoDurationMs = lookup(videoMs, displayIndex);
    if (!videoDurationMs) videoDurationMs = video.durationMs;
    const std::optional<std::int64_t> gifDurationMs = lookup(gifMs, displayIndex);

    SlideReport r;
    r.displayIndex = displayIndex;
    r.file = slide.file;
    r.bulletCount = scan.bulletCount;
    r.bulletDursMs = scan.bulletDursMs;
    r.autoDurationMs = scan.autoDurationMs;
    r.hasVideoAutoplay = hasVideoAutoplay(timing);
    // A slide that does not parse shows no video or GIF here; preparing the
    // deck refuses it with the other slides it cannot write (SlideValidator).
    std::optional<XmlElement> slideTree;
    try {
        slideTree = XmlElement::parseDocument(xml);
    } catch (const XmlParseError&) {
    }
    r.videoCount = slideTree ? videoFiles(*slideTree) : 0;
    if (!video.present || videoDurationMs) {
        // An opening video's time is already in the opening chain.
        const bool videoBeside = videoDurationMs.has_value() && !scan.opensWithMedia;
        r.advTmMs = AdvanceTimeCalculator::advanceTimeMs(scan.bulletDursMs, scan.autoDurationMs >= 1,
                                                         scan.autoDurationMs, videoBeside,
                                                         videoBeside ? *videoDurationMs : 0, gifDurationMs.has_value(),
                                                         gifDurationMs.value_or(0), scan.exitGroupCount);
    }
    r.isHidden = slide.hidden;
    r.videoDurationMs = videoDurationMs;
    r.hasOnClickVideo = video.present && video.isOnClick;
    if (slideTree) {
        for (const auto& part : gifParts(*slideTree, relsXML, slide.file)) r.gifs.push_back(gifReport(part, readGif));
        const auto stillMedia = TriggerMedia::find(*slideTree);
        r.triggerVideo = stillMedia.video;
        r.triggerAudio = stillMedia.audio;
    }
    r.hasGif = !r.gifs.empty();
    r.hasExitEffect = scan.hasExitEffect;
    r.exitGroupCount = scan.exitGroupCount;
    r.orderedGroupKinds = scan.orderedGroupKinds;
    r.opensWithMedia = scan.opensWithMedia;
    return r;
}

}  // namespace

SlideReport slideReport(const Slide& slide, std::string_view xml, std::string_view relsXML,
                        const SlideDurations& videoMs, const SlideDurations& gifMs, const GifReader& readGif) {
    try {
        return slideReportOf(slide, xml, relsXML, videoMs, gifMs, readGif);
    } catch (const SlideXMLError& e) {
        throw e.inPart(slide.file);
    } catch (const TimingValueError& e) {
        auto failure = DeckError::durationTooLong(slide.number,
                                                  "its timing value " + e.attribute() + "=\"" + e.value() + "\"");
        failure.keepCause(e);
        throw failure;
    }
}

std::vector<SlideReport> report(DeckModel& deck, const SlideDurations& videoMs, const SlideDurations& gifMs,
                                const WarningCallback& warn) {
    const SlideList& list = deck.slideList();
    if (warn) {
        for (const auto& w : list.warnings) warn(w);
    }
    std::vector<SlideReport> reports;
    reports.reserve(list.files.size());
    // A GIF is read only as far as its timing needs, and no further than a
    // bound that keeps a hostile part from filling the memory: a longer one
    // is read as unreadable.
    const std::size_t most = static_cast<std::size_t>(std::min(PptxArchive::largestPart(), kLargestGif));
    const GifReader readGif = [&deck, most](const std::string& part) -> std::optional<GifFrames::Timing> {
        try {
            const Bytes bytes = deck.archive().readEntryHead(part, most);
            return GifFrames::read(bytes);
        } catch (const Error&) {
            return std::nullopt;
        }
    };
    for (const auto& slide : deck.slides()) {
        const std::string& xml = deck.part(slide.file);
        const std::string* rels = nullptr;
        try {
            rels = &deck.relationshipsText(slide.file);
        } catch (const PptxArchive::ArchiveError&) {
            // An unreadable relationships part: the slide simply has no GIF.
        }
        reports.push_back(slideReport(slide, xml, rels ? *rels : "", videoMs, gifMs, readGif));
    }
    return reports;
}

std::vector<SlideReport> report(const std::filesystem::path& deck, const SlideDurations& videoMs,
                                const SlideDurations& gifMs, const WarningCallback& warn) {
    DeckModel model(deck);
    return report(model, videoMs, gifMs, warn);
}

MediaValidation validateMedia(const std::vector<SlideReport>& reports) {
    MediaValidation validation;
    for (const auto& r : reports) {
        if (r.videoCount > 1) validation.slidesWithMultipleVideos.push_back(r.displayIndex);
    }
    return validation;
}

std::string formatTable(const std::vector<SlideReport>& reports) {
    std::string table = padRight("idx", 4) + padRight("file", 24) + padLeft("bullets", 9) + padLeft("autoDurMs", 11) +
                        padLeft("video", 7) + "  advTm";
    for (const auto& r : reports) {
        table += "\n";
        table += padRight(formatInt(r.displayIndex), 4) + padRight(withoutSlidesFolder(r.file), 24) +
                 padLeft(formatInt(r.bulletCount), 9) + padLeft(formatInt(r.autoDurationMs), 11) +
                 padLeft(r.hasVideoAutoplay ? "yes" : "no", 7) + "  " +
                 (r.advTmMs ? formatInt(*r.advTmMs) : "needs videoMs");
    }
    return table;
}

}  // namespace orvandel::DeckScanner
