#!/usr/bin/env bash
# Mounts the disks that tests of full and changed disks need, as file systems in memory: a formatted 1.44 MB disk as drive A: of the
# project's Wine prefix (build/floppy), and one of half a MiB (build/small-disk). Needs rights to mount (root, or sudo without a
# password); tests that miss their disk say so and are skipped. Also makes build/linked-folder, in which folders are links, for the
# tests of links in a path, which need no rights. `--undo` takes everything away again.
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
rm -f "$PREFIX/dosdevices/a:" "$PREFIX/dosdevices/r:"
rm -rf "$BUILD/original"
rm -rf "$BUILD/linked-folder"
[ "${1:-}" = --undo ] && exit 0

mkdir -p "$BUILD/linked-folder/destino" "$BUILD/linked-folder/ajena"
ln -s ../ajena "$BUILD/linked-folder/destino/enlace"
mkdir -p "$BUILD/linked-folder/datos" "$BUILD/linked-folder/ajena2"
echo a > "$BUILD/linked-folder/datos/a.txt"
echo c > "$BUILD/linked-folder/ajena2/c.txt"
for link in uno:. dos:../datos arriba:.. fuera:../ajena2; do
  ln -s "${link#*:}" "$BUILD/linked-folder/datos/${link%%:*}"
done

# Drive R:, an empty folder that a restore to the original location may fill.
mkdir -p "$BUILD/original"
ln -s "$BUILD/original" "$PREFIX/dosdevices/r:"

mount_disk "$BUILD/floppy" 1457664 && mount_disk "$BUILD/small-disk" 524288 ||
  { echo "no right to mount disks for the tests" >&2; exit 1; }
ln -s "$BUILD/floppy" "$PREFIX/dosdevices/a:"
win reg add 'HKLM\Software\Wine\Drives' /f /v a: /d floppy >/dev/null
