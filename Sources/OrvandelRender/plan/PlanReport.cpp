#include "plan/PlanReport.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "base/Numbers.hpp"
#include "base/TemporaryDirectory.hpp"
#include "deck/TimingPolicy.hpp"
#include "plan/SlideTransitions.hpp"
#include "rewrite/DeckTransformer.hpp"

namespace orvandel::PlanReport {

namespace {

using Json = nlohmann::ordered_json;

Json orNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

std::string roleName(DrawnEffect::Role role) {
    switch (role) {
        case DrawnEffect::Role::entrance: return "entrance";
        case DrawnEffect::Role::exit: return "exit";
        case DrawnEffect::Role::emphasis: return "emphasis";
        case DrawnEffect::Role::path: return "path";
        case DrawnEffect::Role::transition: return "transition";
    }
    return "entrance";
}

std::string layerName(DrawnEffect::Layer layer) {
    switch (layer) {
        case DrawnEffect::Layer::incoming: return "incoming";
        case DrawnEffect::Layer::outgoing: return "outgoing";
        case DrawnEffect::Layer::both: return "both";
    }
    return "incoming";
}

std::string behaviourKindName(EffectBehaviour::Kind kind) {
    switch (kind) {
        case EffectBehaviour::Kind::reveal: return "reveal";
        case EffectBehaviour::Kind::value: return "value";
        case EffectBehaviour::Kind::scale: return "scale";
        case EffectBehaviour::Kind::rotate: return "rotate";
        case EffectBehaviour::Kind::motion: return "motion";
        case EffectBehaviour::Kind::colour: return "colour";
        case EffectBehaviour::Kind::restyle: return "restyle";
    }
    return "value";
}

std::string graphicName(const GraphicPart& g) {
    switch (g.kind) {
        case GraphicPart::Kind::chartBackground: return "background";
        case GraphicPart::Kind::chartData: return "data";
        case GraphicPart::Kind::chartSeries: return "series " + formatInt(g.series);
        case GraphicPart::Kind::chartCategory: return "category " + formatInt(g.category);
        case GraphicPart::Kind::chartPoint: return "point " + formatInt(g.series) + "." + formatInt(g.category);
        case GraphicPart::Kind::diagramElement: return "element " + g.element;
        case GraphicPart::Kind::oleChartElement: return "ole part";
    }
    return "part";
}

// "4" (a shape), "4/p2" (its third paragraph), "4/series 1" (a chart's part).
std::string targetText(const PlayoutTarget& t) {
    std::string out = t.shapeId;
    if (t.paragraph) out += "/p" + formatInt(*t.paragraph);
    if (t.graphic) out += "/" + graphicName(*t.graphic);
    return out;
}

Json targetJson(const PlayoutTarget& t) {
    return {{"shape", t.shapeId},
            {"paragraph", t.paragraph ? Json(*t.paragraph) : Json(nullptr)},
            {"graphic", t.graphic ? Json(graphicName(*t.graphic)) : Json(nullptr)}};
}

Json targetsJson(const std::vector<PlayoutTarget>& targets) {
    Json out = Json::array();
    for (const auto& t : targets) out.push_back(targetJson(t));
    return out;
}

Json behaviourJson(const EffectBehaviour& b) {
    Json out{{"kind", behaviourKindName(b.kind)}};
    switch (b.kind) {
        case EffectBehaviour::Kind::reveal:
            out["filter"] = b.filter;
            out["in"] = b.in;
            break;
        case EffectBehaviour::Kind::value:
        case EffectBehaviour::Kind::colour:
        case EffectBehaviour::Kind::restyle: {
            out["property"] = b.property;
            Json keys = Json::array();
            for (const auto& k : b.keys) keys.push_back(k.value);
            out["keys"] = std::move(keys);
            if (!b.colour.empty()) out["colour"] = b.colour;
            break;
        }
        case EffectBehaviour::Kind::scale:
            out["from"] = {b.fromX, b.fromY};
            out["to"] = {b.toX, b.toY};
            break;
        case EffectBehaviour::Kind::rotate: out["by"] = b.by; break;
        case EffectBehaviour::Kind::motion: out["path"] = b.path; break;
    }
    return out;
}

Json soundJson(const std::optional<EffectSound>& sound) {
    if (!sound) return nullptr;
    return {{"relationshipId", sound->relationshipId},
            {"name", sound->name},
            {"loop", sound->loop},
            {"stopsPrevious", sound->stopsPrevious}};
}

Json drawingJson(const DrawnEffect& e) {
    Json behaviours = Json::array();
    for (const auto& b : e.behaviours) behaviours.push_back(behaviourJson(b));
    return {{"presetClass", e.presetClass},
            {"presetId", e.presetId},
            {"presetSubtype", e.presetSubtype},
            {"strategy", e.strategy},
            {"approximation", orNull(e.approximation)},
            {"fallback", e.fallback},
            {"durationMs", e.durationMs},
            {"behaviours", std::move(behaviours)},
            {"sound", soundJson(e.sound)}};
}

std::string unitName(EffectIteration::Unit unit) {
    return unit == EffectIteration::Unit::word ? "word" : unit == EffectIteration::Unit::letter ? "letter" : "whole";
}

Json plannedJson(const PlannedEffect& p) {
    Json out{{"startMs", p.startMs}, {"role", roleName(p.effect.role)}, {"targets", targetsJson(p.targets)}};
    out.update(drawingJson(p.effect));
    const EffectTiming timing = p.effect.behaviours.empty() ? EffectTiming{} : p.effect.behaviours.front().timing;
    out["easing"] = {{"accel", timing.accel},
                     {"decel", timing.decel},
                     {"autoReverse", timing.autoReverse},
                     {"repeatMilli", timing.repeatMilli},
                     {"timeFilter", Json::array()}};
    for (const auto& [time, progress] : timing.filter)
        out["easing"]["timeFilter"].push_back(Json::array({time, progress}));
    const auto& it = p.effect.iterate;
    out["iteration"] = it.unit == EffectIteration::Unit::whole
                           ? Json(nullptr)
                           : Json{{"unit", unitName(it.unit)},
                                  {"units", it.units},
                                  {"stepPct", it.stepPct},
                                  {"stepMs", it.stepMs ? Json(*it.stepMs) : Json(nullptr)},
                                  {"backwards", it.backwards}};
    out["state"] = p.state ? Json(*p.state) : Json(nullptr);
    out["drawsState"] = p.drawsState;
    return out;
}

// The transition as the movie has it: a cut, one of zero length and the
// first slide's (nothing comes before it) are not drawn.
bool transitionDrawn(const DrawnEffect& e, bool firstVisible) { return !firstVisible && e.drawn(); }

const DrawnEffect* transitionOf(const DeckPlan& plan, const RenderSlide& slide) {
    const auto it = plan.transitions.find(slide.file);
    return it == plan.transitions.end() ? nullptr : &it->second;
}

// ---- Text ----

// Columns padded to their widest cell, two spaces apart.
std::string table(const std::vector<std::vector<std::string>>& rows, const std::string& indent) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
    }
    std::string out;
    for (const auto& row : rows) {
        std::string line = indent;
        for (std::size_t c = 0; c < row.size(); ++c) {
            line += row[c];
            if (c + 1 < row.size()) line += std::string(widths[c] - row[c].size() + 2, ' ');
        }
        while (!line.empty() && line.back() == ' ') line.pop_back();
        out += line + "\n";
    }
    return out;
}

