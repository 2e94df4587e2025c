#include "package/LessonOutline.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "base/Bytes.hpp"
#include "base/Numbers.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "container/XmlElement.hpp"
#include "deck/DeckError.hpp"
#include "deck/SlideTitles.hpp"
#include "deck/TimingTree.hpp"

namespace orvandel::LessonOutline {

namespace {

constexpr std::string_view kVideoEnd = " - fim do video";
constexpr std::string_view kGifEnd = " - fim do GIF";

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool isMediaEnd(const Cue& cue) { return endsWith(cue.label, kVideoEnd) || endsWith(cue.label, kGifEnd); }

std::string mediaEndLabel(const Cue& cue) { return endsWith(cue.label, kVideoEnd) ? "fim do vídeo" : "fim do GIF"; }

std::string stepLabel(std::int64_t step) { return "animação " + formatInt(step); }

// The cues of each slide, by their place in the manifest.
std::map<std::int64_t, std::vector<std::size_t>> cuesBySlide(const std::vector<Cue>& cues) {
    std::map<std::int64_t, std::vector<std::size_t>> bySlide;
    for (std::size_t i = 0; i < cues.size(); ++i) bySlide[cues[i].slideIndex].push_back(i);
    return bySlide;
}

// What the package alone tells: the slide's first cue shows the slide, the
// others are its steps, counted.
void labelFromCues(const std::vector<Cue>& cues, const std::vector<std::size_t>& indices, const std::string& title,
                   std::vector<std::string>& labels) {
    std::int64_t step = 0;
    bool first = true;
    for (const auto i : indices) {
        if (isMediaEnd(cues[i])) {
            labels[i] = mediaEndLabel(cues[i]);
        } else if (first) {
            labels[i] = title;
            first = false;
        } else {
            labels[i] = stepLabel(++step);
        }
    }
}

std::string textOf(const XmlElement& element) {
    std::string text;
    element.walk([&](const XmlElement& e) {
        if (e.is(OOXML::a, "br")) text += ' ';
        if (!e.is(OOXML::a, "t")) return;
        e.visitChildren([&](XmlElement::NodeKind kind, const XmlElement&, std::string_view t) {
            if (kind == XmlElement::NodeKind::text) text += t;
        });
    });
    return text;
}

std::optional<std::size_t> index(const std::optional<std::string>& value) {
    if (!value) return std::nullopt;
    std::size_t n = 0;
    const auto [end, ec] = std::from_chars(value->data(), value->data() + value->size(), n);
    if (ec != std::errc() || end != value->data() + value->size()) return std::nullopt;
    return n;
}

// One click step: whether it takes shapes away, and the text it brings in.
struct Step {
    bool exit = false;
    std::string text;
};

// The click steps of a slide's main sequence as the cues count them (a
// click that starts a video or sound is timed by the medium, not a step),
// each with the text of what it targets. Nothing when the slide does not
// parse.
std::optional<std::vector<Step>> stepsOf(std::string_view slideXML) {
    XmlElement slide;
    try {
        slide = XmlElement::parseDocument(slideXML);
    } catch (const XmlParseError&) {
        return std::nullopt;
    }
    // Shapes by id, and the first p:timing.
    std::map<std::string, XmlElement> shapes;
    std::optional<XmlElement> timing;
    std::optional<XmlElement> spTree;
    slide.walk([&](const XmlElement& e) {
        if (!timing && e.is(OOXML::p, "timing")) timing = e;
        if (!spTree && e.is(OOXML::p, "spTree")) spTree = e;
        if (!e.is(OOXML::p, "cNvPr")) return;
        const auto id = e.attributeIn("", "id");
        XmlElement shape = e.parent().parent();  // p:nvSpPr -> p:sp (or another shape)
        if (id && shape) shapes.emplace(*id, shape);
    });
    std::vector<Step> steps;
    if (!timing) return steps;
    const auto mainSeq = TimingTree::firstMainSeq(*timing);
    if (!mainSeq) return steps;
    for (const auto& container : TimingTree::groupContainers(*mainSeq)) {
        const auto head = TimingTree::clickHead(container);
        if (!head) continue;
        Step step{.exit = head->attribute("presetClass") == "exit"};
        bool media = false;
        std::vector<std::string> parts;  // one per target, in order, each once
        for (const auto& effect : TimingTree::effectChildren(container)) {
            effect.walk([&](const XmlElement& target) {
                if (target.name() != "p:spTgt") return;
                const auto spid = target.attribute("spid");
                if (!spid) return;
                if (spTree && effect == *head && SlideXML::shapeIsMedia(*spTree, *spid)) media = true;
                const auto shape = shapes.find(*spid);
                if (shape == shapes.end()) return;
                std::vector<XmlElement> paragraphs;
                shape->second.walk([&](const XmlElement& e) {
                    if (e.is(OOXML::a, "p")) paragraphs.push_back(e);
                });
                std::size_t from = 0, to = paragraphs.size();
                const auto txEl = TimingTree::firstChild(target, "p:txEl");
                if (const auto range = txEl ? TimingTree::firstChild(*txEl, "p:pRg") : std::nullopt) {
                    const auto st = index(range->attribute("st")), end = index(range->attribute("end"));
                    if (!st || !end || paragraphs.empty()) return;
                    from = *st;
                    to = std::min(*end, paragraphs.size() - 1) + 1;
                }
                std::string text;
                for (std::size_t p = from; p < to; ++p) text += textOf(paragraphs[p]) + " ";
                text = firstWords(text);
                if (!text.empty() && std::find(parts.begin(), parts.end(), text) == parts.end()) {
                    parts.push_back(text);
                }
            });
        }
        if (media && !step.exit) continue;
        std::string joined;
        for (const auto& part : parts) joined += (joined.empty() ? "" : " · ") + part;
        step.text = firstWords(joined);
        steps.push_back(std::move(step));
    }
    return steps;
}

// Labels the slide's cues from its steps when they match the cues in
// number: one more cue than steps shows the slide before them (or, on a
// slide whose steps only take shapes away, after them). False when they do
// not match.
bool labelFromSteps(const std::vector<Cue>& cues, const std::vector<std::size_t>& indices,
                    const std::vector<Step>& steps, const std::string& title, std::vector<std::string>& labels) {
    std::vector<std::size_t> stepCues;
    for (const auto i : indices) {
        if (!isMediaEnd(cues[i])) stepCues.push_back(i);
    }
    std::size_t titleAt = stepCues.size();  // none
    if (stepCues.size() == steps.size() + 1) {
        const bool exitsOnly = !steps.empty() &&
                               std::all_of(steps.begin(), steps.end(), [](const Step& s) { return s.exit; });
        titleAt = exitsOnly ? steps.size() : 0;
    } else if (stepCues.size() != steps.size()) {
        return false;
    }
    std::size_t step = 0;
    for (std::size_t k = 0; k < stepCues.size(); ++k) {
        if (k == titleAt) {
            labels[stepCues[k]] = title;
            continue;
        }
        const auto& text = steps[step].text;
        ++step;
        labels[stepCues[k]] = text.empty() ? stepLabel(static_cast<std::int64_t>(step)) : text;
    }
    for (const auto i : indices) {
        if (isMediaEnd(cues[i])) labels[i] = mediaEndLabel(cues[i]);
    }
    return true;
}

Outline outlineOf(const std::vector<Cue>& cues, const std::vector<Chapter>& chapters,
                  const std::map<std::int64_t, std::string>& deckTitles) {
    Outline outline;
    outline.labels.resize(cues.size());
    // Chapters are one per visible slide in movie order, as are the slides' first cues.
    std::vector<std::int64_t> slides;
    for (const auto& cue : cues) {
        if (std::find(slides.begin(), slides.end(), cue.slideIndex) == slides.end()) slides.push_back(cue.slideIndex);
    }
    const bool chaptered = chapters.size() == slides.size();
    for (std::size_t s = 0; s < slides.size(); ++s) {
        const auto slide = slides[s];
        std::string title = "Slide " + formatInt(slide);
        if (const auto t = deckTitles.find(slide); t != deckTitles.end()) {
            title = firstWords(t->second);
        } else if (chaptered && !chapters[s].title.empty()) {
            title = firstWords(chapters[s].title);
        }
        outline.titles[slide] = title;
        std::int64_t start = chaptered ? chapters[s].startMs : 0;
        if (!chaptered) {
            start = std::numeric_limits<std::int64_t>::max();
            for (const auto& cue : cues) {
                if (cue.slideIndex == slide) start = std::min(start, cue.timeMs);
            }
        }
        outline.slideStartsMs[slide] = start;
    }
    return outline;
}

}  // namespace

std::string firstWords(std::string_view text) {
    std::string line;
    std::size_t characters = 0;
    bool pendingSpace = false, cut = false;
    std::size_t lastSpace = std::string::npos;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t blank = text[i] == ' ' || text[i] == '\t' ? 1 : lineBreakAt(text, i);
        if (blank > 0) {
            pendingSpace = !line.empty();
            i += blank;
            continue;
        }
        if (characters == kLongestLabel) {
            cut = true;
            break;
        }
        if (pendingSpace) {
            lastSpace = line.size();
            line += ' ';
            ++characters;
            pendingSpace = false;
            if (characters == kLongestLabel) continue;
        }
        // A whole code point at a time.
        std::size_t length = 1;
        while (i + length < text.size() && (static_cast<unsigned char>(text[i + length]) & 0xC0) == 0x80) ++length;
        line.append(text, i, length);
        i += length;
        ++characters;
    }
    if (!cut) return line;
    if (lastSpace != std::string::npos && lastSpace > 0) line.resize(lastSpace);
    while (!line.empty() && line.back() == ' ') line.pop_back();
    return line + "…";
}

