#!/usr/bin/env bash
# Exports every deck of the shared corpus with the headless renderer and
# reports, per deck: prepared or not (and why), exported or not (and why),
# the movie's length against the plan, and the wall time. For decks that
# build a chart or diagram part by part, it also reports how many of the
# steps of those slides change the picture between their cues (the frame
# just before a cue against the frame just before the cue before it).
# For every deck with media (videos, audio clips, GIFs), what the movie made
# of them: how long its picture moves at 30 frames a second, whether its sound
# track is audible, and the warnings of media that kept their poster frame.
# For every exported deck, whether every step changes the picture: each
# change of state `orvandel plan --json` lists (click steps and automatic
# ones) is looked at in the movie just before it is drawn and once its
# drawing has finished (an entrance from its start on, an exit over the time
# before; an emphasis or a path also at its quarters, as one that returns to
# where it was shows only while it plays); the steps that change nothing
# visible are listed with the reason
# where the deck tells it (an empty paragraph, a shape without text or fill,
# an emphasis only...).
#   bench/corpus-export-check.sh [CORPUS_DIR]
# ONLY=REGEX checks only the decks whose file names match (a full run is slow).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
corpus=${1:-${ORVANDEL_CORPUS:-../shared/corpus}}
[ -x "$build/orvandel" ] || make build >/dev/null
python3 - "$build/orvandel" "$corpus" <<'PY'
import bisect, json, os, re, subprocess, sys, tempfile, time, zipfile
cli, corpus = sys.argv[1], sys.argv[2]
W, H = 320, 180
def graphic_build_slides(deck):
    """The display numbers of the slides whose timing builds a graphic part by part."""
    with zipfile.ZipFile(deck) as z:
        pres = z.read("ppt/presentation.xml").decode("utf-8", "replace")
        rels = z.read("ppt/_rels/presentation.xml.rels").decode("utf-8", "replace")
        targets = dict(re.findall(r'<Relationship\b[^>]*?Id="([^"]+)"[^>]*?Target="([^"]+)"', rels))
        targets.update({i: t for t, i in re.findall(r'<Relationship\b[^>]*?Target="([^"]+)"[^>]*?Id="([^"]+)"', rels)})
        out = []
        for n, rid in enumerate(re.findall(r'<p:sldId\b[^>]*?r:id="([^"]+)"', pres), 1):
            part = "ppt/" + targets.get(rid, "").lstrip("/").removeprefix("ppt/")
            try: xml = z.read(part).decode("utf-8", "replace")
            except KeyError: continue
            if "graphicEl>" in xml or "<p:bldGraphic" in xml: out.append(n)
        return out
def frames_of(orv):
    """The manifest and the frame on screen at any ms of the package's movie (small, grey)."""
    with zipfile.ZipFile(orv) as z:
        manifest = json.loads(z.read("manifest.json"))
        movie = os.path.join(work, "master.mp4")
        with open(movie, "wb") as f: f.write(z.read(manifest["masterVideoPath"]))
    times = [round(float(t.split(",")[0]) * 1000) for t in subprocess.run(
        ["ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", "frame=pts_time", "-of", "csv=p=0", movie],
        capture_output=True, text=True).stdout.split()]
    pixels = subprocess.run(["ffmpeg", "-v", "error", "-i", movie, "-fps_mode", "passthrough", "-vf", f"scale={W}:{H}",
                             "-pix_fmt", "gray", "-f", "rawvideo", "-"], capture_output=True).stdout
    os.remove(movie)
    def at(ms):  # the frame on screen at ms
        i = max(0, bisect.bisect_right(times, ms) - 1)
        return pixels[i * W * H:(i + 1) * W * H]
    return manifest, at
def differ(a, b): return sum(1 for x, y in zip(a, b) if abs(x - y) > 24) > 4
def steps_shown(orv, slides):
    """Per slide: steps that change the picture between their cues, steps."""
    manifest, at = frames_of(orv)
    out = {}
    for n in slides:
        cues = sorted(round(c["time"] * 1000) for c in manifest["cues"] if c["slideIndex"] == n)
        pairs = list(zip(cues, cues[1:]))
        out[n] = (sum(1 for a, b in pairs if differ(at(a - 1), at(b - 1))), len(pairs))
    return out