std::string percent(std::int64_t share) { return formatInt(share / 1000) + "%"; }

std::string easingText(const DrawnEffect& e) {
    if (e.behaviours.empty()) return "-";
    const EffectTiming& t = e.behaviours.front().timing;
    std::vector<std::string> parts;
    if (t.accel > 0) parts.push_back("accel " + percent(t.accel));
    if (t.decel > 0) parts.push_back("decel " + percent(t.decel));
    if (t.autoReverse) parts.push_back("autoRev");
    if (!t.filter.empty()) parts.push_back("time filter");
    if (t.repeatMilli != 1000) {
        parts.push_back(t.repeatMilli == 0 ? "repeat to end" : "repeat " + msAsDecimalSeconds(t.repeatMilli));
    }
    std::string out;
    for (const auto& p : parts) out += (out.empty() ? "" : " ") + p;
    return out.empty() ? "-" : out;
}

std::string iterationText(const EffectIteration& it) {
    if (it.unit == EffectIteration::Unit::whole) return "-";
    std::string out = "by " + unitName(it.unit) + " x" + formatInt(it.units);
    out += it.stepMs ? " every " + formatInt(*it.stepMs) + " ms" : " every " + percent(it.stepPct);
    if (it.backwards) out += " backwards";
    return out;
}

std::string soundText(const std::optional<EffectSound>& sound) {
    if (!sound) return "-";
    if (sound->stopsPrevious && sound->relationshipId.empty()) return "stopping the others";
    std::string out = sound->name.empty() ? sound->relationshipId : "\"" + sound->name + "\"";
    if (sound->loop) out += " looping";
    return out;
}

std::string transitionText(const DrawnEffect* e, bool firstVisible) {
    if (!e) return "none";
    std::string out = e->presetClass.empty() ? "sound only" : e->presetClass;
    if (e->behaviours.empty()) {
        out += ", a cut";
    } else {
        out += " as " + e->strategy + ", " + formatInt(e->durationMs) + " ms";
    }
    if (e->fallback) out += " (fallback: " + e->approximation + ")";
    else if (!e->approximation.empty()) out += " (" + e->approximation + ")";
    if (e->sound) out += ", sound " + soundText(e->sound);
    if (!transitionDrawn(*e, firstVisible) && e->drawn()) out += "; not drawn: nothing comes before it";
    return out;
}

// The states the slide shows; those that would start after it has gone are only counted.
std::string statesText(const std::vector<PlayoutState>& states, std::int64_t advanceMs) {
    std::string out;
    std::int64_t after = 0;
    for (const auto& s : states) {
        if (s.startMs >= advanceMs && s.startMs > 0) {
            ++after;
            continue;
        }
        if (!out.empty()) out += ", ";
        out += formatInt(s.startMs) + " ms";
        if (!s.hidden.empty()) out += " (" + formatInt(static_cast<std::int64_t>(s.hidden.size())) + " hidden)";
    }
    if (after > 0) out += "; " + formatInt(after) + " more after the slide has gone";
    return out;
}

