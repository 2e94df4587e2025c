#!/usr/bin/env bash
# How close the movie's slide 1 comes to the picture PowerPoint drew of it.
# Many decks saved by PowerPoint carry docProps/thumbnail.jpeg, its own
# rendering of slide 1. For every corpus deck with one, a copy of the deck
# that lists only its first slide, without its animations, is exported
# (cuts), the movie's last frame (slide 1 with everything shown) is scaled to the
# thumbnail's size and compared in grayscale (SSIM, 1 = identical). Prints
# one row per deck with the fonts the export said it substituted and the
# fonts LibreOffice actually drew slide 1 with (from the PDF it wrote, kept
# by a soffice shim put first on PATH; "DejaVu" there is the last-resort
# fallback), then the mean and the median. Slide 1's GIF, if any, plays 3 s.
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
soffice=$(command -v soffice) || { echo "soffice is not on PATH" >&2; exit 1; }
python3 - "$cli" "$corpus" "${KEEP:-}" "${TSV:-}" "$soffice" <<'PY'
import os, posixpath, re, shutil, statistics, subprocess, sys, tempfile, zipfile
cli, corpus, keep, tsv, soffice = sys.argv[1:6]
work = tempfile.mkdtemp(prefix="orvandel-thumbnail-check-")
import atexit
atexit.register(shutil.rmtree, work, True)
if keep: os.makedirs(keep, exist_ok=True)
# The export finds soffice on PATH: this one runs the real one, then keeps a
# copy of the PDF it wrote, so that its fonts can be listed.
pdfs = os.path.join(work, "pdf")
os.makedirs(os.path.join(work, "bin")); os.makedirs(pdfs)
shim = os.path.join(work, "bin", "soffice")
with open(shim, "w") as f:
    f.write(f'''#!/bin/sh
"{soffice}" "$@"; rc=$?
out=; prev=
for a in "$@"; do [ "$prev" = --outdir ] && out=$a; prev=$a; done
[ -n "$out" ] && cp "$out"/*.pdf "{pdfs}/" 2>/dev/null
exit $rc
''')
os.chmod(shim, 0o755)
env = dict(os.environ, PATH=os.path.dirname(shim) + os.pathsep + os.environ.get("PATH", ""))

def drawn_fonts():
    """The font families in the PDFs LibreOffice wrote since the last call."""
    families = set()
    for pdf in os.listdir(pdfs):
        listing = subprocess.run(["pdffonts", os.path.join(pdfs, pdf)], capture_output=True, text=True).stdout
        for line in listing.splitlines()[2:]:
            name = re.sub(r"^[A-Z]{6}\+", "", line.split()[0]) if line.split() else ""
            family = re.split(r"[-,]", name)[0]
            if family: families.add(family)
        os.remove(os.path.join(pdfs, pdf))
    return sorted(families)

def first_slide_only(deck, out, whole=True):
    """A copy of the deck whose slide list holds only its first slide, shown
    whole: without its animation timing, as the thumbnail draws it (an exit
    effect would otherwise leave the last frame without its shapes)."""
    with zipfile.ZipFile(deck) as z, zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as o:
        presentation = z.read("ppt/presentation.xml").decode("utf-8")
        ids = list(re.finditer(r"<p:sldId\b[^>]*/>", presentation))
        if not ids: return False
        for m in reversed(ids[1:]): presentation = presentation[:m.start()] + presentation[m.end():]
        rid = re.search(r'r:id="([^"]+)"', ids[0].group(0)).group(1)
        rels = z.read("ppt/_rels/presentation.xml.rels").decode("utf-8")
        rel = next(t for t in re.findall(r"<Relationship\b[^>]*>", rels) if f'Id="{rid}"' in t)
        slide = posixpath.normpath(posixpath.join("ppt", re.search(r'Target="([^"]+)"', rel).group(1)))
        for info in z.infolist():
            # a fresh entry: writing one updates its offsets, which must stay the source's
            entry = zipfile.ZipInfo(info.filename, info.date_time)
            entry.compress_type = zipfile.ZIP_DEFLATED
            data = z.read(info.filename)
            if info.filename == "ppt/presentation.xml": data = presentation.encode("utf-8")
            if whole and info.filename == slide:
                text = data.decode("utf-8")
                text = re.sub(r"<p:timing\b.*?</p:timing>|<p:timing\b[^>]*/>", "", text, flags=re.S)
                data = re.sub(r'(<p:sld\b[^>]*?)\sshow="(0|false)"', r"\1", text, count=1).encode("utf-8")
            o.writestr(entry, data)
        return True

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
    except (zipfile.BadZipFile, KeyError, UnicodeDecodeError, StopIteration, AttributeError) as e:
        skipped.append((name, str(e))); continue
    out = os.path.join(work, "one.orv")
    def export():
        return subprocess.run([cli, "export", one, "-o", out, "--renderer", "libreoffice", "--effects", "cut",
                               "--gif", "1:3000"],  # a GIF on slide 1 plays 3 s; harmless elsewhere
                              capture_output=True, text=True, env=env)
    r = export()
    if r.returncode != 0:  # a video the timing plays cannot lose it: the slide as it is, then
        first_slide_only(deck, one, whole=False)
        r = export()
    drawn = drawn_fonts()
    if r.returncode != 0:
        skipped.append((name, (r.stderr.strip().splitlines() or ["export failed"])[-1][:140])); continue
    movie, frame = os.path.join(work, "master.mp4"), os.path.join(work, "frame.png")
    with zipfile.ZipFile(out) as z, open(movie, "wb") as f: f.write(z.read("assets/master.mp4"))
    subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-sseof", "-0.5", "-i", movie, "-update", "1",
                    "-frames:v", "100", frame], check=True)
    score = ssim(frame, thumb)
    fonts = sorted(set(re.findall(r'warning: the font "([^"]+)" is not installed; its text is drawn with "([^"]+)"',
                                  r.stderr)))
    rows.append((name, score, fonts, drawn))
    if keep:
        stem = os.path.join(keep, os.path.splitext(name)[0])
        shutil.copy(frame, stem + ".movie.png")
        subprocess.run(["ffmpeg", "-v", "error", "-nostdin", "-y", "-i", thumb, stem + ".thumbnail.png"])
    for p in (out, movie, frame): os.remove(p)

print(f"{'deck':56} {'SSIM':>6}  {'fonts substituted (drawn with)':44} fonts in the PDF")
for name, score, fonts, drawn in rows:
    shown = ", ".join(f"{a} -> {b}" for a, b in fonts) or "-"
    print(f"{name[:56]:56} {score if score is not None else float('nan'):6.3f}  {shown:44} {' '.join(drawn)}")
scores = [s for _, s, _, _ in rows if s is not None]
fallback = [name for name, _, _, drawn in rows if any(f.startswith("DejaVu") for f in drawn)]
if scores:
    print(f"\n{len(scores)} decks with a thumbnail: mean SSIM {statistics.mean(scores):.3f}, "
          f"median {statistics.median(scores):.3f}")
print(f"{len(fallback)} decks drawn partly in DejaVu: {', '.join(fallback) or '-'}")
for name, why in skipped: print(f"  not measured: {name}: {why}")
if tsv:
    with open(tsv, "w") as f:
        for name, score, fonts, drawn in rows:
            f.write(f"{name}\t{score}\t{'; '.join(f'{a} -> {b}' for a, b in fonts)}\t{' '.join(drawn)}\n")
PY