Outline fromCues(const std::vector<Cue>& cues, const std::vector<Chapter>& chapters) {
    Outline outline = outlineOf(cues, chapters, {});
    for (const auto& [slide, indices] : cuesBySlide(cues)) {
        labelFromCues(cues, indices, outline.titles[slide], outline.labels);
    }
    return outline;
}

Outline fromDeck(DeckModel& deck, const std::vector<Cue>& cues, const std::vector<Chapter>& chapters) {
    Outline outline = outlineOf(cues, chapters, SlideTitles::titlesBySlide(deck));
    const auto& files = deck.slideFiles();
    for (const auto& [slide, indices] : cuesBySlide(cues)) {
        const auto& title = outline.titles[slide];
        std::optional<std::vector<Step>> steps;
        if (slide >= 1 && static_cast<std::size_t>(slide) <= files.size()) {
            try {
                steps = stepsOf(deck.part(files[static_cast<std::size_t>(slide - 1)]));
            } catch (const Error&) {
                // A label is a nicety: the slide keeps the package's.
            }
        }
        if (!steps || !labelFromSteps(cues, indices, *steps, title, outline.labels)) {
            labelFromCues(cues, indices, title, outline.labels);
        }
    }
    return outline;
}

}  // namespace orvandel::LessonOutline
