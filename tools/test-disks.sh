#!/usr/bin/env bash
# Mounts the disks that tests of full and changed disks need, as file systems in memory: a formatted 1.44 MB disk as drive A: of the
# project's Wine prefix (build/floppy), and one of half a MiB (build/small-disk). Needs rights to mount (root, or sudo without a
# password); tests that miss their disk say so and are skipped. `--undo` takes the disks away again.
. "$(dirname "$0")/env.sh"
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo -n)

mount_disk() { # folder, bytes
  mkdir -p "$1"
  "${as_root[@]}" mount -t tmpfs -o "size=$2,mode=0777" tmpfs "$1"
}

for disk in floppy small-disk; do
  while mountpoint -q "$BUILD/$disk"; do "${as_root[@]}" umount "$BUILD/$disk" || break; done
  rmdir "$BUILD/$disk" 2>/dev/null
done
rm -f "$PREFIX/dosdevices/a:"
[ "${1:-}" = --undo ] && exit 0

mount_disk "$BUILD/floppy" 1457664 && mount_disk "$BUILD/small-disk" 524288 ||
  { echo "no right to mount disks for the tests" >&2; exit 1; }
ln -s "$BUILD/floppy" "$PREFIX/dosdevices/a:"
win reg add 'HKLM\Software\Wine\Drives' /f /v a: /d floppy >/dev/null
