#!/usr/bin/env bash
# Looks at the lesson preview in a real browser. Exports a deck with
# --chapters --preview (the bundled example deck, rendered headless, unless
# one is given), opens the preview from disk (file://) in headless Chromium
# (Debian's chromium, driven by playwright-core from npm), clicks every cue
# row and tries the keys. Prints, per cue, where the movie went, whether it
# paused and whether the notes shown are that slide's, then the chapters;
# keeps a screenshot.
#
#   bench/preview-check.sh                          the example deck
#   bench/preview-check.sh DECK [export option]...  another deck
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}

. bench/browser/setup.sh
browser_setup preview-check ORVANDEL_WITH_PREVIEW orvandel

if [ $# -eq 0 ]; then set -- examples/aula-exemplo.pptx --gif 4:3000; fi
deck=$1
shift
out=$build/preview-check
rm -rf "$out"
mkdir -p "$out"
"$build/orvandel" export "$deck" -o "$out/aula.orv" --chapters --preview --with-notes "$@" >/dev/null
"$build/orvandel" notes "$deck" --json >"$out/notes.json"
unzip -p "$out/aula.orv" manifest.json >"$out/manifest.json"
node bench/browser/preview-check.mjs "$out/aula-preview" "$out/preview.png" >"$out/result.json"

status=0
python3 - "$out" <<'PY' || status=$?
import json, sys
out = sys.argv[1]
manifest = json.load(open(f"{out}/manifest.json"))
notes = json.load(open(f"{out}/notes.json"))
r = json.load(open(f"{out}/result.json"))
cues = manifest["cues"]
frame = 1 / 30
failures = []
print(f"preview of {manifest['sourceFileName']}: {r['rows']} rows for {len(cues)} cues")
print("  row  cue time (s)  movie at (s)  paused  highlighted  notes shown")
for c in r["clicks"]:
    cue = cues[c["row"]]
    expected = notes.get(str(cue["slideIndex"]), "")
    notes_ok = c["notes"] == expected if expected else c["notes"] == "Este slide não tem anotações."
    ok = abs(c["currentTime"] - cue["time"]) <= frame and c["paused"] and c["highlighted"] == c["row"] and notes_ok
    if not ok:
        failures.append(c["row"])
    print(f"  {c['row']:3d}  {cue['time']:12.3f}  {c['currentTime']:12.3f}  {str(c['paused']):6s}  "
          f"{c['highlighted']:11d}  slide {cue['slideIndex']}: {'right' if notes_ok else 'WRONG'}"
          f"{'' if ok else '   <- wrong'}")
keys = r["keys"]
print(f"  keys: right arrow -> row {keys['right']['highlighted']}, left arrow -> row {keys['left']['highlighted']}, "
      f"space plays: {keys['spacePlays']}, space pauses: {keys['spacePauses']}")
print(f"  requests beyond the folder: {len(r['requests'])}, script errors: {len(r['errors'])}")
for line in r["requests"] + r["errors"]:
    print("    " + line)
# From the first row the right arrow goes to the cue the movie reaches next.
by_time = sorted(range(len(cues)), key=lambda i: (cues[i]["time"], i))
after_first = by_time[by_time.index(0) + 1] if len(cues) > 1 else 0
bad = failures or r["rows"] != len(cues) or r["requests"] or r["errors"] or not keys["spacePlays"] \
    or not keys["spacePauses"] or keys["right"]["highlighted"] != after_first or keys["left"]["highlighted"] != 0
print("  " + ("FAILED" if bad else "all rows, notes and keys as expected"))
sys.exit(1 if bad else 0)
PY
echo "chapters:"
"$build/orvandel" chapters "$out/aula.orv" | sed 's/^/  /'
echo "screenshot: $out/preview.png"
exit $status
