#!/usr/bin/env bash
# Fails when clang-tidy finds something in the native part (.clang-tidy says what it looks for).
#
#   tools/check-tidy.sh [FILE…]     all files of the native part where none is named
set -euo pipefail
cd "$(dirname "$0")/.."
commands=build/tidy/compile_commands.json
mkdir -p build/tidy
cmake --preset native -B build/tidy -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >build/tidy.configure.log
# What the part is made of is what the build compiles of src/.
[ $# -gt 0 ] || mapfile -t files < <(sed -n "s|.*\"file\": \"\($PWD/src/.*\)\".*|\1|p" $commands | sort -u)
[ $# -eq 0 ] || files=("$@")
[ ${#files[@]} -gt 0 ] || { echo "check-tidy: no files" >&2; exit 1; }
printf '%s\0' "${files[@]}" | xargs -0 -P "$(nproc)" -n 1 clang-tidy -p build/tidy --quiet
echo "${#files[@]} files"