def why_unchanged(slide_xml, before, after, drawn_over):
    """What the deck tells of a change of state that shows nothing, or None.
    drawn_over: the slide holds a GIF or video, which the movie draws over every shape."""
    key = lambda t: (t["shape"], t["paragraph"], t["graphic"])
    was, now = {key(t) for t in before["hidden"]}, {key(t) for t in after["hidden"]}
    if was == now: return "an emphasis or motion path only, which leaves the picture as it was"
    reasons = []
    for shape, paragraph, graphic in sorted(was ^ now, key=str):
        m = re.search(r'<p:cNvPr\b[^>]*?\bid="' + re.escape(shape) + r'"', slide_xml)
        if not m:
            reasons.append(f"shape {shape} is not on the slide"); continue
        # The shape's own markup: from the element that holds its p:cNvPr to that element's end.
        begin, tag = max((slide_xml.rfind("<p:" + t, 0, m.start()), t)
                         for t in ("sp>", "sp ", "pic>", "pic ", "graphicFrame", "cxnSp", "grpSp>", "grpSp "))
        kind = tag.rstrip("> ")
        body = slide_xml[begin:slide_xml.find("</p:" + kind + ">", m.end())]
        if graphic:
            reasons.append(f"shape {shape}: {graphic} of its chart or diagram"); continue
        text = lambda x: "".join(re.findall(r"<a:t>([^<]*)</a:t>", x)).strip()
        if paragraph is not None:
            paragraphs = re.findall(r"<a:p>.*?</a:p>|<a:p/>", body, re.S)
            if paragraph < len(paragraphs) and not text(paragraphs[paragraph]):
                reasons.append(f"paragraph {paragraph} of shape {shape} is empty")
        else:
            shape_fill = body.split("<p:spPr", 1)[-1].split("<a:ln", 1)[0].split("<p:txBody", 1)[0]
            unfilled = "<a:noFill/>" in shape_fill or ("Fill>" not in shape_fill and "<p:style>" not in body)
            # Its paragraphs as hidden where the shape itself shows.
            shown = now if (shape, None, None) in was else was
            still = {p for s_, p, g in shown if s_ == shape and p is not None}
            paragraphs = re.findall(r"<a:p>.*?</a:p>|<a:p/>", body, re.S)
            if kind in ("sp", "cxnSp") and unfilled and not text(body):
                reasons.append(f"shape {shape} has no text and no fill")
            elif kind == "sp" and unfilled and all(i in still or not text(x) for i, x in enumerate(paragraphs)):
                reasons.append(f"shape {shape} has no fill and all its paragraphs are still hidden")
    if not reasons and drawn_over:
        reasons.append("the slide's GIF or video, drawn over every shape, may cover it")
    return "; ".join(reasons) or None
