#!/usr/bin/env bash
# Shows the main job: a host script makes a real backup set through the registered library, and strangers read it back;
# then the data is damaged, and the host's restore dialog brings it back.
#
#   ./demo.sh            on a virtual display
#   ./demo.sh --show     on the display in DISPLAY; the windows are yours to answer, and at the end a menu opens every
#                        other form for you to try
#
# Sets everything up by itself, again and again. Exit status 0 only when every file came back byte for byte.
set -euo pipefail
cd "$(dirname "$0")"
show=no
case "${1:-}" in
  '') ;;
  --show) show=yes; [ -n "${DISPLAY:-}" ] || { echo "demo: --show needs a display (DISPLAY is not set)" >&2; exit 2; } ;;
  *) echo "usage: ./demo.sh [--show]" >&2; exit 2 ;;
esac

./build.sh x64
cmake --build --preset x64 --target form-driver >/dev/null
. tools/env.sh
make_prefix

program=$DRIVE_C/Prog
echo "laying out the host Gestion in $program"
chmod -R u+w "$program" 2>/dev/null || true
PYTHONUTF8=1 python3 tools/make-demo-data.py "$program"
mkdir -p "$DRIVE_C/QevBackup"
cp dist/x64/* "$DRIVE_C/QevBackup/"
win regsvr32 /s 'C:\QevBackup\QevBackup.dll'
win reg delete 'HKLM\Software\Gestion' /f >/dev/null 2>&1 || true
win reg add 'HKLM\Software\Gestion' /f /v DirDatos /d 'C:\Prog\Datos\Emp01\' >/dev/null
win reg add 'HKLM\Software\Gestion' /f /v DirMDE /d 'C:\Prog\' >/dev/null
# Safe mode: a success is proof that the set holds every file of the data as it is, and no damaged set is restored.
win reg add 'HKLM\Software\Gestion' /f /v Verificar /t REG_DWORD /d 1 >/dev/null

export -f win
if [ $show = yes ]; then tools/demo-run.sh show; else on_display tools/demo-run.sh virtual; fi

set_file=$(ls "$program"/Backup/*.qev)
echo
PYTHONUTF8=1 tools/check-set.py "$set_file" "$DRIVE_C" "$program/Datos/Emp01" "$program/Util.mde" "$program/Gestion.ini"
value() { win reg query 'HKLM\Software\Gestion' /v "$1" 2>/dev/null | sed -n "s/^ *$1 *REG_[A-Z]* *//p" | tr -d '\r'; }
estado=$(value Estado)
echo "Estado     $estado"
ultima=$(value UltimaCopia)
echo "UltimaCopia $ultima"
sed -n 's/^Terminado=/Terminado  /p' "$BUILD/demo-host.txt" | tr -d '\r'

[ "$estado" = "Ultima copia de seguridad realizada correctamente" ] || { echo "demo: the run was no success" >&2; exit 1; }
[[ $ultima == "$(date +%d-%m-%Y)"* ]] || { echo "demo: UltimaCopia is not of today" >&2; exit 1; }
grep -q '^Terminado=True' "$BUILD/demo-host.txt" || { echo "demo: the host does not see the window as closed" >&2; exit 1; }

echo
keep=$BUILD/demo-data
chmod -R u+w "$keep" 2>/dev/null || true
sum_before=$(sha256sum <"$set_file")
PYTHONUTF8=1 python3 tools/damage-data.py damage "$program/Datos/Emp01" "$keep"
windows_set="C:\\Prog\\Backup\\$(basename "$set_file")"
if [ $show = yes ]; then
  echo "the host shows its restore dialog: load $windows_set and press Restaurar"
  tools/demo-restore.sh show "$windows_set"
else
  on_display tools/demo-restore.sh virtual "$windows_set"
fi
PYTHONUTF8=1 python3 tools/damage-data.py compare "$program/Datos/Emp01" "$keep"
[ "$(sha256sum <"$set_file")" = "$sum_before" ] || { echo "demo: the restore has changed the set" >&2; exit 1; }
echo "set        unchanged by the restore"
[ $show = yes ] || ls "$SCREENSHOTS"/demo-*.png | sed 's/^/picture    /'

if [ $show = yes ]; then
  echo "the host shows its menu: try each form, and leave it with Cancelar"
  win wscript hosts/gestion.vbs menu
fi
