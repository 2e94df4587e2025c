#include <CLI/CLI.hpp>

#include <memory>
#include <nlohmann/json.hpp>

#include "Cli.hpp"
#include "Commands.hpp"
#include "base/TemporaryDirectory.hpp"
#include "deck/DeckScanner.hpp"
#include "tools/DeckFontSetup.hpp"
#include "tools/FontResolver.hpp"

namespace orvandel::cli {

namespace {

struct ScanOptions {
    std::string deck;
    bool json = false;
    std::vector<std::string> video;
    std::vector<std::string> gif;
};

nlohmann::ordered_json optionalJson(const std::optional<std::int64_t>& value) {
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

// The deck's fonts as an export would draw them (its embedded fonts
// included), asked under LibreOffice's configuration, in a scratch folder
// that goes afterwards.
std::vector<FontReport::Font> deckFonts(DeckModel& deck) {
    const TemporaryDirectory scratch(std::filesystem::temp_directory_path(), "orvandel-fonts-");
    return DeckFontSetup::prepare(deck, scratch.path() / "fonts", scratch.path() / "fontconfig-cache").fonts;
}

// The fonts whose first use is the slide: each font under one slide only.
nlohmann::ordered_json fontsJson(const std::vector<FontReport::Font>& fonts, std::int64_t slide) {
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const auto& f : fonts) {
        if (f.firstSlide != slide) continue;
        array.push_back({{"name", f.name},
                         {"drawnWith", f.drawnWith},
                         {"resolution", std::string(FontResolver::name(f.resolution))},
                         {"firstSlide", f.firstSlide}});
    }
    return array;
}

// Each GIF: its part, whether it moves, how long it plays by itself (null
// for a still or unreadable one) and whether it could be read.
nlohmann::ordered_json gifsJson(const std::vector<GifReport>& gifs) {
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const auto& g : gifs) {
        array.push_back({{"part", g.part},
                         {"animated", g.animated},
                         {"loopMs", optionalJson(g.loopMs)},
                         {"passMs", optionalJson(g.passMs)},
                         {"readable", g.readable}});
    }
    return array;
}

nlohmann::ordered_json reportJson(const SlideReport& r, const std::vector<FontReport::Font>& fonts) {
    nlohmann::ordered_json kinds = nlohmann::ordered_json::array();
    for (const ClickGroupKind kind : r.orderedGroupKinds) kinds.push_back(std::string(toString(kind)));
    return {
        {"displayIndex", r.displayIndex},
        {"file", r.file},
        {"bulletCount", r.bulletCount},
        {"bulletDursMs", r.bulletDursMs},
        {"autoDurationMs", r.autoDurationMs},
        {"hasVideoAutoplay", r.hasVideoAutoplay},
        {"videoCount", r.videoCount},
        {"advTmMs", optionalJson(r.advTmMs)},
        {"isHidden", r.isHidden},
        {"videoDurationMs", optionalJson(r.videoDurationMs)},
        {"hasOnClickVideo", r.hasOnClickVideo},
        {"hasGif", r.hasGif},
        {"gifs", gifsJson(r.gifs)},
        {"hasExitEffect", r.hasExitEffect},
        {"exitGroupCount", r.exitGroupCount},
        {"orderedGroupKinds", std::move(kinds)},
        {"triggerVideo", r.triggerVideo},
        {"triggerAudio", r.triggerAudio},
        {"fonts", fontsJson(fonts, r.displayIndex)},
    };
}

int runScan(const ScanOptions& options, std::ostream& out, std::ostream& err) {
    const auto videoMs = parseSlideDurations(options.video, "--video");
    const auto gifMs = parseSlideDurations(options.gif, "--gif");
    DeckModel deck{std::filesystem::path(options.deck)};
    checkSlidesExist(videoMs, gifMs, deck);
    const auto reports = DeckScanner::report(deck, videoMs, gifMs, printWarnings(err));
    const auto fonts = deckFonts(deck);
    if (options.json) {
        nlohmann::ordered_json array = nlohmann::ordered_json::array();
        for (const auto& r : reports) array.push_back(reportJson(r, fonts));
        out << array.dump(2) << "\n";
    } else {
        out << DeckScanner::formatTable(reports) << "\n";
        for (const auto& w : FontReport::warnings(fonts)) out << "slide " << w.slide << ": " << w.text << "\n";
    }
    return kExitOk;
}

}  // namespace

void setupScanCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto options = std::make_shared<ScanOptions>();
    // Each --video/--gif takes one pair, so that the deck may follow them.
    auto* cmd = app.add_subcommand(
        "scan",
        "Report every slide of a deck in presentation order: its click steps (bullets), the animations that start "
        "by themselves, whether a video plays without a click, and the advance time the slide needs to play all "
        "of it by itself. \"needs videoMs\" marks a slide whose video states no length: give it with --video.");
    cmd->add_option("DECK", options->deck, "The deck to scan (.pptx)")->required();
    cmd->add_flag(
        "--json", options->json,
        "Print a JSON array with one object per slide (every field of the report, absent values as "
        "null; under \"gifs\" each GIF's part, whether it is animated, the length it plays by itself "
        "(loopMs), one pass over its frames (passMs) and whether it could be read; \"triggerVideo\"/\"triggerAudio\" for media that only a "
        "click (on itself or another shape) starts; and under \"fonts\" the fonts the slide is the first to use and "
        "how each is drawn) instead of the table");
    addSlideDurationOptions(*cmd, options->video, options->gif);
    addLargestPartOption(*cmd);
    cmd->footer("Example:\n  orvandel scan examples/aula-exemplo.pptx --gif 4:3000\n");
    cmd->callback([&action, &out, &err, options] {
        action = [&out, &err, options]() -> int { return runScan(*options, out, err); };
    });
}

}  // namespace orvandel::cli
