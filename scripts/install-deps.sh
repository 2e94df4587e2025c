#!/usr/bin/env bash
# Installs the Debian packages Orvandel builds, tests and renders with.
# Idempotent: only missing packages are installed, and the package lists are
# refreshed only when something has to be installed.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libxml2-dev libpcre2-dev zlib1g-dev nlohmann-json3-dev libcli11-dev libfontconfig1-dev
  libeot-dev  # unpacks the compressed fonts a deck embeds
  libssl-dev  # SHA-256 names and checks the render cache's entries
  libgtest-dev libgmock-dev libbenchmark-dev unzip zip
  libxml2-utils  # xmllint: the tests validate the SCORM manifest against its schemas
  locales-all  # pt_BR.UTF-8: tests check that numbers ignore a comma-decimal locale
  libreoffice-impress-nogui poppler-utils ffmpeg
  fonts-crosextra-carlito fonts-crosextra-caladea fonts-liberation2 fonts-dejavu
  # stand-ins for more Office fonts (tools/FontAliases.cpp); not fonts-noto-core,
  # which would change what every unknown font falls back to
  fonts-wine fonts-arkpandora fonts-urw-base35 fonts-roboto-slab fonts-adf-gillius fonts-open-sans
  fonts-croscore fonts-lato fonts-texgyre
  qt6-base-dev qt6-svg-dev qt6-translations-l10n
  desktop-file-utils  # desktop-file-validate checks the installed menu entry
  help2man  # the man page of orvandel, made from its --help
)
# The browser check of the movie is optional; ask for it with ORVANDEL_WITH_BROWSER=1.
if [ "${ORVANDEL_WITH_BROWSER:-0}" = 1 ]; then packages+=(chromium); fi
# The checks of the preview page (Chromium) and of the WebVTT chapters
# (python3-webvtt) are optional too; ask with ORVANDEL_WITH_PREVIEW=1.
if [ "${ORVANDEL_WITH_PREVIEW:-0}" = 1 ]; then packages+=(chromium python3-webvtt); fi
# The fuzz targets need clang and its sanitizer runtimes; ask with ORVANDEL_WITH_FUZZ=1.
if [ "${ORVANDEL_WITH_FUZZ:-0}" = 1 ]; then packages+=(clang libclang-rt-14-dev); fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}" >&2
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
