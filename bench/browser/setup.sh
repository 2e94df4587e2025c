# Sourced by the checks that drive headless Chromium: installs it (with the
# packages the check names in ORVANDEL_WITH_*), builds the given target and
# fetches the npm packages the checks use once, all at once: an install
# without a package.json drops what it was not asked for.
#   browser_setup NAME WITH_VARIABLE TARGET
browser_setup() {
  local name=$1 with=$2 target=$3
  env "$with=1" ./scripts/install-deps.sh
  command -v node >/dev/null || { echo "$name: node is needed (Debian package nodejs)" >&2; exit 2; }
  [ -f "$build/CMakeCache.txt" ] || cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$build" -j "$(nproc)" --target "$target" >/dev/null
  local package missing=0
  for package in playwright-core axe-core scorm-again; do
    [ -d "bench/browser/node_modules/$package" ] || missing=1
  done
  if [ "$missing" = 1 ]; then
    (cd bench/browser && npm install --silent --no-audit --no-fund --no-save playwright-core@1 axe-core@4 \
      scorm-again@3 >/dev/null)
  fi
}
