#!/usr/bin/env bash
# Runs a script of checks in the script host. A script that stops at an error leaves that host with status 0 under Wine:
# only one that came to its last line, "done", has passed.
#
#   run-script.sh SCRIPT
set -euo pipefail
. "$(dirname "$0")/../../tools/env.sh"
win cscript //nologo "$1" | tee "$BUILD/script.txt"
grep -q '^done' "$BUILD/script.txt"
