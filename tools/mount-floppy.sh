#!/usr/bin/env bash
# Puts a disk of 1.44 MB into drive A: of the project's Wine prefix: a file system of that size in memory. Needs rights to
# mount (root, or sudo without a password). `--undo` takes it out again.
. "$(dirname "$0")/env.sh"
disk=$BUILD/floppy
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo -n)

"${as_root[@]}" umount "$disk" 2>/dev/null || true
rm -f "$PREFIX/dosdevices/a:"
[ "${1:-}" = --undo ] && exit 0

mkdir -p "$disk"
"${as_root[@]}" mount -t tmpfs -o "size=1457664,mode=0777" tmpfs "$disk" || { echo "no right to mount a disk for drive A:" >&2; exit 1; }
ln -s "$disk" "$PREFIX/dosdevices/a:"
win reg add 'HKLM\Software\Wine\Drives' /f /v a: /d floppy >/dev/null
