#!/usr/bin/env bash
# Plays the master movie in a real browser: headless Chromium (Debian's
# chromium, driven by playwright-core from npm) loads a page served on
# loopback, seeks the movie just before and just after the start of every
# shot (one state of one slide: a build step shown, an exit gone, a new
# slide), draws the frame to a canvas and compares it with the stills of
# every state of that slide and its neighbours. Before a step the previous
# state must match best, after it the step's own; frames showing another are
# listed with their PSNR. Where a change is drawn (a fade, a wipe, a slide
# transition) "before" is before its drawing starts and "after" after it ends.
#
#   bench/browser-check.sh                      the bench deck (100 slides)
#   bench/browser-check.sh DECK [--gif N:MS]... another deck
#
# It checks the movie as rendered (a frame every second) and, for comparison,
# with one frame per shot, where some decoders land on the next one.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}

. bench/browser/setup.sh
browser_setup browser-check ORVANDEL_WITH_BROWSER browser_frames_bench

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
# Two states that look alike (a hidden empty paragraph) tie: not wrong.
wrong = [x for x in rows if x["bestPage"] != x["page"] and x["psnrBest"] > x["psnrRight"] + 0.01]
shots = {(x["slide"], x["startMs"]) for x in rows}
print(f"{label}: movie {r['duration']:.3f} s, {len(shots)} shots of {len({x['slide'] for x in rows})} slides, "
      f"{len(rows)} seeks just before or after a shot starts, {len(wrong)} showing the wrong state")
if wrong:
    print("  slide  shot starts (s)  seek (s)  expected page  best match  PSNR right (dB)  PSNR best (dB)")
for x in wrong:
    print(f"  {x['slide']:5d}  {x['startMs']/1000:15.3f}  {x['t']:8.3f}  {x['page']:13d}  {x['bestPage']:10d}  "
          f"{x['psnrRight']:15.2f}  {x['psnrBest']:14.2f}")
psnr = [x["psnrRight"] for x in rows]
print(f"  PSNR of the right still: min {min(psnr):.2f} dB, mean {sum(psnr)/len(psnr):.2f} dB")
sys.exit(1 if wrong else 0)
PY
}

deck_args=("$@")
status=0
check "as rendered (a frame every second)" 1000 || status=1
check "for comparison, one frame per shot" 0 || true
exit $status
