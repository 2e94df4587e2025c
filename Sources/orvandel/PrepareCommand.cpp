#include <CLI/CLI.hpp>

#include <iomanip>
#include <memory>

#include "Cli.hpp"
#include "Commands.hpp"
#include "base/Checked.hpp"
#include "base/Numbers.hpp"
#include "deck/DeckModel.hpp"
#include "deck/DeckScanner.hpp"
#include "deck/TimingPolicy.hpp"
#include "rewrite/DeckTransformer.hpp"

namespace orvandel::cli {

namespace {

struct PrepareOptions {
    std::string deck;
    std::string output;
    std::vector<std::string> video;
    std::vector<std::string> gif;
};

int runPrepare(const PrepareOptions& options, std::ostream& out, std::ostream& err) {
    const auto videoMs = parseSlideDurations(options.video, "--video");
    const auto gifMs = parseSlideDurations(options.gif, "--gif");
    DeckModel deck{std::filesystem::path(options.deck)};
    checkSlidesExist(videoMs, gifMs, deck);
    // The prepared deck keeps a missing slide's place; say that it has none.
    try {
        for (const auto& w : deck.slideList().warnings) printWarnings(err)(w);
    } catch (const std::exception&) {
        // prepare itself reports an unreadable deck
    }

    std::vector<DeckTransformer::Branch> branches;
    const auto reports = DeckTransformer::prepare(deck, options.output, videoMs, gifMs, TimingPolicy::respiroMs,
                                                  TimingPolicy::espacamentoMs, branches);

    out << std::left << std::setw(7) << "slide" << std::setw(16) << "branch" << std::setw(8) << "hidden"
        << "advance (s)\n";
    std::int64_t movieMs = 0;
    std::int64_t visible = 0;
    for (std::size_t i = 0; i < reports.size(); ++i) {
        const SlideReport& r = reports[i];
        const std::int64_t advTm = r.advTmMs.value_or(0);
        out << std::setw(7) << r.displayIndex << std::setw(16) << DeckTransformer::toString(branches[i]) << std::setw(8)
            << (r.isHidden ? "yes" : "no") << msAsDecimalSeconds(advTm) << "\n";
        if (!r.isHidden) {
            movieMs = checkedAdd(movieMs, advTm);
            ++visible;
        }
    }
    out << "expected movie length: " << msAsDecimalSeconds(movieMs) << " s (" << visible << " visible of "
        << reports.size() << " slides)\n"
        << "prepared deck written to " << options.output << "\n";
    return kExitOk;
}

}  // namespace

void setupPrepareCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto options = std::make_shared<PrepareOptions>();
    auto* cmd = app.add_subcommand(
        "prepare",
        "Write the prepared copy of a deck, in which every slide plays by itself: click-driven bullets become "
        "timed steps, click-started videos autoplay, exit effects are chained, and every slide advances "
        "automatically after its planned time. Prints the branch and advance time of each slide and the "
        "expected length of the movie (the sum of the visible slides' advance times).");
    cmd->add_option("DECK", options->deck, "The deck to prepare (.pptx)")->required()->type_name("DECK");
    cmd->add_option("-o,--output", options->output,
                    "Where to write the prepared deck (.pptx); an existing file is "
                    "replaced only when the whole deck was prepared")
        ->required()
        ->type_name("PREPARED.pptx");
    addSlideDurationOptions(*cmd, options->video, options->gif);
    addLargestPartOption(*cmd);
    cmd->footer("Example:\n  orvandel prepare aula.pptx -o /tmp/preparado.pptx --gif 4:3000\n");
    cmd->callback([&action, &out, &err, options] {
        action = [&out, &err, options]() -> int { return runPrepare(*options, out, err); };
    });
}

}  // namespace orvandel::cli
