#include "package/PreviewPage.hpp"

#include <map>

#include <nlohmann/json.hpp>

#include "base/AtomicFile.hpp"
#include "base/AtomicFolder.hpp"
#include "base/Bytes.hpp"
#include "container/PptxArchive.hpp"
#include "package/PackagedMovie.hpp"

namespace orvandel::PreviewPage {

namespace fs = std::filesystem;

PreviewError::PreviewError(fs::path folder, const std::string& description)
    : Error(description), folder_(std::move(folder)) {}

PreviewError PreviewError::folderInUse(const fs::path& folder) {
    return PreviewError(folder, "refusing to write the preview into " + folder.string() +
                                    ": it holds something other than an earlier preview; choose another folder "
                                    "with -o, or empty it");
}

namespace {

// Marks a page as this program's, so that its folder may be replaced.
constexpr std::string_view kGenerator = R"(<meta name="generator" content="orvandel preview">)";

// The page; {{GENERATOR}}, {{TITLE}}, {{DATA}} and {{EXTRA}} are filled in. Plain enough to read and
// change by hand: no build step, no library.
constexpr std::string_view kTemplate = R"html(<!doctype html>
<html lang="pt-BR">
<head>
<meta charset="utf-8">
{{GENERATOR}}
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{{TITLE}} · prévia da aula</title>
<style>
  :root { --accent: #0f766e; --accent-soft: #e3f2ef; --text: #1f2933; --muted: #667085; --line: #e4e7ec; }
  * { box-sizing: border-box; }
  body { margin: 0; background: #f6f7f5; color: var(--text);
         font: 16px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", "DejaVu Sans", sans-serif; }
  header { padding: 20px 28px 4px; }
  h1 { margin: 0; font-size: 22px; font-weight: 600; }
  header p { margin: 2px 0 0; color: var(--muted); font-size: 14px; }
  main { display: grid; grid-template-columns: minmax(0, 1fr) minmax(260px, 340px); gap: 24px;
         padding: 14px 28px 28px; align-items: start; }
  video { display: block; width: 100%; aspect-ratio: 16 / 9; background: #000; border-radius: 8px; }
  .keys { margin: 10px 2px 0; color: var(--muted); font-size: 13px; }
  kbd { font: inherit; font-size: 12px; padding: 0 6px; border: 1px solid #d0d5dd; border-bottom-width: 2px;
        border-radius: 4px; background: #fff; }
  .panel { background: #fff; border: 1px solid var(--line); border-radius: 8px; }
  .panel h2 { margin: 0 0 6px; font-size: 12px; font-weight: 600; letter-spacing: .05em; text-transform: uppercase;
              color: var(--muted); }
  #notes-panel { margin-top: 16px; padding: 14px 18px 16px; }
  #notes { margin: 0; white-space: pre-wrap; }
  #notes.empty { color: var(--muted); font-style: italic; }
  aside { position: sticky; top: 12px; display: flex; flex-direction: column; max-height: calc(100vh - 24px);
          padding-top: 14px; }
  aside h2 { padding: 0 16px; }
  ol { margin: 0; padding: 0 0 6px; list-style: none; overflow-y: auto; }
  li { display: flex; gap: 12px; padding: 6px 16px 6px 13px; border-left: 3px solid transparent; cursor: pointer; }
  li + li.new-slide { margin-top: 4px; border-top: 1px solid var(--line); padding-top: 9px; }
  li:hover { background: #f2f4f7; }
  li.current { background: var(--accent-soft); border-left-color: var(--accent); }
  .time { min-width: 4.2em; color: var(--muted); font-variant-numeric: tabular-nums; }
  li.current .time { color: var(--accent); font-weight: 600; }
  @media (max-width: 820px) {
    main { grid-template-columns: 1fr; }
    aside { position: static; max-height: 45vh; }
  }
</style>
</head>
<body>
<header>
  <h1>{{TITLE}}</h1>
  <p id="summary"></p>
</header>
<main>
  <section>
    <video id="movie" src="master.mp4" controls preload="auto" playsinline></video>
    <p class="keys"><kbd>Espaço</kbd> reproduz ou pausa &nbsp;·&nbsp; <kbd>←</kbd> <kbd>→</kbd> marcação anterior
      ou seguinte &nbsp;·&nbsp; um clique numa marcação leva até ela e pausa</p>
    <section id="notes-panel" class="panel">
      <h2 id="notes-title">Anotações</h2>
      <p id="notes"></p>
    </section>
  </section>
  <aside class="panel">
    <h2>Marcações</h2>
    <ol id="cues"></ol>
  </aside>
</main>
<script type="application/json" id="lesson">{{DATA}}</script>
<script>
"use strict";
const lesson = JSON.parse(document.getElementById("lesson").textContent);
const cues = lesson.cues;
const video = document.getElementById("movie");
const notes = document.getElementById("notes");
const notesTitle = document.getElementById("notes-title");
// Cue times are whole milliseconds; the player's clock is in seconds.
const EPSILON = 0.0005;
const at = i => cues[i].timeMs / 1000;

function clock(ms, tenths) {
  const s = Math.floor(ms / 1000);
  const text = Math.floor(s / 60) + ":" + String(s % 60).padStart(2, "0");
  return tenths ? text + "," + Math.floor(ms % 1000 / 100) : text;
}

document.getElementById("summary").textContent =
  "Prévia da aula · " + (cues.length === 1 ? "1 marcação" : cues.length + " marcações") +
  " · vídeo de " + clock(lesson.durationMs, false);

const rows = cues.map((cue, i) => {
  const row = document.createElement("li");
  if (i > 0 && cues[i - 1].slide !== cue.slide) row.className = "new-slide";
  const time = document.createElement("span");
  time.className = "time";
  time.textContent = clock(cue.timeMs, true);
  const label = document.createElement("span");
  label.textContent = cue.label;
  row.append(time, label);
  row.addEventListener("click", () => goTo(i));
  document.getElementById("cues").append(row);
  return row;
});

// The cues in the order the movie reaches them: within a slide the list's
// order need not be the movie's.
const byTime = cues.map((_, i) => i).sort((a, b) => cues[a].timeMs - cues[b].timeMs || a - b);
// The cue the user went to, while the movie stands on it: of two cues at
// one time, the one chosen stays current.
let chosen = -1;

// The last cue the movie has reached at time t; -1 before the first.
function currentCue(t) {
  if (chosen >= 0 && Math.abs(at(chosen) - t) <= EPSILON) return chosen;
  let found = -1;
  for (const i of byTime) {
    if (at(i) > t + EPSILON) break;
    found = i;
  }
  return found;
}

let shown = null;
function update() {
  const i = currentCue(video.currentTime);
  if (i === shown) return;
  if (shown !== null && shown >= 0) rows[shown].classList.remove("current");
  shown = i;
  if (i >= 0) {
    rows[i].classList.add("current");
    rows[i].scrollIntoView({ block: "nearest" });
  }
  // Before its first cue the movie shows the first slide.
  const slide = i >= 0 ? cues[i].slide : cues.length ? cues[byTime[0]].slide : null;
  const text = slide === null ? "" : lesson.notes[slide] || "";
  notesTitle.textContent = slide === null ? "Anotações" : "Anotações do slide " + slide;
  notes.textContent = text || "Este slide não tem anotações.";
  notes.classList.toggle("empty", !text);
}

// As a lesson player does at a cue: go there and wait.
function goTo(i) {
  chosen = i;
  video.pause();
  video.currentTime = at(i);
  update();
}

function step(direction) {
  const t = video.currentTime;
  const current = currentCue(t);
  const position = byTime.indexOf(current);
  if (direction > 0) {
    if (position + 1 < byTime.length) goTo(byTime[position + 1]);
    return;
  }
  // Back: to the cue before when standing on one, else to the one last passed.
  const onCue = current >= 0 && Math.abs(at(current) - t) <= EPSILON;
  const target = onCue ? position - 1 : position;
  if (target >= 0) {
    goTo(byTime[target]);
  } else {
    chosen = -1;
    video.pause();
    video.currentTime = 0;
    update();
  }
}

document.addEventListener("keydown", event => {
  if (event.altKey || event.ctrlKey || event.metaKey) return;
  if (event.key === " ") {
    if (video.paused) video.play(); else video.pause();
  } else if (event.key === "ArrowRight") {
    step(1);
  } else if (event.key === "ArrowLeft") {
    step(-1);
  } else {
    return;
  }
  // Not the page's scrolling, nor the video controls' own seeking.
  event.preventDefault();
  event.stopPropagation();
}, true);

for (const type of ["timeupdate", "seeked", "play", "pause"]) video.addEventListener(type, update);

// What a script added to the page (a SCORM package's) listens to: where the
// movie is, its end, and each slide reached; and what it may ask.
let lastSlide = null;
const tell = (type, detail) => document.dispatchEvent(new CustomEvent("orvandel:" + type, { detail }));
video.addEventListener("timeupdate", () => {
  tell("progress", { ms: Math.round(video.currentTime * 1000), durationMs: lesson.durationMs });
  const i = currentCue(video.currentTime);
  const slide = i >= 0 ? cues[i].slide : cues.length ? cues[byTime[0]].slide : null;
  if (slide !== null && slide !== lastSlide) tell("chapter", { slide: lastSlide = slide });
});
video.addEventListener("ended", () => tell("ended", {}));
window.orvandelLesson = {
  seek(ms) {
    const go = () => { chosen = -1; video.currentTime = ms / 1000; update(); };
    // Before the movie's length is known a seek would be lost.
    if (video.readyState >= 1) go(); else video.addEventListener("loadedmetadata", go, { once: true });
  },
  durationMs: () => lesson.durationMs,
};
update();
</script>
{{EXTRA}}</body>
</html>
)html";

std::string escapedHtml(std::string_view text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default: out += c;
        }
    }
    return out;
}

void replaceAll(std::string& text, std::string_view what, std::string_view with) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
}

// Whether `folder` is empty or holds only what an earlier preview wrote.
bool isEarlierPreview(const fs::path& folder) {
    std::error_code ec;
    if (!fs::is_directory(fs::symlink_status(folder, ec))) return false;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        const auto name = entry.path().filename();
        if (name != kPage && name != kMovie) return false;
    }
    if (ec) return false;
    const auto page = folder / kPage;
    if (!fs::exists(page, ec)) return true;
    // The marker sits near the top; a large file is not a page of ours.
    if (fs::file_size(page, ec) > (std::uintmax_t(1) << 26) || ec) return false;
    try {
        return toString(readFile(page)).find(kGenerator) != std::string::npos;
    } catch (const FileError&) {
        return false;
    }
}

}  // namespace

fs::path defaultFolder(const fs::path& orv) { return orv.parent_path() / (orv.stem().string() + "-preview"); }

std::string html(const LessonPackage::Lesson& lesson, std::string_view extraScript) {
    nlohmann::ordered_json data;
    data["durationMs"] = lesson.masterVideoDurationMs;
    data["cues"] = nlohmann::ordered_json::array();
    for (const auto& cue : lesson.cues) {
        data["cues"].push_back({{"label", cue.label}, {"slide", cue.slideIndex}, {"timeMs", cue.timeMs}});
    }
    data["notes"] = nlohmann::ordered_json::object();
    for (const auto& [slide, note] : lesson.notesBySlide) data["notes"][std::to_string(slide)] = note;
    std::string json = data.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    // "<" stands only inside strings; escaped, no note can close the script.
    replaceAll(json, "<", "\\u003c");

    std::string title = fs::path(lesson.sourceFileName).stem().string();
    if (title.empty()) title = "Aula";
    // One pass over the template: text filled in is never searched again.
    const std::map<std::string_view, std::string> values{
        {"GENERATOR", std::string(kGenerator)},
        {"TITLE", escapedHtml(title)},
        {"DATA", json},
        {"EXTRA", extraScript.empty() ? std::string() : "<script>\n" + std::string(extraScript) + "\n</script>"}};
    std::string page;
    std::size_t from = 0;
    for (auto open = kTemplate.find("{{"); open != std::string_view::npos; open = kTemplate.find("{{", from)) {
        const auto close = kTemplate.find("}}", open);
        page.append(kTemplate, from, open - from);
        page += values.at(kTemplate.substr(open + 2, close - open - 2));
        from = close + 2;
    }
    page.append(kTemplate, from);
    return page;
}

void checkFolder(const fs::path& folder) {
    std::error_code ec;
    if (fs::exists(fs::symlink_status(folder, ec)) && !isEarlierPreview(folder)) {
        throw PreviewError::folderInUse(folder);
    }
    // A missing parent is made by the write.
    const auto parent = folder.parent_path().empty() ? fs::path(".") : folder.parent_path();
    if (fs::is_directory(parent, ec)) AtomicFile::checkWritable(folder);
}

void write(const fs::path& orv, const fs::path& folder, const RenderHooks& hooks) {
    const auto lesson = LessonPackage::read(orv);
    PackagedMovie::check(orv, static_cast<double>(lesson.masterVideoDurationMs) / 1000);
    checkFolder(folder);
    PptxArchive::Deck package(orv);
    AtomicFolder::replace(
        folder,
        [&](const fs::path& staging) {
            writeFile(staging / kPage, html(lesson));
            hooks.report(ExportStage::copyMovie, 0);
            package.extractStored(LessonPackage::kMovieEntry, staging / kMovie,
                                  [&](std::int64_t copied, std::int64_t total) {
                                      hooks.throwIfCancelled();
                                      hooks.report(ExportStage::copyMovie, double(copied) / double(total));
                                  });
        },
        [](const fs::path& existing) {
            if (!isEarlierPreview(existing)) throw PreviewError::folderInUse(existing);
        });
}

}  // namespace orvandel::PreviewPage
