#!/usr/bin/env bash
# Fails when a DLL imports anything that is not part of Windows: what is delivered needs no other file beside it.
set -euo pipefail
system='advapi32|comctl32|gdi32|kernel32|msimg32|msvcrt|ole32|oleaut32|shell32|user32|winmm'
status=0
for dll; do
  foreign=$(objdump -p "$dll" | sed -n 's/.*DLL Name: //p' | grep -viE "^($system)\.dll$" || true)
  [ -z "$foreign" ] || { echo "$dll imports $foreign" >&2; status=1; }
done
exit $status
