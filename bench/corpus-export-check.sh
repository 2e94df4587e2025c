#!/usr/bin/env bash
# Exports every deck of the shared corpus with the headless renderer and
# reports, per deck: prepared or not (and why), exported or not (and why),
# the movie's length against the plan, and the wall time.
#   bench/corpus-export-check.sh [CORPUS_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
corpus=${1:-${ORVANDEL_CORPUS:-../shared/corpus}}
[ -x "$build/orvandel" ] || make build >/dev/null
python3 - "$build/orvandel" "$corpus" <<'PY'
import json, os, re, subprocess, sys, tempfile, time
cli, corpus = sys.argv[1], sys.argv[2]
decks = sorted(f for f in os.listdir(corpus) if f.endswith((".pptx", ".potx", ".ppsx")))
work = tempfile.mkdtemp(prefix="orvandel-corpus-export-")
def run(*args):
    return subprocess.run([cli, *args], capture_output=True, text=True)
rows, exported, failed, refused = [], 0, [], []
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
    rows.append((name, planned, probe["masterVideoDuration"], wall))
    os.remove(out)
print(f"{'deck':62} {'plan (s)':>9} {'movie (s)':>10} {'diff (ms)':>9} {'wall (s)':>8}")
for name, planned, movie, wall in rows:
    print(f"{name[:62]:62} {planned:9.3f} {movie:10.3f} {1000*(movie-planned):9.0f} {wall:8.1f}")
print(f"\n{len(decks)} decks: {exported} exported, {len(failed)} failed to export, {len(refused)} refused with a typed error")
for name, why in failed: print(f"  FAILED  {name}: {why}")
for name, why in refused: print(f"  refused {name}: {why[:160]}")
worst = max((abs(1000*(m-p)) for _, p, m, _ in rows), default=0)
print(f"largest difference between movie and plan: {worst:.0f} ms")
sys.exit(1 if failed else 0)
PY
