#!/usr/bin/env bash
# Counts what the headless movie draws of the shared corpus, from
# `orvandel plan --json` of every deck: effect instances by preset class and
# the share drawn by a strategy of their own (not a fallback fade), the same
# for slide transitions by kind, and what remains drawn as a fallback
# (preset class id/subtype, or transition kind, with its count). "approximated"
# is the share drawn as its own kind with a named departure from a slideshow
# (a 3-D turn drawn flat...).
#
# "before" is the share the old renderer drew as its own kind, judged from
# the same plans by the rule it followed:
# - an entrance or exit was its own when all its behaviours were fade or
#   wipe filters, ppt_x/ppt_y from or to an edge (a key outside the slide,
#   "0-#ppt_w/2", "1+#ppt_h/2"...), ppt_w/ppt_h, or a p:animScale (the
#   p:set of style.visibility every entrance holds does not count; none at
#   all is an appear, drawn as the cut it is);
# - emphasis effects and motion paths were never drawn;
# - a transition was its own only when fade, wipe, cover, push, pull, zoom
#   or cut (any p14/p15/p159 kind was drawn as its fallback or a fade).
# A video without a stated length is given 5 s and a GIF 3 s, as the
# corpus export check does.
#   bench/effect-census.sh [CORPUS_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
corpus=${1:-${ORVANDEL_CORPUS:-../shared/corpus}}
[ -d "$corpus" ] || { echo "no corpus at $corpus: nothing to count"; exit 0; }
[ -x "$build/orvandel" ] || make build >/dev/null
python3 - "$build/orvandel" "$corpus" <<'PY'
import collections, json, os, re, subprocess, sys
cli, corpus = sys.argv[1], sys.argv[2]
def run(*args): return subprocess.run([cli, *args], capture_output=True, text=True)

EDGE = re.compile(r"^\s*(0\s*-\s*#ppt_[wh]\s*/\s*2|1\s*\+\s*#ppt_[wh]\s*/\s*2)\s*$")
def owned_before(e):
    if e["role"] in ("emphasis", "path"): return False
    if e["role"] not in ("entrance", "exit"): return False
    for b in e["behaviours"]:
        if b["kind"] == "reveal":
            if not (b["filter"] == "fade" or b["filter"].startswith("wipe(")): return False
        elif b["kind"] == "scale": continue
        elif b["kind"] == "value" and b["property"] == "style.visibility": continue
        elif b["kind"] == "value" and b["property"] in ("ppt_w", "ppt_h"): continue
        elif b["kind"] == "value" and b["property"] in ("ppt_x", "ppt_y"):
            if not any(EDGE.match(k) for k in b["keys"]): return False
        else: return False
    return True
OLD_TRANSITIONS = {"p:fade", "p:wipe", "p:cover", "p:push", "p:pull", "p:zoom", "p:cut"}

# class (kind) -> count, own now, own before, of those own now: drawn with a named approximation
effects = collections.defaultdict(lambda: [0, 0, 0, 0])
transitions = collections.defaultdict(lambda: [0, 0, 0, 0])
remains = collections.Counter()
planned, refused = 0, []
decks = sorted(f for f in os.listdir(corpus) if f.endswith((".pptx", ".potx", ".ppsx")))
for name in decks:
    deck = os.path.join(corpus, name)
    scan = run("scan", deck, "--json")
    if scan.returncode != 0:
        refused.append((name, scan.stderr.strip())); continue
    args = []
    for s in json.loads(scan.stdout):
        if s["hasGif"] and not s["isHidden"]: args += ["--gif", f"{s['displayIndex']}:3000"]
        if s["advTmMs"] is None: args += ["--video", f"{s['displayIndex']}:5000"]
    r = run("plan", deck, "--json", *args)
    if r.returncode != 0:
        refused.append((name, r.stderr.strip())); continue
    planned += 1
    for slide in json.loads(r.stdout)["slides"]:
        t = slide["transition"]
        if t and t["presetClass"]:
            row = transitions[t["presetClass"]]
            row[0] += 1; row[1] += not t["fallback"]; row[2] += t["presetClass"] in OLD_TRANSITIONS
            row[3] += not t["fallback"] and bool(t["approximation"])
            if t["fallback"]: remains[f"transition {t['presetClass']}"] += 1
        for e in slide["effects"]:
            row = effects[e["presetClass"] or e["role"]]
            row[0] += 1; row[1] += not e["fallback"]; row[2] += owned_before(e)
            row[3] += not e["fallback"] and bool(e["approximation"])
            if e["fallback"]: remains[f"{e['presetClass'] or e['role']} {e['presetId']}/{e['presetSubtype']}"] += 1

def share(part, whole): return f"{100 * part / whole:6.1f}%" if whole else "      -"
def table(title, rows):
    print(f"{title:28} {'count':>6} {'own now':>8} {'approximated':>12} {'own before':>10}")
    total = [0, 0, 0, 0]
    for key in sorted(rows):
        n, now, before, approx = rows[key]
        total = [a + b for a, b in zip(total, rows[key])]
        print(f"  {key[:26]:26} {n:6} {share(now, n):>8} {share(approx, n):>12} {share(before, n):>10}")
    n, now, before, approx = total
    print(f"  {'all':26} {n:6} {share(now, n):>8} {share(approx, n):>12} {share(before, n):>10}")
print(f"{len(decks)} decks: {planned} planned, {len(refused)} refused")
for name, why in refused: print(f"  refused {name}: {why.splitlines()[-1][:140] if why else '?'}")
print()
table("effects by class", effects)
print()
table("transitions by kind", transitions)
print("\nwhat remains drawn as a fallback:" + ("" if remains else " nothing"))
for key, n in remains.most_common(): print(f"  {key:40} {n:5}")
PY
