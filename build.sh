#!/usr/bin/env bash
# Builds the library for both architectures into dist/x64 and dist/x86.
#
#   ./build.sh [x64|x86 …]     both where none is named
set -euo pipefail
cd "$(dirname "$0")"
tools/install.sh
tools/fetch-engines.sh build/engine-src
[ $# -gt 0 ] || set -- x64 x86
for architecture; do
  cmake --preset "$architecture" -DQEV_ENGINE_SOURCES="$PWD/build/engine-src" >"build/$architecture.configure.log" ||
    { cat "build/$architecture.configure.log"; exit 1; }
  cmake --build --preset "$architecture" --target QevBackup VANTO5 VANTO6
  mkdir -p "dist/$architecture"
  cp "build/$architecture/QevBackup.dll" "build/$architecture/VANTO5.DLL" \
    "build/$architecture/VANTO6.DLL" "dist/$architecture/"
  tools/check-imports.sh "dist/$architecture"/*.[dD][lL][lL]
  echo "dist/$architecture: QevBackup.dll VANTO5.DLL VANTO6.DLL"
done
