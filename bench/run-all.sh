#!/usr/bin/env bash
# Runs every benchmark of the build directory given (default: build) and
# prints its figures. Benchmarks measure; they never fail on a figure.
set -euo pipefail
build=${1:-build}
cd "$(dirname "$0")/.."
for b in "$build"/bench/*_bench; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" --benchmark_counters_tabular=true || echo "($(basename "$b") failed)"
done