std::vector<std::string> plannedRow(const PlannedEffect& p) {
    std::string targets;
    for (const auto& t : p.targets) targets += (targets.empty() ? "" : ",") + targetText(t);
    const DrawnEffect& e = p.effect;
    std::string preset = e.presetClass.empty() ? roleName(e.role) : e.presetClass;
    if (e.presetId != 0) preset += " " + formatInt(e.presetId) + "/" + formatInt(e.presetSubtype);
    const std::string differs = e.fallback ? "fallback" : e.approximation.empty() ? "-" : e.approximation;
    const std::string state = !p.state       ? "-"
                              : p.drawsState ? formatInt(static_cast<std::int64_t>(*p.state))
                                             : "(" + formatInt(static_cast<std::int64_t>(*p.state)) + ")";
    return {formatInt(p.startMs),
            targets.empty() ? "-" : targets,
            preset,
            e.strategy.empty() ? "cut" : e.strategy,
            differs,
            formatInt(e.durationMs),
            easingText(e),
            iterationText(e.iterate),
            soundText(e.sound),
            state};
}

}  // namespace

DeckPlan read(DeckModel& deck, const SlideDurations& videoMs, const SlideDurations& gifMs,
              const std::filesystem::path& scratchParent) {
    const TemporaryDirectory scratch(scratchParent, "orvandel-plan-");
    const auto prepared = scratch.path() / "prepared.pptx";
    std::vector<DeckTransformer::Branch> branches;
    DeckTransformer::prepare(deck, prepared, videoMs, gifMs, TimingPolicy::respiroMs, TimingPolicy::espacamentoMs,
                             branches);
    DeckPlan out{RenderPlanReader::read(prepared), {}};
    for (const auto& [file, markup] : deck.transitions()) {
        if (auto effect = SlideTransitions::describe(markup, file)) out.transitions.emplace(file, std::move(*effect));
    }
    return out;
}

std::string text(const DeckPlan& plan) {
    std::string out;
    bool firstVisible = true;
    for (const auto& slide : plan.plan.slides) {
        if (slide.hidden) continue;
        out += "slide " + formatInt(slide.displayIndex) + ", " + msAsDecimalSeconds(slide.advanceTimeMs) + " s\n";
        out += "  transition: " + transitionText(transitionOf(plan, slide), firstVisible) + "\n";
        out += "  states: " + statesText(slide.playout.states, slide.advanceTimeMs) + "\n";
        firstVisible = false;
        if (slide.playout.planned.empty()) {
            out += "  effects: none\n";
            continue;
        }
        std::vector<std::vector<std::string>> rows{
            {"ms", "targets", "preset", "drawn as", "differs", "dur", "easing", "iteration", "sound", "state"}};
        for (const auto& p : slide.playout.planned) rows.push_back(plannedRow(p));
        out += "  effects:\n" + table(rows, "    ");
    }
    out += "movie: " + msAsDecimalSeconds(plan.plan.totalMs()) + " s\n";
    return out;
}

std::string json(const DeckPlan& plan) {
    Json slides = Json::array();
    bool firstVisible = true;
    for (const auto& slide : plan.plan.slides) {
        if (slide.hidden) continue;
        Json transition = nullptr;
        if (const DrawnEffect* e = transitionOf(plan, slide)) {
            transition = drawingJson(*e);
            transition["layer"] = layerName(e->layer);
            transition["drawn"] = transitionDrawn(*e, firstVisible);
        }
        firstVisible = false;
        Json states = Json::array();
        for (std::size_t k = 0; k < slide.playout.states.size(); ++k) {
            const auto& s = slide.playout.states[k];
            const DrawnEffect into = k < slide.playout.effects.size() ? slide.playout.effects[k] : DrawnEffect{};
            const bool before = into.drawnBeforeChange();
            states.push_back({{"startMs", s.startMs},
                              {"hidden", targetsJson(s.hidden)},
                              {"held", static_cast<std::int64_t>(s.held.size())},
                              {"drawnMs", into.drawn() ? into.durationMs : 0},
                              {"drawnBefore", before}});
        }
        Json effects = Json::array();
        for (const auto& p : slide.playout.planned) effects.push_back(plannedJson(p));
        slides.push_back({{"slide", slide.displayIndex},
                          {"file", slide.file},
                          {"advanceMs", slide.advanceTimeMs},
                          {"transition", std::move(transition)},
                          {"states", std::move(states)},
                          {"effects", std::move(effects)}});
    }
    // Names from the deck may hold bytes that are not UTF-8.
    return Json{{"totalMs", plan.plan.totalMs()}, {"slides", std::move(slides)}}.dump(2, ' ', false,
                                                                                      Json::error_handler_t::replace) +
           "\n";
}

}  // namespace orvandel::PlanReport