def unchanged_steps(deck, orv, plan):
    """The steps whose change shows nothing, each (slide, state, ms, reason), and the number of steps."""
    _, at = frames_of(orv)
    with zipfile.ZipFile(deck) as z:
        xml = {n: z.read(n).decode("utf-8", "replace") for n in z.namelist() if re.match(r"ppt/slides/slide\d+\.xml$", n)}
        def drawn_over(part):
            try: rels = z.read(part.replace("slides/", "slides/_rels/") + ".rels").decode("utf-8", "replace")
            except KeyError: rels = ""
            return bool(re.search(r'Target="[^"]*\.gif"', rels, re.I)) or "<a:videoFile" in xml.get(part, "")
        over = {n: drawn_over(n) for n in xml}
    out, steps, start = [], 0, 0
    for slide in plan["slides"]:
        states, advance = slide["states"], slide["advanceMs"]
        for k in range(1, len(states)):
            t = states[k]["startMs"]
            if t >= advance: break
            following = min(states[k + 1]["startMs"] if k + 1 < len(states) else advance, advance)
            drawn = states[k]["drawnMs"]
            if states[k]["drawnBefore"]:  # an exit: drawn over the time before it
                before, after = max(t - drawn, states[k - 1]["startMs"]) - 1, t + 1
            else:
                before, after = t - 1, t + drawn + 1
            after = min(after, following - 1)
            steps += 1
            # An emphasis or a path that returns to where it was changes
            # the picture only while it plays: look at its quarters too.
            during = [before + (after - before) * q // 4 for q in (1, 2, 3)] if states[k]["drawnBefore"] else []
            if not any(differ(at(start + before), at(start + t_)) for t_ in [after, *during]):
                why = why_unchanged(xml.get(slide["file"], ""), states[k - 1], states[k], over.get(slide["file"], False))
                out.append((slide["slide"], k, t, why or "not known"))
        start += advance
    return out, steps
decks = sorted(f for f in os.listdir(corpus) if f.endswith((".pptx", ".potx", ".ppsx"))
               and re.search(os.environ.get("ONLY", ""), f))
work = tempfile.mkdtemp(prefix="orvandel-corpus-export-")
import atexit, shutil
atexit.register(shutil.rmtree, work, True)  # the packages written go with it
def run(*args):
    return subprocess.run([cli, *args], capture_output=True, text=True)
MEDIA = re.compile(r"\.(mp4|m4v|mov|wmv|avi|mpe?g|mp3|wav|m4a|wma|aiff?|gif)$", re.I)
def media_in(deck):
    try:
        with zipfile.ZipFile(deck) as z: return sum(1 for n in z.namelist() if MEDIA.search(n))
    except Exception: return 0
def what_plays(movie):
    # Seconds of the movie at 30 frames a second, and the loudest sample.
    times = [float(t.split(",")[0]) for t in subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
             "frame=pts_time", "-of", "csv=p=0", movie], capture_output=True, text=True).stdout.split()
             if t.split(",")[0]]
    moving = sum(b - a for a, b in zip(times, times[1:]) if b - a < 0.04)
    vol = subprocess.run(["ffmpeg", "-v", "info", "-i", movie, "-vn", "-af", "volumedetect", "-f", "null", "-"],
                         capture_output=True, text=True).stderr
    m = re.search(r"max_volume: (-?[0-9.]+) dB", vol)
    return moving, float(m.group(1)) if m else -91.0
def why_still(deck):
    # What in the deck's slides keeps media still or silent, as far as their
    # markup tells: the renderer plays what the prepared timing starts.
    reasons = set()
    with zipfile.ZipFile(deck) as z:
        for n in z.namelist():
            if not re.match(r"ppt/slides/slide\d+\.xml$", n): continue
            x = z.read(n).decode("utf-8", "replace")
            if "interactiveSeq" in x: reasons.add("a medium waits for a click on a trigger")
            if re.search(r"<a:(audioFile|wavAudioFile|videoFile)", x) and "cmd=\"play" not in x:
                reasons.add("a medium that the timing never plays")
    return "; ".join(sorted(reasons)) or "no medium placed on a visible slide"
