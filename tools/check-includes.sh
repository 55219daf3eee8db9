#!/usr/bin/env bash
# Fails when a file of src includes from a floor above its own, or from another room of its own floor: backup and restore do not
# know each other, and the record does not know the sets. Floors of docs/architecture.md, the top one first; rooms of one floor
# stand in one line.
set -euo pipefail
cd "$(dirname "$0")/.."
floors='automation
backup restore
schedule
controls
set record
zip
settings
values
platform
resources'

grep -rnoP '^#include "\K[a-z]+(?=/)' src | awk -F'[/:]' -v floors="$floors" '
  BEGIN {
    count = split(floors, lines, "\n")
    for (i = 1; i <= count; ++i) for (j = split(lines[i], rooms, " "); j > 0; --j) floor[rooms[j]] = i
    floor["engine"] = count + 1 # headers of the engines, which stand beside src
  }
  { from = $2; to = $NF
    if (from in floor && to in floor && (from == to || floor[to] > floor[from])) next
    print $0; ++wrong }
  END { exit wrong > 0 }'
