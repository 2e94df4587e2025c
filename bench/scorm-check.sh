#!/usr/bin/env bash
# Launches a lesson's SCORM 1.2 package in an LMS stand-in. Exports a deck
# with --scorm (the bundled example deck, rendered headless, unless one is
# given), validates imsmanifest.xml against the schemas packed beside it,
# serves the unpacked package from 127.0.0.1 and frames it in headless
# Chromium under scorm-again's SCORM 1.2 API (npm). First launch: the movie
# plays from 3 s before its end to its end, the student goes back to 40 %
# and leaves. Second launch, with the first's cmi data: where the movie
# stands. Prints every call the SCO made, in order, and the verdict.
#
#   bench/scorm-check.sh                          the example deck
#   bench/scorm-check.sh DECK [export option]...  another deck
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}

. bench/browser/setup.sh
browser_setup scorm-check ORVANDEL_WITH_PREVIEW orvandel

if [ $# -eq 0 ]; then set -- examples/aula-exemplo.pptx --gif 4:3000; fi
deck=$1
shift
out=$build/scorm-check
rm -rf "$out"
mkdir -p "$out/sco"
"$build/orvandel" export "$deck" -o "$out/aula.orv" --scorm "$@" >/dev/null
unzip -q "$out/aula-scorm.zip" -d "$out/sco"
echo "$out/aula-scorm.zip:"
unzip -l "$out/aula-scorm.zip" | sed -n '4,$p' | sed 's/^/  /'
# The schema's own ims_xml.xsd draws a namespace warning from libxml2; the verdict is the last line.
(cd "$out/sco" && xmllint --noout --schema adlcp_rootv1p2.xsd imsmanifest.xml 2>&1 | tail -1 | sed 's/^/  /')
node bench/browser/scorm-check.mjs "$out/sco" >"$out/result.json"

python3 - "$out/result.json" <<'PY'
import json, sys
r = json.load(open(sys.argv[1]))
first, second = r["first"], r["second"]
for name, launch in (("first launch", first), ("second launch", second)):
    print(f"{name}: movie at {launch['movieAtMs']} ms of {launch['durationMs']} ms when opened")
    for c in launch["calls"]:
        what = c["call"] + (f" {c['element']}" if "element" in c else "") + (f" = {c['value']!r}" if "value" in c else "")
        print(f"  {c['atMs']:6d} ms  {what}")
    print(f"  LMS holds: {launch['cmi']}")
    if name == "first launch":
        print(f"  (played from {first['durationMs'] - 3000} ms to the end: {'ended' if first['ended'] else 'DID NOT END'};"
              f" then went back to {first['backToMs']} ms and left)")
print(f"script errors: {len(r['errors'])}")
for e in r["errors"]:
    print("  " + e)
checks = {
    "completed after the end": first["cmi"]["lesson_status"] == "completed",
    "position saved": first["cmi"]["lesson_location"] == str(first["backToMs"]),
    "resumed there": abs(second["movieAtMs"] - first["backToMs"]) <= 100,
    "finished once a launch": all([c["call"] for c in l["calls"]].count("LMSFinish") == 1 for l in (first, second)),
    "no script errors": not r["errors"],
}
for what, ok in checks.items():
    print(f"  {'ok    ' if ok else 'FAILED'} {what}")
sys.exit(0 if all(checks.values()) else 1)
PY
