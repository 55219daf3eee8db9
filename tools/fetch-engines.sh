#!/usr/bin/env bash
# Fetches the published sources that the two archive engines are built from, checks them and unpacks them.
#
#   tools/fetch-engines.sh FOLDER
#
# FOLDER receives zip30/ and unzip60/ (what the build needs of Info-ZIP zip 3.0, and of Info-ZIP unzip 6.0 with Debian's
# security patches), download/ (the archives as they came) and apt/ (working files). A second run on the same folder
# finds its work done and returns at once.
#
# The archives are those that Debian publishes with its source packages, fetched by apt-get with lists, cache and
# sources of its own below FOLDER/apt: no rights of root are needed, and the machine's configuration stays as it is. The
# sources are the machine's own (one-line .list and deb822 .sources alike), asked for source packages. An archive that
# is already in FOLDER/download, or in the folder that QEV_ENGINE_DOWNLOADS names, is not fetched again. Whatever its
# origin, its SHA-256 must match.
#
# zip: Debian's patches are not applied. Those that concern the build for Windows mend the test of an archive by a
# foreign program (-T), which the engine never runs, and a buffer whose replacement is in engine/zip/EngineTexts.cpp.
#
# unzip: the patches are needed, and a mirror keeps only the newest of them. So several revisions are known here, the
# preferred first, and any of them will do. When all of them have gone, a newer one takes over once its patches have
# been read: add it below, or name its SHA-256 in QEV_UNZIP_PATCHES_SHA256 for one build.
set -euo pipefail

readonly zip_archive=zip_3.0.orig.tar.gz
readonly zip_sha256=f0e8bb1f9b7eb0b01285495a2699df3a4b766784c1765a8f1aeedf63c0806369

readonly unzip_archive=unzip_6.0.orig.tar.gz
readonly unzip_sha256=036d96991646d0449ed0aa952e4fbe21b476ce994abc276e49d30e686708bd37
unzip_patches=(
  "unzip_6.0-28+deb12u1.debian.tar.xz defefe4900f2065b9f067652645fe7e5d99421566565d8b743cc7c5636deb4fe"
  "unzip_6.0-29+deb13u1.debian.tar.xz 32716adbdf903ee4e7e28f8c9884fc3459b22b2214e0ff4cefc0ab9839f43481"
  "unzip_6.0-28.debian.tar.xz e51364116c84739c591728ecc841113a914fa11358fd10ff0d6813524d811bb9"
)

die() {
  echo "fetch-engines: $*" >&2
  exit 1
}

