#include <CLI/CLI.hpp>

#include <memory>

#include "Cli.hpp"
#include "Commands.hpp"
#include "plan/PlanReport.hpp"

namespace orvandel::cli {

namespace {

struct PlanOptions {
    std::string deck;
    bool json = false;
    std::vector<std::string> video;
    std::vector<std::string> gif;
};

int runPlan(const PlanOptions& options, std::ostream& out, std::ostream& err) {
    const auto videoMs = parseSlideDurations(options.video, "--video");
    const auto gifMs = parseSlideDurations(options.gif, "--gif");
    DeckModel deck{std::filesystem::path(options.deck)};
    checkSlidesExist(videoMs, gifMs, deck);
    const auto plan = PlanReport::read(deck, videoMs, gifMs, std::filesystem::temp_directory_path());
    for (const auto& w : plan.plan.warnings) printWarnings(err)(w);
    out << (options.json ? PlanReport::json(plan) : PlanReport::text(plan));
    return kExitOk;
}

}  // namespace

void setupPlanCommand(CLI::App& app, std::function<int()>& action, std::ostream& out, std::ostream& err) {
    auto options = std::make_shared<PlanOptions>();
    auto* cmd = app.add_subcommand(
        "plan",
        "Show what the headless movie draws of a deck, per visible slide: its transition (what it is drawn as, "
        "its duration, how that departs from a slideshow, its sound), the states the slide goes through and when "
        "each begins, and every effect that starts (time, targets as shape id or shape/paragraph, preset "
        "class id/subtype, what it is drawn as, \"fallback\" when drawn as a generic fade or how it departs from a "
        "slideshow, duration in ms, easing, text iteration, sound, and the state it changes into: in parentheses "
        "when another effect draws that change). Nothing is rendered; the prepared copy goes to a scratch folder "
        "that is removed.");
    cmd->add_option("DECK", options->deck, "The deck to plan (.pptx)")->required()->check(RegularFile);
    cmd->add_flag("--json", options->json,
                  "Print JSON instead: {\"totalMs\", \"slides\": [{\"slide\", \"file\", \"advanceMs\", "
                  "\"transition\", \"states\", \"effects\"}]}. A transition (or null) and each effect have "
                  "\"presetClass\", \"presetId\", \"presetSubtype\", \"strategy\", \"approximation\" (or null), "
                  "\"fallback\", \"durationMs\", \"behaviours\" and \"sound\" (or null); a transition also "
                  "\"layer\" and \"drawn\"; an effect also \"startMs\", \"role\", \"targets\" ([{\"shape\", "
                  "\"paragraph\", \"graphic\"}]), \"easing\", \"iteration\", \"state\" and \"drawsState\". A state "
                  "is {\"startMs\", \"hidden\": [targets], \"held\", \"drawnMs\", \"drawnBefore\"}");
    addSlideDurationOptions(*cmd, options->video, options->gif);
    addLargestPartOption(*cmd);
    cmd->footer("Example:\n  orvandel plan examples/aula-exemplo.pptx --gif 4:3000\n");
    cmd->callback([&action, &out, &err, options] {
        action = [&out, &err, options]() -> int { return runPlan(*options, out, err); };
    });
}

}  // namespace orvandel::cli
