#!/usr/bin/env bash
# How close the movie's slide 1 comes to the picture PowerPoint drew of it.
# Many decks saved by PowerPoint carry docProps/thumbnail.jpeg, its own
# rendering of slide 1. For every corpus deck with one, a copy of the deck
# that lists only its first slide is exported (cuts, no drawn effects), the
# movie's last frame (slide 1 with everything shown) is scaled to the
# thumbnail's size and compared in grayscale (SSIM, 1 = identical). Prints
# one row per deck with the fonts the export said it substituted, then the
# mean and the median. Slide 1's GIF, if any, plays 3 s.
#   bench/thumbnail-check.sh [CORPUS_DIR]
#   ORVANDEL=/path/to/orvandel   the binary to measure (default build/orvandel)
#   KEEP=DIR                     also keep each frame and thumbnail as PNGs to look at
#   TSV=FILE                     also write the rows as tab-separated values
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
corpus=${1:-${ORVANDEL_CORPUS:-../shared/corpus}}
cli=${ORVANDEL:-$build/orvandel}
[ -x "$cli" ] || make build >/dev/null
python3 - "$cli" "$corpus" "${KEEP:-}" "${TSV:-}" <<'PY'
import os, re, shutil, statistics, subprocess, sys, tempfile, zipfile
cli, corpus, keep, tsv = sys.argv[1:5]
work = tempfile.mkdtemp(prefix="orvandel-thumbnail-check-")
import atexit
atexit.register(shutil.rmtree, work, True)
if keep: os.makedirs(keep, exist_ok=True)

def first_slide_only(deck, out):
    """A copy of the deck whose slide list holds only its first slide, shown."""
    with zipfile.ZipFile(deck) as z, zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as o:
        presentation = z.read("ppt/presentation.xml").decode("utf-8")
        ids = list(re.finditer(r"<p:sldId\b[^>]*/>", presentation))
        for m in reversed(ids[1:]): presentation = presentation[:m.start()] + presentation[m.end():]
        for info in z.infolist():
            # a fresh entry: writing one updates its offsets, which must stay the source's
            entry = zipfile.ZipInfo(info.filename, info.date_time)
            entry.compress_type = zipfile.ZIP_DEFLATED
            data = presentation.encode("utf-8") if info.filename == "ppt/presentation.xml" else z.read(info.filename)
            o.writestr(entry, data)
        return len(ids) > 0

def size_of(image):
    out = subprocess.run(["ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", "stream=width,height",
                          "-of", "csv=p=0", image], capture_output=True, text=True).stdout.strip()
    w, h = out.split(",")[:2]
    return int(w), int(h)

def ssim(frame, thumb):
    w, h = size_of(thumb)
    r = subprocess.run(["ffmpeg", "-v", "info", "-nostdin", "-i", frame, "-i", thumb, "-lavfi",
                        f"[0]scale={w}:{h}:flags=area,format=gray[a];[1]scale={w}:{h},format=gray[b];[a][b]ssim",
                        "-f", "null", "-"], capture_output=True, text=True)
    m = re.search(r"All:([0-9.]+)", r.stderr)
    return float(m.group(1)) if m else None

decks = sorted(f for f in os.listdir(corpus) if f.endswith((".pptx", ".potx", ".ppsx")))
rows, skipped = [], []
for name in decks:
    deck = os.path.join(corpus, name)
    try:
        with zipfile.ZipFile(deck) as z:
            if "docProps/thumbnail.jpeg" not in z.namelist(): continue
            thumb = os.path.join(work, "thumb.jpeg")
            with open(thumb, "wb") as f: f.write(z.read("docProps/thumbnail.jpeg"))
        one = os.path.join(work, "one.pptx")
        if not first_slide_only(deck, one): skipped.append((name, "no slides")); continue
    except (zipfile.BadZipFile, KeyError, UnicodeDecodeError) as e:
        skipped.append((name, str(e))); continue
    out = os.path.join(work, "one.orv")
    r = subprocess.run([cli, "export", one, "-o", out, "--renderer", "libreoffice", "--effects", "cut",
                        "--gif", "1:3000"],  # a GIF on slide 1 plays 3 s; harmless elsewhere
                       capture_output=True, text=True)
    if r.returncode != 0:
        skipped.append((name, (r.stderr.strip().splitlines() or ["export failed"])[-1][:140])); continue
    movie, frame = os.path.join(work, "master.mp4"), os.path.join(work, "frame.png")
    with zipfile.ZipFile(out) as z, open(movie, "wb") as f: f.write(z.read("assets/master.mp4"))
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-sseof", "-0.5", "-i", movie, "-update", "1",
                    "-frames:v", "100", frame], check=True)
    score = ssim(frame, thumb)
    fonts = sorted(set(re.findall(r'warning: the font "([^"]+)" is not installed; its text is drawn with "([^"]+)"',
                                  r.stderr)))
    rows.append((name, score, fonts))
    if keep:
        stem = os.path.join(keep, os.path.splitext(name)[0])
        shutil.copy(frame, stem + ".movie.png")
        subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", thumb, stem + ".thumbnail.png"])
    for p in (out, movie, frame): os.remove(p)

print(f"{'deck':64} {'SSIM':>6}  fonts substituted (drawn with)")
for name, score, fonts in rows:
    shown = ", ".join(f"{a} -> {b}" for a, b in fonts) or "-"
    print(f"{name[:64]:64} {score if score is not None else float('nan'):6.3f}  {shown}")
scores = [s for _, s, _ in rows if s is not None]
if scores:
    print(f"\n{len(scores)} decks with a thumbnail: mean SSIM {statistics.mean(scores):.3f}, "
          f"median {statistics.median(scores):.3f}")
for name, why in skipped: print(f"  not measured: {name}: {why}")
if tsv:
    with open(tsv, "w") as f:
        for name, score, fonts in rows:
            f.write(f"{name}\t{score}\t{'; '.join(f'{a} -> {b}' for a, b in fonts)}\n")
PY
