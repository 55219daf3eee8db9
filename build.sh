#!/usr/bin/env bash
# Builds the library for both architectures into dist/x64 and dist/x86.
#
#   ./build.sh [x64|x86 …]     both where none is named
#   ./build.sh --release       both, and packs them: dist/QevBackup-<version>-setup.exe and .zip (see tools/make-release.sh)
set -euo pipefail
cd "$(dirname "$0")"
tools/install.sh
tools/fetch-engines.sh build/engine-src
release=no
[ "${1:-}" != --release ] || { release=yes; shift; set -- x64 x86; }
[ $# -gt 0 ] || set -- x64 x86
for architecture; do
  cmake --preset "$architecture" -DQEV_ENGINE_SOURCES="$PWD/build/engine-src" >"build/$architecture.configure.log" ||
    { cat "build/$architecture.configure.log"; exit 1; }
  cmake --build --preset "$architecture" --target QevBackup VANTO5 VANTO6
  mkdir -p "dist/$architecture"
  cp "build/$architecture/QevBackup.dll" "build/$architecture/VANTO5.DLL" \
    "build/$architecture/VANTO6.DLL" "build/$architecture/QevBackup.X.manifest" "dist/$architecture/"
  tools/check-imports.sh "dist/$architecture"/*.[dD][lL][lL]
  echo "dist/$architecture: QevBackup.dll VANTO5.DLL VANTO6.DLL QevBackup.X.manifest"
done
[ $release = no ] || tools/make-release.sh
