#!/usr/bin/env bash
# Runs every benchmark of the build directory given (default: build) and
# prints its figures. Benchmarks measure; they never fail on a figure.
set -euo pipefail
build=${1:-build}
cd "$(dirname "$0")/.."
for b in "$build"/bench/*_bench; do
  [ -x "$b" ] || continue
  # Material for browser-check.sh, not a benchmark of its own.
  [ "$(basename "$b")" = browser_frames_bench ] && continue
  echo "== $(basename "$b")"
  "$b" || echo "($(basename "$b") failed)"
done
