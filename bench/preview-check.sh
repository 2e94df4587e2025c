#!/usr/bin/env bash
# Looks at the lesson preview in a real browser. Exports a deck with
# --chapters --preview (the bundled example deck, rendered headless, unless
# one is given), opens the preview from disk (file://) in headless Chromium
# (Debian's chromium, driven by playwright-core from npm), clicks every cue
# row and tries the keys. Prints, per cue, where the movie went, whether it
# paused and whether the notes shown are that slide's; per step row, whether
# the picture there shows the step's change ended (the same as 300 ms
# earlier) and something new (not the row before's picture); the search,
# folding, speeds, a keyboard-only visit, the events an embedding page
# hears; the rules axe-core breaks (serious or critical ones fail); then the chapters. Keeps screenshots: at load, after a click on a
# step, with the search used.
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
print("  step rows: picture there as 300 ms before (change ended) / differs from the row before (shares of pixels)")
for st in r["steps"]:
    ok = st["settled"] and st["changed"] and st["paused"]
    if not ok:
        failures.append(st["row"])
    print(f"  {st['row']:3d}  {st['sinceSettled']:.4f} / {st['sinceBefore']:.4f}  {st['label']}{'' if ok else '   <- wrong'}")
for words, found in r["search"].items():
    print(f"  search {words!r}: {found if words == 'cleared' else found['rows']}")
print(f"  folding the first slide: aria-expanded={r['fold']['expanded']}, {r['fold']['rows']} rows left")
print(f"  speeds: {r['speed']}")
k = r["keyboard"]
print(f"  keyboard: a step row after {k['tabs']} Tabs (first: {', '.join(k['order'])}); Enter went to "
      f"{k.get('enter', {}).get('currentTime')} s (cue {k.get('enter', {}).get('cueTime')} s), "
      f"space plays: {k.get('spacePlays')}, pauses: {k.get('spacePauses')}")
e = r["events"]
print(f"  events: {e['progress']} progress (last {e['lastProgress']}), chapters {e['chapters']}, ended {e['ended']}")
axe = r.get("axe", [])
print(f"  axe-core: {len(axe)} rules broken" + "".join(f"\n    {v['impact']}: {v['id']} ({v['help']}) at {v['nodes']}" for v in axe))
bad_more = any(v["impact"] in ("serious", "critical") for v in axe) or not r["steps"] or r["search"]["cleared"] != len(cues) or r["fold"]["expanded"] != "false" \
    or r["speed"] != {"0.75": 0.75, "1.5": 1.5, "2": 2, "1": 1} or not k["reached"] \
    or abs(k["enter"]["currentTime"] - k["enter"]["cueTime"]) > frame or not k["spacePlays"] or not k["spacePauses"] \
    or e["progress"] == 0 or e["ended"] != 1 or not e["chapters"]
# From the first row the right arrow goes to the cue the movie reaches next.
by_time = sorted(range(len(cues)), key=lambda i: (cues[i]["time"], i))
after_first = by_time[by_time.index(0) + 1] if len(cues) > 1 else 0
bad = failures or r["rows"] != len(cues) or r["requests"] or r["errors"] or not keys["spacePlays"] \
    or not keys["spacePauses"] or keys["right"]["highlighted"] != after_first or keys["left"]["highlighted"] != 0 \
    or bad_more
print("  " + ("FAILED" if bad else "all rows, notes and keys as expected"))
sys.exit(1 if bad else 0)
PY
echo "chapters:"
"$build/orvandel" chapters "$out/aula.orv" | sed 's/^/  /'
echo "screenshots: $out/preview.png, preview-step.png, preview-search.png"
exit $status
