#!/usr/bin/env bash
# Installs every Debian package that building, running and testing need. The one place where they are named.
# Runs as root or with sudo, on Debian 12, as often as you like; does nothing where all are present.
#
#   tools/install.sh [bench|x86]     bench: what the benchmark needs besides; x86: what tools/make-i386.sh needs
set -euo pipefail

packages=(
  # building: cross compilers, type library compiler, native compiler for the sanitizer tests
  g++ g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools libwine-dev
  cmake ninja-build googletest clang-format clang-tidy
  # CRC-32 of the files that a backup is compared with
  libz-mingw-w64-dev zlib1g-dev
  # fuzz targets: libFuzzer comes with clang, its libraries and those of the sanitizers apart
  clang libclang-rt-14-dev
  # sources of the zip engine (apt-get source) and what unpacks them
  ca-certificates dpkg-dev xz-utils
  # the set-up program
  nsis
  # artwork: vector pictures to bitmaps
  librsvg2-bin imagemagick
  # running: Wine with a virtual display and a Spanish locale
  wine wine64 fonts-wine fonts-liberation xvfb xauth xdotool locales
  # readers that share no code with the engine, test data
  7zip zip unzip python3 sqlite3
)

if [ "${1:-}" = bench ]; then
  packages=(time)                                     # peak memory of a program
  command -v npm >/dev/null || packages+=(nodejs npm) # brings 7-Zip's program for Windows
fi

if [ "${1:-}" = x86 ]; then packages=(debootstrap); fi

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "install: these packages are missing, and there is neither root nor sudo: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi
echo "install: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
