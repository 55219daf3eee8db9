#!/usr/bin/env bash
# Fetches the published sources that the archive engine is built from, checks them and unpacks them.
#
#   tools/fetch-engines.sh FOLDER
#
# FOLDER receives zip30/ (what the build needs of Info-ZIP zip 3.0), download/ (the archive as it came) and apt/ (working
# files). A second run on the same folder finds its work done and returns at once.
#
# The archive is the one that Debian publishes with its source package, fetched by apt-get with lists, cache and sources of
# its own below FOLDER/apt: no rights of root are needed, and the machine's configuration stays as it is. The sources are
# the machine's own (one-line .list and deb822 .sources alike), asked for source packages. An archive that is already in
# FOLDER/download, or in the folder that QEV_ENGINE_DOWNLOADS names, is not fetched again. Whatever its origin, its SHA-256
# must match.
#
# Debian's patches are not applied. Those that concern the build for Windows mend the test of an archive by a foreign
# program (-T), which the engine never runs, and a buffer whose replacement is in engine/EngineTexts.cpp.
set -euo pipefail

readonly archive=zip_3.0.orig.tar.gz
readonly sha256=f0e8bb1f9b7eb0b01285495a2699df3a4b766784c1765a8f1aeedf63c0806369

die() {
  echo "fetch-engines: $*" >&2
  exit 1
}

matches() {
  [ -f "$1" ] && echo "$sha256  $1" | sha256sum --check --status
}

# The machine's package sources, as sources of source packages.
write_apt_sources() {
  local etc=/etc/apt file
  mkdir -p "$work/apt/parts"
  : > "$work/apt/parts/machine.list"
  for file in "$etc/sources.list" "$etc"/sources.list.d/*.list; do
    [ -r "$file" ] || continue
    sed -nE 's/^[[:space:]]*deb(-src)?[[:space:]]+/deb-src /p' "$file" >> "$work/apt/parts/machine.list"
  done
  sort -u -o "$work/apt/parts/machine.list" "$work/apt/parts/machine.list"
  : > "$work/apt/parts/machine.sources"
  for file in "$etc"/sources.list.d/*.sources; do
    [ -r "$file" ] || continue
    sed -E 's/^Types:.*/Types: deb-src/' "$file" >> "$work/apt/parts/machine.sources"
    echo >> "$work/apt/parts/machine.sources"
  done
}

run_apt() {
  local tool=$1
  shift
  "$tool" -o Dir::Etc::SourceList=/dev/null -o "Dir::Etc::SourceParts=$work/apt/parts" \
    -o "Dir::State::Lists=$work/apt/lists" -o "Dir::Cache=$work/apt/cache" \
    -o "APT::Sandbox::User=$(id -un)" -o Acquire::Languages=none -o Acquire::Retries=3 "$@"
}

fetch() {
  command -v apt-get > /dev/null || die "no apt-get here: put $archive into $work/download"
  mkdir -p "$work/apt/lists/partial" "$work/apt/cache/archives/partial"
  write_apt_sources
  # A source that does not answer is no reason to stop: another may have the package.
  run_apt apt-get --quiet update >&2 || true
  local version
  while read -r version; do
    (cd "$work/download" && run_apt apt-get --quiet source --download-only --tar-only "zip=$version" >&2) || true
    matches "$work/download/$archive" && return
  done < <(run_apt apt-cache showsrc zip | sed -n 's/^Version: //p' | sort -Vru)
  die "none of this machine's package sources has $archive"
}

unpack() {
  rm -rf "$work/unpacking"
  mkdir -p "$work/unpacking"
  tar -xzf "$work/download/$archive" -C "$work/unpacking" --wildcards --no-wildcards-match-slash \
    'zip30/LICENSE' 'zip30/*.c' 'zip30/*.h' 'zip30/win32/*.c' 'zip30/win32/*.h'
  echo "$sha256" > "$work/unpacking/zip30/.unpacked"
  rm -rf "$work/zip30"
  mv "$work/unpacking/zip30" "$work/zip30"
  rmdir "$work/unpacking"
}

[ $# -eq 1 ] || die "usage: tools/fetch-engines.sh FOLDER"
mkdir -p "$1/download"
work=$(cd "$1" && pwd)
readonly work

if [ "$(cat "$work/zip30/.unpacked" 2> /dev/null || true)" = "$sha256" ]; then
  exit 0
fi
if ! matches "$work/download/$archive"; then
  if [ -n "${QEV_ENGINE_DOWNLOADS:-}" ] && matches "$QEV_ENGINE_DOWNLOADS/$archive"; then
    cp "$QEV_ENGINE_DOWNLOADS/$archive" "$work/download/$archive"
  else
    rm -f "$work/download/$archive"
    fetch
  fi
fi
unpack
