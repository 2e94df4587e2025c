#!/usr/bin/env bash
# Plays the master movie in a real browser: headless Chromium (Debian's
# chromium, driven by playwright-core from npm) loads a page served on
# loopback, seeks the movie to the middle of every slide, draws the frame to
# a canvas and compares it with the still of every slide. The still of the
# right slide must match best; the PSNR of each comparison is printed.
#
#   bench/browser-check.sh                      the bench deck (100 slides)
#   bench/browser-check.sh DECK [--gif N:MS]... another deck
#
# It checks the movie as rendered (a frame every second) and, for comparison,
# with one frame per slide, where some decoders land on the next slide.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}

ORVANDEL_WITH_BROWSER=1 ./scripts/install-deps.sh
command -v node >/dev/null || { echo "browser-check: node is needed (Debian package nodejs)" >&2; exit 2; }
[ -f "$build/CMakeCache.txt" ] || cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target browser_frames_bench >/dev/null
if [ ! -d bench/browser/node_modules/playwright-core ]; then
  (cd bench/browser && npm install --silent --no-audit --no-fund --no-save playwright-core@1 >/dev/null)
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

check() {  # check LABEL PERIODIC_MS
  local site="$work/$2"
  "$build/bench/browser_frames_bench" "$site" ${deck_args[@]+"${deck_args[@]}"} --periodic "$2"
  for still in "$site"/still-*.tif; do ffmpeg -v error -y -i "$still" "${still%.tif}.png"; done
  cp bench/browser/index.html "$site/"
  node bench/browser/check.mjs "$site" > "$site/result.json"
  python3 - "$1" "$site/result.json" <<'PY'
import json, sys
label, path = sys.argv[1], sys.argv[2]
r = json.load(open(path))
rows = r["results"]
wrong = [x for x in rows if x["bestSlide"] != x["slide"]]
print(f"{label}: movie {r['duration']:.3f} s, {len(rows)} slides seeked, {len(wrong)} showing the wrong slide")
print("  slide  seek (s)  best match  PSNR right (dB)  PSNR best (dB)")
for x in rows:
    mark = "" if x["bestSlide"] == x["slide"] else "   <- wrong slide"
    print(f"  {x['slide']:5d}  {x['t']:8.3f}  {x['bestSlide']:10d}  {x['psnrRight']:15.2f}  {x['psnrBest']:14.2f}{mark}")
psnr = [x["psnrRight"] for x in rows]
print(f"  PSNR of the right slide: min {min(psnr):.2f} dB, mean {sum(psnr)/len(psnr):.2f} dB")
sys.exit(1 if wrong else 0)
PY
}

deck_args=("$@")
status=0
check "as rendered (a frame every second)" 1000 || status=1
check "for comparison, one frame per slide" 0 || true
exit $status
