#!/usr/bin/env bash
# Runs every fuzz target of a fuzz build for SECONDS each, with seeds taken at
# run time from ../shared/corpus (decks, their slide XML) and small movies
# made by ffmpeg, beside the committed inputs. Prints each target's
# executions per second and whether it found anything; findings go to
# BUILD/artifacts/.
#   [TARGETS="XmlElementFuzz ..."] fuzz/run.sh BUILD SECONDS
set -uo pipefail
build=${1:-build-fuzz}
seconds=${2:-60}
cd "$(dirname "$0")/.."
corpus=${ORVANDEL_CORPUS:-../shared/corpus}
seeds=$build/seeds
mkdir -p "$seeds/decks" "$seeds/xml" "$seeds/movies" "$build/artifacts"

if [ -d "$corpus" ]; then
  # Decks up to 1 MiB, whole (a deck's directory is at its end), and the
  # slide and notes parts of every deck.
  find "$corpus" -maxdepth 1 -type f -size -1024k \( -name '*.pptx' -o -name '*.potx' -o -name '*.ppsx' \) \
    -exec cp -n {} "$seeds/decks/" \;
  for deck in "$corpus"/*.pptx; do
    base=$(basename "$deck" .pptx)
    for part in $(unzip -Z1 "$deck" 2>/dev/null | grep -E '^ppt/(slides|notesSlides)/[^/]+\.xml$' | head -20); do
      unzip -p "$deck" "$part" 2>/dev/null | head -c 65536 > "$seeds/xml/$base-$(basename "$part")"
    done
  done
fi
if command -v ffmpeg >/dev/null && [ -z "$(ls -A "$seeds/movies")" ]; then
  for movie in "1:320x240:10" "2:160x120:25"; do
    IFS=: read -r len size rate <<<"$movie"
    ffmpeg -v error -f lavfi -i "testsrc=duration=$len:size=$size:rate=$rate" -movflags +faststart \
      -pix_fmt yuv420p -y "$seeds/movies/testsrc-$len.mp4"
    head -c 4096 "$seeds/movies/testsrc-$len.mp4" > "$seeds/movies/head-$len.mp4"
  done
fi

status=0
printf '%-18s %10s %12s  %s\n' target runs "exec/s" result
for target in ${TARGETS:-ZipReaderFuzz EntryReaderFuzz XmlElementFuzz DeckScanFuzz MovieHeaderFuzz EmbeddedFontFuzz EffectDrawingFuzz}; do
  case $target in
    XmlElementFuzz | EffectDrawingFuzz) extra=("$seeds/xml") max=65536 ;;
    MovieHeaderFuzz) extra=("$seeds/movies") max=65536 ;;
    EmbeddedFontFuzz) extra=() max=65536 ;;
    *) extra=("$seeds/decks") max=1048576 ;;
  esac
  mkdir -p "$build/corpus/$target"
  log=$build/$target.log
  "$build/fuzz/$target" -max_total_time="$seconds" -max_len=$max -rss_limit_mb=2048 -timeout=20 \
    -print_final_stats=1 -artifact_prefix="$build/artifacts/$target-" \
    "$build/corpus/$target" "fuzz/inputs/$target" "${extra[@]}" >"$log" 2>&1
  rc=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
  if [ $rc -eq 0 ]; then result="no crash, no hang, no sanitizer report"; else result="FOUND something (exit $rc): see $log"; status=1; fi
  printf '%-18s %10s %12s  %s\n' "$target" "${runs:-?}" "${speed:-?}" "$result"
done
exit $status
