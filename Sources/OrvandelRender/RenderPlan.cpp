#include "RenderPlan.hpp"

#include "RenderError.hpp"
#include "base/Checked.hpp"
#include "base/Numbers.hpp"
#include "base/Regex.hpp"
#include "container/PptxArchive.hpp"
#include "container/SlideXML.hpp"
#include "deck/DeckScanner.hpp"

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

const char* const kStage = "reading the prepared deck";

std::optional<std::int64_t> attributeNumber(const std::string& tag, const char* pattern) {
    const Regex re(pattern);
    if (const auto m = re.firstMatch(tag)) return parseInt64(m->group(tag, 1));
    return std::nullopt;
}

}  // namespace

std::optional<std::int64_t> advanceTimeMs(const std::string& slideXml) {
    const auto range = SlideXML::transitionBlockRange(slideXml);
    if (!range) return std::nullopt;
    const std::string block = slideXml.substr(range->first, range->second - range->first);
    return attributeNumber(block, R"re(\badvTm="(\d+)")re");
}

RenderPlan read(const std::filesystem::path& preparedDeck) {
    RenderPlan plan;
    PptxArchive::Deck deck(preparedDeck);
    const std::string presentation = deck.readEntry("ppt/presentation.xml");
    if (const auto m = Regex(R"(<p:sldSz\b[^>]*>)").firstMatch(presentation)) {
        const std::string tag(m->group(presentation, 0));
        plan.slideWidthEmu = attributeNumber(tag, R"re(\bcx="(\d+)")re").value_or(0);
        plan.slideHeightEmu = attributeNumber(tag, R"re(\bcy="(\d+)")re").value_or(0);
    }
    const auto files = DeckScanner::orderedSlideFiles(deck);
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string xml = deck.readEntry(files[i]);
        RenderSlide slide{static_cast<std::int64_t>(i) + 1, files[i], DeckScanner::isSlideHidden(xml), 0, {}};
        const auto advTm = advanceTimeMs(xml);
        if (!advTm && !slide.hidden) {
            throw RenderError(RenderError::Case::badDeck, kStage,
                              std::string(kStage) + ": slide " + std::to_string(slide.displayIndex) + " (" +
                                  files[i] + ") has no automatic advance time. Only a deck prepared by "
                                  "orvandel (orvandel prepare, or the export itself) can be rendered.");
        }
        slide.advanceTimeMs = advTm.value_or(0);
        if (!slide.hidden) {
            try {
                slide.playout = PlayoutTimeline::evaluate(xml);
            } catch (const SlideXMLError& e) {
                throw RenderError(RenderError::Case::badDeck, kStage,
                                  std::string(kStage) + ": the animation timing of slide " +
                                      std::to_string(slide.displayIndex) + " (" + files[i] + ") cannot be read (" +
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
