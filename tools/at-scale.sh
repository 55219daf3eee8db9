#!/usr/bin/env bash
# Runs a command on a virtual display whose scale is set as in the display settings of the system.
#
#   tools/at-scale.sh PERCENT COMMAND…
#
# 100 percent is 96 dots per inch. The display is as large as a screen that one would set to that scale.
set -euo pipefail
. "$(dirname "$0")/env.sh"

percent=${1:?} && shift

set_scale() {
  win reg add 'HKCU\Control Panel\Desktop' /f /v LogPixels /t REG_DWORD /d "$(($1 * 96 / 100))" >/dev/null
  env "${wine_env[@]}" wineserver -w
}

trap 'set_scale 100' EXIT
set_scale "$percent"
timeout -k 10 1200 xvfb-run -a -s "-screen 0 $((1280 * percent / 100))x$((960 * percent / 100))x24 -nolisten tcp" "$@"
