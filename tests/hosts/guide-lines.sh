#!/usr/bin/env bash
# The ten lines of docs/host-guide.md that the guide says are run: taken out of the page as they stand and run, each in a host of
# its own, on the data that ./demo.sh has left. Each must make a set and say that the window has closed. Needs a display and the
# registered library.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tools/env.sh

work=$BUILD/guide
rm -rf "$work" && mkdir -p "$work"
key='HKLM\Software\Gestion' backup=$DRIVE_C/Prog/Backup

lines() { awk -v fence="\`\`\`$1" '$0 == "```" && on { exit } on { print } $0 == fence { on = 1 }' docs/host-guide.md; }

makes_a_set() { # NAME COMMAND…
  local name=$1; shift
  rm -f "$backup"/*.qev
  win "$@" >"$work/said.txt" 2>&1 || { cat "$work/said.txt"; echo "$name: ended with an error"; exit 1; }
  [ "$(tr -d '\r' <"$work/said.txt")" = cerrada ] || { cat "$work/said.txt"; echo "$name: said something else"; exit 1; }
  ls "$backup"/*.qev >/dev/null || { echo "$name: no set"; exit 1; }
  echo "ok   $name"
}

win reg add "$key" /f /v DirDatos /d 'C:\Prog\Datos\Emp01\' >/dev/null
win reg add "$key" /f /v DirMDE /d 'C:\Prog\' >/dev/null
win reg add "$key" /f /v Verificar /t REG_DWORD /d 1 >/dev/null
win reg add "$key" /f /v Cerrar /t REG_DWORD /d 1 >/dev/null
trap 'win reg delete "$key" /v Cerrar /f >/dev/null 2>&1 || true' EXIT

lines vbscript >"$work/quick.vbs"
lines jscript >"$work/quick.js"
lines cpp >"$work/quick.cpp"
compiler=x86_64
[ "$ARCHITECTURE" = x64 ] || compiler=i686
$compiler-w64-mingw32-g++-posix -std=c++20 -DUNICODE -static -I "build/$ARCHITECTURE/generated" -o "$work/quick.exe" \
  "$work/quick.cpp" -lole32 -loleaut32 -luuid
makes_a_set VBScript cscript //nologo "Z:${work//\//\\}\\quick.vbs"
makes_a_set JScript cscript //nologo "Z:${work//\//\\}\\quick.js"
makes_a_set C++ "$work/quick.exe"