rows, exported, failed, refused, builds, media_rows, unchanged = [], 0, [], [], [], [], []
for name in decks:
    deck = os.path.join(corpus, name)
    scan = run("scan", deck, "--json")
    if scan.returncode != 0:
        refused.append((name, scan.stderr.strip())); continue
    args = []
    for s in json.loads(scan.stdout):
        if s["hasGif"] and not s["isHidden"]: args += ["--gif", f"{s['displayIndex']}:3000"]
        if s["advTmMs"] is None: args += ["--video", f"{s['displayIndex']}:5000"]
    prepared = os.path.join(work, "prepared.pptx")
    prep = run("prepare", deck, "-o", prepared, *args)
    if prep.returncode != 0:
        refused.append((name, prep.stderr.strip())); continue
    m = re.search(r"expected movie length: ([0-9.]+) s", prep.stdout)
    planned = float(m.group(1)) if m else 0.0
    out = os.path.join(work, "out.orv")
    start = time.monotonic()
    r = run("export", deck, "-o", out, "--renderer", "libreoffice", *args)
    wall = time.monotonic() - start
    if r.returncode != 0:
        # A deck the export refuses on purpose is not a renderer failure.
        (refused if "no visible slides" in r.stderr else failed).append((name, r.stderr.strip())); continue
    probe = json.loads(run("probe", out, "--json").stdout)
    exported += 1
    if slides := graphic_build_slides(deck):
        warned = [l for l in r.stderr.splitlines() if "chart or diagram" in l]
        builds.append((name, steps_shown(out, slides), warned))
    rows.append((name, planned, probe["masterVideoDuration"], wall))
    plan = run("plan", deck, "--json", *args)
    if plan.returncode == 0:
        unchanged.append((name, *unchanged_steps(deck, out, json.loads(plan.stdout))))
    else:
        unchanged.append((name, [(0, 0, 0, "plan failed: " + plan.stderr.strip())], 0))
    if media_in(deck):
        movie = os.path.join(work, "master.mp4")
        with zipfile.ZipFile(out) as z, open(movie, "wb") as f: f.write(z.read("assets/master.mp4"))
        moving, loudest = what_plays(movie)
        posters = [l.split("warning: ", 1)[1] for l in r.stderr.splitlines()
                   if "warning: " in l and ("could not be decoded" in l or ": the linked " in l)]
        media_rows.append((name, media_in(deck), moving, loudest, posters))
        os.remove(movie)
    os.remove(out)
print(f"{'deck':62} {'plan (s)':>9} {'movie (s)':>10} {'diff (ms)':>9} {'wall (s)':>8}")
for name, planned, movie, wall in rows:
    print(f"{name[:62]:62} {planned:9.3f} {movie:10.3f} {1000*(movie-planned):9.0f} {wall:8.1f}")
print(f"\n{len(decks)} decks: {exported} exported, {len(failed)} failed to export, {len(refused)} refused with a typed error")
for name, why in failed: print(f"  FAILED  {name}: {why}")
for name, why in refused: print(f"  refused {name}: {why[:160]}")
if builds:
    print("\nchart and diagram builds: steps that change the picture between their cues / steps")
for name, per_slide, warned in builds:
    shown, steps = sum(a for a, _ in per_slide.values()), sum(b for _, b in per_slide.values())
    print(f"  {name[:62]:62} {shown:3d} / {steps:3d}  (slides " +
          ", ".join(f"{n}: {a}/{b}" for n, (a, b) in per_slide.items()) + ")")
    for line in warned: print(f"    {line}")
worst = max((abs(1000*(m-p)) for _, p, m, _ in rows), default=0)
print(f"largest difference between movie and plan: {worst:.0f} ms")
print("\nsteps that change the picture / steps (a step: a change of state the plan lists)")
for name, silent, steps in unchanged:
    print(f"  {name[:62]:62} {steps - len(silent):3d} / {steps:3d}")
    for slide, state, ms, why in silent: print(f"    slide {slide} state {state} at {ms} ms changes nothing visible: {why}")
print(f"{sum(s for _, _, s in unchanged) - sum(len(x) for _, x, _ in unchanged)} of {sum(s for _, _, s in unchanged)} steps change the picture")
print(f"\n{'deck with media':52} {'files':>5} {'moving (s)':>10} {'loudest (dB)':>12}  media kept as posters")
for name, files, moving, loudest, posters in media_rows:
    print(f"{name[:52]:52} {files:5} {moving:10.1f} {loudest:12.1f}  {len(posters) or '-'}")
    for why in posters: print(f"    poster: {why}")
    if moving == 0 and loudest <= -90 and not posters: print(f"    still and silent: {why_still(os.path.join(corpus, name))}")
sys.exit(1 if failed else 0)
PY
