#include "package/ScormScript.hpp"

#include <set>

#include <nlohmann/json.hpp>

namespace orvandel::ScormScript {

namespace {

// {{SLIDES}} is filled in. Every call into the LMS is guarded: a failing LMS
// must never stop the lesson from playing.
constexpr std::string_view kTemplate = R"js("use strict";
(() => {
  const SLIDES = new Set({{SLIDES}});
  const SAVE_EVERY_MS = 10000;
  const SUSPEND_DATA_MOST = 4096;  // CMIString4096

  // SCORM 1.2's search: the window, up to 7 parents, then the opener's.
  const findIn = win => {
    for (let tries = 0; win; ++tries) {
      try { if (win.API) return win.API; } catch (e) { /* a window of another origin */ }
      if (tries === 7) return null;
      let parent = null;
      try { parent = win.parent; } catch (e) { return null; }
      if (!parent || parent === win) return null;
      win = parent;
    }
    return null;
  };
  let api = findIn(window);
  if (!api) { try { if (window.opener) api = findIn(window.opener); } catch (e) { /* closed or foreign */ } }
  const lesson = window.orvandelLesson;
  if (!api || !lesson) return;
  const call = (name, ...args) => { try { return String(api[name](...args)); } catch (e) { return ""; } };
  if (call("LMSInitialize", "") !== "true") return;

  let dirty = false;
  const get = name => call("LMSGetValue", name);
  const set = (name, value) => { call("LMSSetValue", name, String(value)); dirty = true; };
  const commit = () => { if (dirty) { dirty = false; call("LMSCommit", ""); } };
  const started = Date.now();

  let status = get("cmi.core.lesson_status");
  if (status === "" || status === "not attempted") set("cmi.core.lesson_status", status = "incomplete");
  const complete = () => {
    if (status === "completed" || status === "passed") return;
    set("cmi.core.lesson_status", status = "completed");
    commit();
  };

  // The slides reached, as ranges of slide numbers: "1-4,7".
  const visited = new Set();
  for (const part of get("cmi.suspend_data").split(",")) {
    const range = /^(\d{1,9})(?:-(\d{1,9}))?$/.exec(part);
    if (!range) continue;
    const from = Number(range[1]), to = Number(range[2] ?? range[1]);
    for (const slide of SLIDES) if (slide >= from && slide <= to) visited.add(slide);
  }
  const ranges = () => {
    const sorted = [...visited].sort((a, b) => a - b);
    const parts = [];
    for (let i = 0; i < sorted.length;) {
      let j = i;
      while (j + 1 < sorted.length && sorted[j + 1] === sorted[j] + 1) ++j;
      parts.push(i === j ? String(sorted[i]) : sorted[i] + "-" + sorted[j]);
      i = j + 1;
    }
    return parts.join(",");
  };
  document.addEventListener("orvandel:chapter", event => {
    const slide = event.detail.slide;
    if (!SLIDES.has(slide) || visited.has(slide)) return;
    visited.add(slide);
    const data = ranges();
    if (data.length <= SUSPEND_DATA_MOST) set("cmi.suspend_data", data);
    if (visited.size === SLIDES.size) complete(); else commit();
  });

  // Where the student is; a lesson left at its very end starts again.
  const resumeAt = Number.parseInt(get("cmi.core.lesson_location"), 10);
  let position = 0;
  let saved = "";
  if (resumeAt > 0 && resumeAt < lesson.durationMs() - 1000) {
    position = resumeAt;
    saved = String(resumeAt);
    lesson.seek(resumeAt);
  }
  document.addEventListener("orvandel:progress", event => { position = event.detail.ms; });
  const savePosition = () => {
    const text = String(Math.max(0, Math.round(position)));
    if (text !== saved) set("cmi.core.lesson_location", saved = text);
  };
  document.addEventListener("orvandel:ended", () => { savePosition(); complete(); });
  commit();
  const timer = setInterval(() => { savePosition(); commit(); }, SAVE_EVERY_MS);

  // CMITimespan: HHHH:MM:SS.SS.
  const timespan = ms => {
    const two = n => String(n).padStart(2, "0");
    const hours = Math.min(9999, Math.floor(ms / 3600000));
    return two(hours) + ":" + two(Math.floor(ms / 60000) % 60) + ":" + two(Math.floor(ms / 1000) % 60) + "." +
           two(Math.floor(ms % 1000 / 10));
  };
  let finished = false;
  const finish = () => {
    if (finished) return;
    finished = true;
    clearInterval(timer);
    savePosition();
    set("cmi.core.exit", "suspend");
    set("cmi.core.session_time", timespan(Math.max(0, Date.now() - started)));
    commit();
    call("LMSFinish", "");
  };
  window.addEventListener("pagehide", finish);
  window.addEventListener("beforeunload", finish);
})();)js";

}  // namespace

std::string script(const LessonPackage::Lesson& lesson) {
    std::set<std::int64_t> slides;
    for (const auto& cue : lesson.cues) slides.insert(cue.slideIndex);
    const std::string list = nlohmann::json(slides).dump();
    std::string out(kTemplate);
    const auto at = out.find("{{SLIDES}}");
    out.replace(at, std::string_view("{{SLIDES}}").size(), list);
    return out;
}

}  // namespace orvandel::ScormScript
