#!/usr/bin/env bash
# The part of the demonstration that needs a display: runs the host script and watches its window.
#
#   demo-run.sh virtual     takes pictures of the running and the finished window, then presses Aceptar
#   demo-run.sh show        leaves the window to the user
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/env.sh

win cscript //nologo hosts/gestion.vbs auto >"$BUILD/demo-host.txt" 2>&1 &
host=$!
trap 'kill $host 2>/dev/null || true' EXIT

if [ "$1" = virtual ]; then
  rm -f "$SCREENSHOTS"/demo-*.png
  title=Gestion accept=1 # FBackup_BAceptar
  win build/x64/form-driver.exe shown "$title"
  sleep 0.7
  import -window root "$SCREENSHOTS/demo-1-running.png"
  win build/x64/form-driver.exe disabled "$title" $accept || { echo "demo: the run had ended before the picture" >&2; exit 1; }
  win build/x64/form-driver.exe enabled "$title" $accept
  sleep 0.5
  import -window root "$SCREENSHOTS/demo-2-finished.png"
  win build/x64/form-driver.exe click "$title" $accept
fi
wait $host || { cat "$BUILD/demo-host.txt" >&2; exit 1; }
trap - EXIT
