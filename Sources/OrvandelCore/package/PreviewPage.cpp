#include "package/PreviewPage.hpp"

#include <algorithm>
#include <map>

#include <nlohmann/json.hpp>

#include "base/AtomicFile.hpp"
#include "base/AtomicFolder.hpp"
#include "base/Bytes.hpp"
#include "container/PptxArchive.hpp"
#include "container/XMLEmitter.hpp"
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

// The page; {{GENERATOR}}, {{TITLE}}, {{NOTES}}, {{DATA}} and {{EXTRA}} are filled in. Plain enough to
// read and change by hand: no build step, no library.
constexpr std::string_view kTemplate = R"html(<!doctype html>
<html lang="pt-BR">
<head>
<meta charset="utf-8">
{{GENERATOR}}
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{{TITLE}} · prévia da aula</title>
<style>
  :root { --accent: #0f766e; --accent-soft: #e3f2ef; --text: #1f2933; --muted: #5d6677; --line: #e4e7ec; }
  * { box-sizing: border-box; }
  body { margin: 0; background: #f6f7f5; color: var(--text);
         font: 16px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", "DejaVu Sans", sans-serif; }
  header { padding: 20px 28px 4px; }
  h1 { margin: 0; font-size: 22px; font-weight: 600; }
  header p { margin: 2px 0 0; color: var(--muted); font-size: 14px; }
  main { display: grid; grid-template-columns: minmax(0, 1fr) minmax(280px, 380px); gap: 24px;
         padding: 14px 28px 28px; align-items: start; }
  video { display: block; width: 100%; aspect-ratio: 16 / 9; background: #000; border-radius: 8px; }
  .bar { display: flex; flex-wrap: wrap; gap: 8px 20px; align-items: center; justify-content: space-between;
         margin: 10px 2px 0; }
  .keys { margin: 0; color: var(--muted); font-size: 13px; }
  .speed { font-size: 14px; }
  select, input { font: inherit; color: inherit; }
  select { padding: 2px 6px; border: 1px solid #98a2b3; border-radius: 6px; background: #fff; }
  kbd { font: inherit; font-size: 12px; padding: 0 6px; border: 1px solid #d0d5dd; border-bottom-width: 2px;
        border-radius: 4px; background: #fff; }
  .panel { background: #fff; border: 1px solid var(--line); border-radius: 8px; }
  .panel h2 { margin: 0 0 8px; font-size: 12px; font-weight: 600; letter-spacing: .05em; text-transform: uppercase;
              color: var(--muted); }
  #notes-panel { margin-top: 16px; padding: 14px 18px 16px; }
  #notes { margin: 0; white-space: pre-wrap; }
  #notes.empty { color: var(--muted); font-style: italic; }
  aside { position: sticky; top: 12px; display: flex; flex-direction: column; max-height: calc(100vh - 24px);
          padding-top: 14px; }
  aside h2 { padding: 0 16px; }
  .search { padding: 0 16px 8px; }
  .search input { width: 100%; padding: 6px 10px; border: 1px solid #98a2b3; border-radius: 6px; }
  #found { margin: 0; padding: 0 16px 6px; color: var(--muted); font-size: 13px; }
  #outline { overflow-y: auto; padding-bottom: 6px; }
  .slide + .slide { border-top: 1px solid var(--line); }
  .slide h3 { display: flex; margin: 0; font-size: 15px; font-weight: 600; }
  button { font: inherit; color: inherit; background: none; border: 0; margin: 0; cursor: pointer; text-align: left; }
  button:focus-visible, select:focus-visible, input:focus-visible { outline: 2px solid var(--accent); outline-offset: -2px; }
  .toggle { width: 32px; flex: none; color: var(--muted); }
  .toggle::before { content: "▾"; display: inline-block; transition: transform .15s; }
  .toggle[aria-expanded="false"]::before { transform: rotate(-90deg); }
  .go-slide { flex: 1; display: flex; gap: 12px; padding: 8px 16px 6px 0; }
  .slide.current .go-slide { color: var(--accent); }
  ol { margin: 0; padding: 0 0 6px; list-style: none; }
  .row { display: flex; gap: 12px; width: 100%; padding: 5px 16px 5px 29px; border-left: 3px solid transparent; }
  .row:hover { background: #f2f4f7; }
  .row.current { background: var(--accent-soft); border-left-color: var(--accent); }
  .time { min-width: 4.2em; color: var(--muted); font-variant-numeric: tabular-nums; font-weight: 400; }
  .row.current .time { color: var(--accent); font-weight: 600; }
  [hidden] { display: none !important; }
  .visually-hidden { position: absolute; width: 1px; height: 1px; overflow: hidden; clip: rect(0 0 0 0); }
  @media (max-width: 820px) {
    main { grid-template-columns: 1fr; }
    aside { position: static; max-height: 60vh; }
  }
</style>
</head>
<body>
<header>
  <h1>{{TITLE}}</h1>
  <p id="summary"></p>
</header>
<main>
  <section aria-label="Vídeo da aula">
    <video id="movie" src="master.mp4" controls preload="auto" playsinline></video>
    <div class="bar">
      <p class="keys"><kbd>Espaço</kbd> reproduz ou pausa &nbsp;·&nbsp; <kbd>←</kbd> <kbd>→</kbd> marcação anterior
        ou seguinte</p>
      <label class="speed">Velocidade
        <select id="speed">
          <option value="0.75">0,75×</option><option value="1" selected>1×</option><option value="1.25">1,25×</option>
          <option value="1.5">1,5×</option><option value="2">2×</option>
        </select>
      </label>
    </div>
{{NOTES}}  </section>
  <aside class="panel" aria-labelledby="outline-title">
    <h2 id="outline-title">Roteiro da aula</h2>
    <div class="search" role="search">
      <label for="search" class="visually-hidden">Buscar nos slides</label>
      <input type="search" id="search" placeholder="Buscar nos slides…" autocomplete="off">
    </div>
    <p id="found" aria-live="polite"></p>
    <div id="outline"></div>
  </aside>
</main>
<script type="application/json" id="lesson">{{DATA}}</script>
<script>
"use strict";
const lesson = JSON.parse(document.getElementById("lesson").textContent);
const cues = lesson.cues;
const slides = lesson.slides;
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
function announce(type, detail) { document.dispatchEvent(new CustomEvent("orvandel:" + type, { detail })); }

document.getElementById("summary").textContent =
  "Prévia da aula · " + (slides.length === 1 ? "1 slide" : slides.length + " slides") +
  " · vídeo de " + clock(lesson.durationMs, false);

// One group per slide, in movie order: a heading that goes to where the
// slide starts and folds its rows, then a row per cue.
const rows = [];
const groups = slides.map(s => {
  const group = document.createElement("section");
  group.className = "slide";
  const heading = document.createElement("h3");
  const toggle = document.createElement("button");
  toggle.type = "button";
  toggle.className = "toggle";
  toggle.setAttribute("aria-expanded", "true");
  toggle.setAttribute("aria-controls", "rows-" + s.slide);
  toggle.setAttribute("aria-label", "Marcações do slide " + s.slide);
  const go = document.createElement("button");
  go.type = "button";
  go.className = "go-slide";
  go.innerHTML = '<span class="time"></span><span class="title"></span>';
  go.firstChild.textContent = clock(s.startMs, true);
  go.lastChild.textContent = s.title;
  go.addEventListener("click", () => goToTime(s.startMs, -1));
  heading.append(toggle, go);
  const list = document.createElement("ol");
  list.id = "rows-" + s.slide;
  group.append(heading, list);
  document.getElementById("outline").append(group);
  const made = { slide: s, element: group, toggle, list, rows: [] };
  toggle.addEventListener("click", () => setOpen(made, toggle.getAttribute("aria-expanded") !== "true"));
  return made;
});
const groupOf = new Map(groups.map(g => [g.slide.slide, g]));
function setOpen(group, open) {
  group.toggle.setAttribute("aria-expanded", String(open));
  group.list.hidden = !open;
}
cues.forEach((cue, i) => {
  const item = document.createElement("li");
  const row = document.createElement("button");
  row.type = "button";
  row.className = "row";
  row.innerHTML = '<span class="time"></span><span class="label"></span>';
  row.firstChild.textContent = clock(cue.timeMs, true);
  row.lastChild.textContent = cue.label;
  row.addEventListener("click", () => goTo(i));
  item.append(row);
  const group = groupOf.get(cue.slide);
  group.list.append(item);
  group.rows.push(i);
  rows.push(row);
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
// The slide on screen at time t: the last one started.
function currentSlide(t) {
  let found = slides.length ? slides[0].slide : null;
  for (const s of slides) if (s.startMs / 1000 <= t + EPSILON) found = s.slide;
  return found;
}

// The current row follows playback: the list scrolls as scrollIntoView's
// "nearest" would, the page does not (on a phone it would take the movie
// out of view).
const outline = document.getElementById("outline");
function reveal(row) {
  const box = outline.getBoundingClientRect(), at = row.getBoundingClientRect();
  if (at.top < box.top) outline.scrollTop -= box.top - at.top;
  else if (at.bottom > box.bottom) outline.scrollTop += Math.min(at.bottom - box.bottom, at.top - box.top);
}

let shown = null, shownSlide = null, announcedSlide = null;
function update() {
  const t = video.currentTime;
  const slide = currentSlide(t);
  let i = currentCue(t);
  if (i >= 0 && cues[i].slide !== slide) i = -1;  // at a slide's start, before its first cue
  if (i !== shown) {
    if (shown !== null && shown >= 0) {
      rows[shown].classList.remove("current");
      rows[shown].removeAttribute("aria-current");
    }
    shown = i;
    if (i >= 0) {
      rows[i].classList.add("current");
      rows[i].setAttribute("aria-current", "true");
      if (!rows[i].closest("[hidden]")) reveal(rows[i]);
    }
  }
  if (slide !== shownSlide) {
    if (shownSlide !== null) groupOf.get(shownSlide).element.classList.remove("current");
    shownSlide = slide;
    if (slide !== null) groupOf.get(slide).element.classList.add("current");
    if (notes) {
      const text = slide === null ? "" : lesson.notes[slide] || "";
      notesTitle.textContent = slide === null ? "Anotações" : "Anotações do slide " + slide;
      notes.textContent = text || "Este slide não tem anotações.";
      notes.classList.toggle("empty", !text);
    }
  }
}
// Playback entering a slide, as a page that embeds this one hears it.
function played() {
  update();
  if (shownSlide !== null && shownSlide !== announcedSlide) {
    announcedSlide = shownSlide;
    announce("chapter", { slide: shownSlide });
  }
}

// As a lesson player does at a cue: go there and wait. A cue lies after
// its step's change has ended (at least a pause's length after it), so the
// frame there shows what the step brought in.
function goToTime(ms, cue) {
  chosen = cue;
  video.pause();
  video.currentTime = ms / 1000;
  update();
  // Where the list sits below the movie (a narrow window), the movie comes back into view.
  if (video.getBoundingClientRect().top < 0) video.scrollIntoView({ block: "start" });
}
const goTo = i => goToTime(cues[i].timeMs, i);

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
  if (target >= 0) goTo(byTime[target]); else goToTime(0, -1);
}

document.addEventListener("keydown", event => {
  if (event.altKey || event.ctrlKey || event.metaKey) return;
  // Typing in the search box, or choosing a speed, keeps its keys.
  if (event.target.closest && event.target.closest("input, select, textarea")) return;
  if (event.key === " ") {
    if (video.paused) video.play(); else video.pause();
  } else if (event.key === "ArrowRight") {
    step(1);
  } else if (event.key === "ArrowLeft") {
    step(-1);
  } else {
    return;
  }
  // Not the page's scrolling, a focused row's click, nor the video controls' own seeking.
  event.preventDefault();
  event.stopPropagation();
}, true);

const speed = document.getElementById("speed");
speed.addEventListener("change", () => {
  video.defaultPlaybackRate = video.playbackRate = Number(speed.value);
});
video.addEventListener("ratechange", () => {
  const option = [...speed.options].find(o => Number(o.value) === video.playbackRate);
  if (option) speed.value = option.value;
});

// The search: accents and case do not matter; a slide whose title matches
// keeps all its rows.
const fold = text => text.normalize("NFD").replace(/[\u0300-\u036f]/g, "").toLowerCase();
const search = document.getElementById("search");
search.addEventListener("input", () => {
  const words = fold(search.value.trim());
  let found = 0;
  for (const group of groups) {
    const whole = !words || fold(group.slide.title).includes(words);
    let any = whole;
    for (const i of group.rows) {
      const match = whole || fold(cues[i].label).includes(words);
      rows[i].parentElement.hidden = !match;
      if (match) { any = true; ++found; }
    }
    group.element.hidden = !any;
    if (words && any) setOpen(group, true);
  }
  document.getElementById("found").textContent = !words ? "" :
    found === 0 ? "Nenhuma marcação com esse texto." : found === 1 ? "1 marcação encontrada." :
    found + " marcações encontradas.";
});
search.addEventListener("keydown", event => {
  if (event.key === "Escape" && search.value) {
    search.value = "";
    search.dispatchEvent(new Event("input"));
  }
});

for (const type of ["seeked", "play", "pause"]) video.addEventListener(type, played);
video.addEventListener("timeupdate", () => {
  played();
  announce("progress", { ms: Math.round(video.currentTime * 1000), durationMs: lesson.durationMs });
});
video.addEventListener("ended", () => announce("ended", {}));
window.orvandelLesson = Object.freeze({
  seek(ms) { video.currentTime = Math.max(0, Number(ms) || 0) / 1000; },
  durationMs() { return lesson.durationMs; },
});
update();
</script>
{{EXTRA}}</body>
</html>
)html";

// The notes panel, in a page that holds the notes.
constexpr std::string_view kNotesPanel = R"html(    <section id="notes-panel" class="panel" aria-live="polite">
      <h2 id="notes-title">Anotações</h2>
      <p id="notes"></p>
    </section>
)html";

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

std::string html(const LessonPackage::Lesson& lesson, const Options& options) {
    const auto outline = options.outline ? *options.outline : LessonOutline::fromCues(lesson.cues);
    nlohmann::ordered_json data;
    data["durationMs"] = lesson.masterVideoDurationMs;
    data["slides"] = nlohmann::ordered_json::array();
    // Movie order: the order of the slides' first cues.
    std::vector<std::int64_t> slides;
    for (const auto& cue : lesson.cues) {
        if (std::find(slides.begin(), slides.end(), cue.slideIndex) == slides.end()) slides.push_back(cue.slideIndex);
    }
    for (const auto slide : slides) {
        const auto title = outline.titles.find(slide);
        const auto start = outline.slideStartsMs.find(slide);
        data["slides"].push_back(
            {{"slide", slide},
             {"title", title != outline.titles.end() ? title->second : "Slide " + std::to_string(slide)},
             {"startMs", start != outline.slideStartsMs.end() ? start->second : 0}});
    }
    data["cues"] = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < lesson.cues.size(); ++i) {
        const auto& cue = lesson.cues[i];
        const std::string& label = i < outline.labels.size() ? outline.labels[i] : cue.label;
        data["cues"].push_back({{"label", label}, {"slide", cue.slideIndex}, {"timeMs", cue.timeMs}});
    }
    if (options.withNotes) {
        // A slide with no cue is hidden: the movie never shows it, its notes stay in the deck.
        data["notes"] = nlohmann::ordered_json::object();
        for (const auto& [slide, note] : lesson.notesBySlide) {
            if (std::find(slides.begin(), slides.end(), slide) != slides.end()) {
                data["notes"][std::to_string(slide)] = note;
            }
        }
    }
    std::string json = data.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    // "<" stands only inside strings; escaped, no note can close the script.
    replaceAll(json, "<", "\\u003c");
    std::string extra;
    if (!options.extraScript.empty()) {
        extra = options.extraScript;
        replaceAll(extra, "</script", "<\\/script");
        extra = "<script>\n" + extra + "\n</script>\n";
    }

    std::string title = fs::path(lesson.sourceFileName).stem().string();
    if (title.empty()) title = "Aula";
    // One pass over the template: text filled in is never searched again.
    const std::map<std::string_view, std::string> values{{"GENERATOR", std::string(kGenerator)},
                                                         {"TITLE", XMLEmitter::escapeAttribute(title)},
                                                         {"NOTES", options.withNotes ? std::string(kNotesPanel) : ""},
                                                         {"DATA", json},
                                                         {"EXTRA", extra}};
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
    write(orv, folder, Options{}, {}, hooks);
}

void write(const fs::path& orv, const fs::path& folder, const Options& options,
           const std::function<LessonOutline::Outline(const LessonPackage::Lesson&)>& makeOutline,
           const RenderHooks& hooks) {
    const auto lesson = LessonPackage::read(orv);
    PackagedMovie::check(orv, static_cast<double>(lesson.masterVideoDurationMs) / 1000);
    checkFolder(folder);
    Options withOutline = options;
    if (makeOutline) withOutline.outline = makeOutline(lesson);
    PptxArchive::Deck package(orv);
    AtomicFolder::replace(
        folder,
        [&](const fs::path& staging) {
            writeFile(staging / kPage, html(lesson, withOutline));
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
