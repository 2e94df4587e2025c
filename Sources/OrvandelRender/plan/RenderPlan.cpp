#include "plan/RenderPlan.hpp"

#include <map>
#include <variant>

#include "base/Checked.hpp"
#include "base/Numbers.hpp"
#include "container/SlideXML.hpp"
#include "plan/GraphicBuild.hpp"
#include "tools/RenderError.hpp"

namespace orvandel {

std::int64_t RenderPlan::totalMs() const {
    std::int64_t total = 0;
    for (const auto& s : slides) {
        if (!s.hidden) total = checkedAdd(total, s.advanceTimeMs);
    }
    return total;
}

namespace RenderPlanReader {

namespace {

// How the errors of this stage begin.
const char* const kErrorLead = "reading the prepared deck";

// A number written as digits only, as the writers write it; nothing else.
std::optional<std::int64_t> digitsNumber(const std::optional<std::string>& text) {
    if (!text || text->empty() || text->find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
    return parseInt64(*text);
}

// The graphics of the slide whose hidden parts cannot be drawn one by one,
// with the reason.
std::map<std::string, std::string> graphicsShownWhole(DeckModel& deck, const std::string& file, const std::string& xml,
                                                      const SlidePlayout& playout) {
    std::map<std::string, std::vector<GraphicPart>> parts;
    for (const auto& state : playout.states) {
        for (const auto& target : state.hidden) {
            if (target.graphic) parts[target.shapeId].push_back(*target.graphic);
        }
    }
    std::map<std::string, std::string> out;
    for (const auto& [shape, hidden] : parts) {
        const auto source = GraphicBuild::locate(deck, file, xml, shape);
        if (const auto* why = std::get_if<std::string>(&source)) {
            out[shape] = *why;
            continue;
        }
        const auto& found = std::get<GraphicBuild::Source>(source);
        const std::string data = found.kind == GraphicBuild::Source::Kind::diagram ? deck.part(found.dataPart) : "";
        if (auto why = GraphicBuild::whyNot(found, deck.part(found.part), data, hidden)) out[shape] = std::move(*why);
    }
    return out;
}

}  // namespace

std::optional<std::int64_t> advanceTimeMs(const std::string& slideXml) {
    const auto range = SlideXML::transitionBlockRange(slideXml);
    if (!range) return std::nullopt;
    const std::string_view block = std::string_view(slideXml).substr(range->first, range->second - range->first);
    // The block's root as written: p:transition, or the mc:AlternateContent around it.
    const std::string_view root = block.substr(1, block.find_first_of(" \t\r\n/>") - 1);
    XmlElement tree;
    try {
        tree = SlideXML::parseFragment(block, root);
    } catch (const SlideXMLError&) {
        return std::nullopt;  // no advance time that can be read
    }
    // The first written in digits (the writer's p14 choice comes before its fallback).
    std::optional<std::int64_t> found;
    tree.walk([&](const XmlElement& e) {
        if (!found) found = digitsNumber(e.attributeIn("", "advTm"));
    });
    return found;
}

RenderPlan read(const std::filesystem::path& preparedDeck) {
    DeckModel deck(preparedDeck);
    return read(deck);
}

RenderPlan read(DeckModel& deck) {
    RenderPlan plan;
    if (const auto size = deck.slideSize()) {
        plan.slideWidthEmu = digitsNumber(size->attributeIn("", "cx")).value_or(0);
        plan.slideHeightEmu = digitsNumber(size->attributeIn("", "cy")).value_or(0);
    }
    for (const Slide& listed : deck.slides()) {
        const std::string& file = listed.file;
        const std::string& xml = deck.part(file);
        RenderSlide slide{listed.number, file, listed.hidden, 0, {}};
        const auto advTm = advanceTimeMs(xml);
        if (!advTm && !slide.hidden) {
            throw RenderError(RenderError::Case::badDeck, ExportStage::readPlan,
                              std::string(kErrorLead) + ": slide " + std::to_string(slide.displayIndex) + " (" + file +
                                  ") has no automatic advance time. Only a deck prepared by "
                                  "orvandel (orvandel prepare, or the export itself) can be rendered.");
        }
        slide.advanceTimeMs = advTm.value_or(0);
        if (!slide.hidden) {
            try {
                slide.playout = PlayoutTimeline::evaluate(xml);
                const auto whole = graphicsShownWhole(deck, file, xml, slide.playout);
                std::set<std::string> shapes;
                for (const auto& [shape, why] : whole) {
                    shapes.insert(shape);
                    plan.warnings.push_back(Warning::graphicBuildShownWhole(slide.displayIndex, why));
                }
                if (!shapes.empty()) slide.playout = PlayoutTimeline::evaluate(xml, shapes);
                slide.drawnDiagrams = GraphicBuild::drawnDiagrams(deck, file, xml);
            } catch (const SlideXMLError& e) {
                throw RenderError(RenderError::Case::badDeck, ExportStage::readPlan,
                                  std::string(kErrorLead) + ": the animation timing of slide " +
                                      std::to_string(slide.displayIndex) + " (" + file + ") cannot be read (" +
                                      e.what() + "). Prepare the deck again with orvandel.",
                                  e.cause());
            }
        }
        plan.slides.push_back(std::move(slide));
    }
    return plan;
}

}  // namespace RenderPlanReader

}  // namespace orvandel
