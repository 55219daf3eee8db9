#!/usr/bin/env bash
# The reader beside docs/set-format.md, which shares no code with the library, reads sets that the library has made: that of
# the demonstration, and one on three disks, which a host makes here while somebody changes them. Needs a display, the
# registered library and what ./demo.sh has left; for the disks also the right to mount some (see tools/test-disks.sh).
set -euo pipefail
cd "$(dirname "$0")/../.."
. tools/env.sh

work=$BUILD/read-sets
rm -rf "$work"
mkdir -p "$work"
program=$DRIVE_C/QevBackupDisks key='HKLM\Software\QevBackupDisks' host=
trap '[ -z "$host" ] || kill $host 2>/dev/null || true; tools/test-disks.sh --undo || true; rm -rf "$program"' EXIT

reads() { PYTHONUTF8=1 python3 docs/read_set.py "$@" >"$work/read.txt" || { cat "$work/read.txt"; exit 1; }; }

refuses() { # WHAT ARGUMENTS…
  local what=$1; shift
  ! PYTHONUTF8=1 python3 docs/read_set.py "$@" >"$work/read.txt" 2>&1 || { echo "the reader takes $what for a set"; exit 1; }
}

# The archive has paths from the drive's root; the drive is C:.
equal() { # EXTRACTED PATH…
  local extracted=$1 path; shift
  for path; do diff -r "$DRIVE_C/$path" "$extracted/$path"; done
}

set_file=$(ls "$DRIVE_C"/Prog/Backup/*.qev)
reads --into "$work/demo" "$set_file"
grep -q "'program': 'Gestion'.*'total': '1', 'number': '1', 'directory': 'C:'" "$work/read.txt"
equal "$work/demo" Prog/Datos/Emp01 Prog/Util.mde Prog/Gestion.ini
echo "a set in one file: every file equals its source"
head -c -100 "$set_file" >"$work/cut.qev"
refuses "a set that has lost its end" "$work/cut.qev"
refuses "something else" docs/set-format.md

tools/test-disks.sh || { echo "sets on disks have not been read"; exit 0; }
rm -rf "$program"
rm -f "$DRIVE_C"/users/*/AppData/Local/QevBackup/temp/copia.zip*
mkdir -p "$program/Datos/Emp01" "$work/disks"
head -c 3000000 /dev/urandom >"$program/Datos/Emp01/Imágenes.bin"
echo 'Ibáñez' >"$program/Datos/Emp01/señas.txt"
win reg add "$key" /f /v DirDatos /d 'C:\QevBackupDisks\Datos\Emp01\' >/dev/null
win reg add "$key" /f /v DirMDE /d 'C:\QevBackupDisks\' >/dev/null
win reg add "$key" /f /v Cerrar /t REG_DWORD /d 1 >/dev/null
cat >"$work/host.vbs" <<'END'
Set copia = CreateObject("QevBackup.MCBackup")
copia.Titulo = "Discos"
copia.Registro = "Software\QevBackupDisks"
copia.DirBackup = "A:\"
copia.CopiaAuto
END
win cscript //nologo "Z:${work//\//\\}\\host.vbs" >"$work/host.txt" 2>&1 &
host=$!
for disk in 1 2 3; do
  win "build/$ARCHITECTURE/form-driver.exe" enabled Discos 2 # Cancelar, which only the prompt for a disk has
  [ $disk = 1 ] || mv "$BUILD"/floppy/*.qev "$work/disks/$((disk - 1)).qev"
  win "build/$ARCHITECTURE/form-driver.exe" click Discos 1 # Aceptar of the prompt
  for _ in $(seq 300); do ! ls "$BUILD"/floppy/*.qev >/dev/null 2>&1 || break; sleep 0.1; done
done
wait $host || { cat "$work/host.txt"; exit 1; }
host=
mv "$BUILD"/floppy/*.qev "$work/disks/3.qev"
estado=$(win reg query "$key" /v Estado)
grep -q 'Ultima copia de seguridad realizada correctamente' <<<"$estado" || { echo "$estado"; exit 1; }
win reg delete "$key" /f >/dev/null

disks=("$work"/disks/{1,2,3}.qev)
[ "$(stat -c %s "${disks[@]:0:2}" | sort -u)" = 1440000 ] || { stat -c '%n %s' "${disks[@]}"; exit 1; }
reads --into "$work/bare" "${disks[@]}"
equal "$work/bare" QevBackupDisks/Datos/Emp01
echo "a set on three disks: every file equals its source"
refuses "a set without its last disk" "${disks[@]:0:2}"
refuses "a set without its second disk" "${disks[0]}" "${disks[2]}"

for disk in 1 2 3; do
  {
    printf 'Programa : Discos;Fecha Creación : 16/11/2026;Total de Volúmenes :3;Número de Volúmen :%d;Directorio : C:;\r\n' \
      "$disk" | iconv -f UTF-8 -t CP1252
    cat "$work/disks/$disk.qev"
  } >"$work/disks/headed$disk.qev"
done
headed=("$work"/disks/headed{1,2,3}.qev)
reads --into "$work/headed" "${headed[@]}"
equal "$work/headed" QevBackupDisks/Datos/Emp01
echo "the same with a header on each disk"
refuses "disks in another order" "${headed[1]}" "${headed[0]}" "${headed[2]}"
refuses "one disk of three" "${headed[0]}"
