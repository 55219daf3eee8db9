#!/usr/bin/env bash
# Shows that a release depends on the commit alone: builds it twice, in two folders of different names, under different
# time zones and file permissions, and compares the packages byte by byte. It compiles everything four times (two
# architectures, twice), so it is run by hand, before a release, and is no part of the tests.
#
#   tools/check-reproducible.sh [COMMIT]     HEAD where none is named
set -euo pipefail
cd "$(dirname "$0")/.."
commit=$(git rev-parse "${1:-HEAD}")
source=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# No cache of compiled objects: each build compiles for itself.
unset SOURCE_DATE_EPOCH CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER
export QEV_ENGINE_DOWNLOADS=$source/build/engine-src/download # saves fetching, where it is there

build() { # FOLDER TIME_ZONE UMASK
  git clone --quiet --no-checkout "$source" "$1"
  git -C "$1" checkout --quiet --detach "$commit"
  (umask "$3" && cd "$1" && TZ=$2 ./build.sh --release >"$work/log" 2>&1) || { tail -40 "$work/log"; exit 1; }
}
echo "building ${commit:0:12}, first"
build "$work/one" Pacific/Auckland 022
echo "building ${commit:0:12}, second"
build "$work/second/folder-of-another-length" America/Caracas 077

status=0
while read -r file; do
  if cmp "$work/one/dist/$file" "$work/second/folder-of-another-length/dist/$file"; then
    echo "same      $(sha256sum <"$work/one/dist/$file" | cut -c1-16)  $file"
  else
    echo "DIFFERENT $file"
    status=1
  fi
done < <(cd "$work/one/dist" && find . -type f -printf '%P\n' | sort)
[ "$(cd "$work/one/dist" && find . -type f | wc -l)" -ge 9 ] || { echo "packages are missing" >&2; status=1; }
exit $status