matches() { # FILE SHA256
  [ -f "$1" ] && echo "$2  $1" | sha256sum --check --status
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

# Refreshes the lists, once in a run. A source that does not answer is no reason to stop: another may have the package.
lists_are_fresh=
refresh_lists() {
  [ -z "$lists_are_fresh" ] || return 0
  command -v apt-get > /dev/null || die "no apt-get here: put $1 into $work/download"
  mkdir -p "$work/apt/lists/partial" "$work/apt/cache/archives/partial"
  write_apt_sources
  run_apt apt-get --quiet update >&2 || true
  lists_are_fresh=yes
}

# Where a file of a source package can be had, one address a line, newest version first.
addresses() { # PACKAGE FILE
  local version
  while read -r version; do
    run_apt apt-get --quiet source --print-uris "$1=$version" 2> /dev/null | sed -n "s/^'\([^']*\)' $2 .*/\1/p"
  done < <(run_apt apt-cache showsrc "$1" | sed -n 's/^Version: //p' | sort -Vru)
}

# Brings FILE into download/; fails quietly if it cannot be had, or is not what it should be.
bring() { # PACKAGE FILE SHA256
  local package=$1 file=$2 sha256=$3 address
  matches "$work/download/$file" "$sha256" && return
  if [ -n "${QEV_ENGINE_DOWNLOADS:-}" ] && matches "$QEV_ENGINE_DOWNLOADS/$file" "$sha256"; then
    cp "$QEV_ENGINE_DOWNLOADS/$file" "$work/download/$file"
    return
  fi
  rm -f "$work/download/$file"
  refresh_lists "$file"
  while read -r address; do
    run_apt /usr/lib/apt/apt-helper download-file "$address" "$work/download/$file" "SHA256:$sha256" >&2 || true
    matches "$work/download/$file" "$sha256" && return
  done < <(addresses "$package" "$file")
  rm -f "$work/download/$file"
  return 1
}

start_unpacking() { # ARCHIVE
  rm -rf "$work/unpacking"
  mkdir -p "$work/unpacking"
  tar -xzf "$work/download/$1" -C "$work/unpacking"
}

# Keeps C sources, headers and licence of an unpacked tree, and leaves the rest behind.
keep_sources() { # TREE STAMP
  local tree=$1 stamp=$2
  rm -rf "${work:?}/$tree"
  mkdir -p "$work/$tree/win32"
  cp "$work/unpacking/$tree"/{LICENSE,*.c,*.h} "$work/$tree/"
  cp "$work/unpacking/$tree/win32"/*.[ch] "$work/$tree/win32/"
  echo "$stamp" > "$work/$tree/.unpacked"
  rm -rf "$work/unpacking"
}

is_unpacked() { # TREE STAMP
  [ "$(cat "$work/$1/.unpacked" 2> /dev/null || true)" = "$2" ]
}

get_zip() {
  is_unpacked zip30 "$zip_sha256" && return
  bring zip "$zip_archive" "$zip_sha256" || die "none of this machine's package sources has $zip_archive"
  start_unpacking "$zip_archive"
  keep_sources zip30 "$zip_sha256"
}

# The patches, in the order in which the package applies them.
apply_patches() { # PATCH_ARCHIVE
  local patch
  tar -xJf "$work/download/$1" -C "$work/unpacking" debian/patches
  while read -r patch _; do
    case $patch in '' | '#'*) continue ;; esac
    patch --directory "$work/unpacking/unzip60" --strip 1 --batch --forward --fuzz 0 --silent --no-backup-if-mismatch \
      < "$work/unpacking/debian/patches/$patch" || die "patch $patch does not apply"
  done < "$work/unpacking/debian/patches/series"
}

get_unzip() {
  local known file sha256 newest
  if [ -n "${QEV_UNZIP_PATCHES_SHA256:-}" ]; then
    refresh_lists "unzip's patches"
    newest=$(run_apt apt-get --quiet source --print-uris unzip | sed -n "s/.* \(unzip_6\.0-.*\.debian\.tar\.xz\) .*/\1/p")
    unzip_patches=("$newest $QEV_UNZIP_PATCHES_SHA256")
  fi
  for known in "${unzip_patches[@]}"; do
    read -r file sha256 <<< "$known"
    is_unpacked unzip60 "$unzip_sha256 $sha256" && return
  done
  bring unzip "$unzip_archive" "$unzip_sha256" || die "none of this machine's package sources has $unzip_archive"
  for known in "${unzip_patches[@]}"; do
    read -r file sha256 <<< "$known"
    bring unzip "$file" "$sha256" || continue
    start_unpacking "$unzip_archive"
    apply_patches "$file"
    keep_sources unzip60 "$unzip_sha256 $sha256"
    return
  done
  echo "fetch-engines: none of the known revisions of unzip's patches can be had. Offered are:" >&2
  run_apt apt-cache showsrc unzip | sed -nE 's/^ ([0-9a-f]{64}) [0-9]+ (unzip_.*\.debian\.tar\.xz)$/  \2 \1/p' | sort -u >&2
  die "read the patches of one of them, then add it to the list at the head of tools/fetch-engines.sh," \
    "or set QEV_UNZIP_PATCHES_SHA256 to its SHA-256"
}

[ $# -eq 1 ] || die "usage: tools/fetch-engines.sh FOLDER"
mkdir -p "$1/download"
work=$(cd "$1" && pwd)
readonly work
get_zip
get_unzip
