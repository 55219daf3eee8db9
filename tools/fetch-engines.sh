#!/usr/bin/env bash
# Fetches the published sources that the archive engine is built from, checks them and unpacks them.
#
#   tools/fetch-engines.sh FOLDER
#
# FOLDER receives zip30/ (Info-ZIP zip 3.0 with Debian's patches applied) and download/ (the archives as they came).
# A second run on the same folder finds its work done and returns at once. No rights of root are needed: apt works on
# lists, cache and sources of its own below FOLDER/apt, and the machine's configuration stays as it is.
#
# Archives that are already in FOLDER/download, or in the folder that QEV_ENGINE_DOWNLOADS names, are not fetched again,
# so that a machine without a network can build too. Whatever their origin, their SHA-256 must match.
set -euo pipefail

readonly orig_name=zip_3.0.orig.tar.gz
readonly orig_sha256=f0e8bb1f9b7eb0b01285495a2699df3a4b766784c1765a8f1aeedf63c0806369
readonly debian_name_glob='zip_3.0-*.debian.tar.xz'

# Debian revision that each release's packaging archive belongs to: the patches differ in nothing but these revisions.
declare -rA debian_sha256=(
)

die() {
  echo "fetch-engines: $*" >&2
  exit 1
}
