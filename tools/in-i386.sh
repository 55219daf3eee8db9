#!/usr/bin/env bash
# Runs a command among 32-bit programs: in the folder that tools/make-i386.sh has made, with the copy of the project in it, a Wine
# prefix for 32-bit programs of its own, and the functions of tools/env.sh.
#
#   tools/in-i386.sh [--disks] COMMAND…          --disks: with the disks of tools/test-disks.sh
#   tools/in-i386.sh on_display tools/run-win.sh build/x86/qev_tests.exe --gtest_filter='FBackup.*'
#
# The command has processes, mounts and network (none) to itself: when it ends, they are gone. Screenshots come to
# build/screenshots/x86.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --inside ]; then
  shift
  disks=no
  [ "${1:-}" != --disks ] || { disks=yes; shift; }
  . tools/env.sh
  make_prefix
  # Disks of an earlier call went with its mounts: their folders must not pass for disks.
  tools/test-disks.sh --undo
  [ $disks = no ] || tools/test-disks.sh
  . tools/env.sh
  export -f win
  status=0
  "$@" || status=$?
  timeout -k 10 120 env "${wine_env[@]}" wineserver -w || true # the registry is on the disk then
  exit $status
fi

root=$PWD/build/i386/root
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo -n)
status=0
"${as_root[@]}" unshare --mount --pid --net --ipc --fork --kill-child --mount-proc="$root/proc" \
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin:/usr/lib/wine HOME=/root QEV_ARCHITECTURE=x86 \
  bash /project/tools/in-i386.sh --inside "$@" || status=$?
mkdir -p build/screenshots/x86
cp -r "$root/project/build/screenshots/." build/screenshots/x86/ 2>/dev/null || true
exit $status
