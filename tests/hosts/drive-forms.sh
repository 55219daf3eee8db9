#!/usr/bin/env bash
# A VBScript host opens the dialogs of the registered library, and a user from outside fills them in and presses their
# buttons. Needs a display.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tools/env.sh

drive() { win "build/$ARCHITECTURE/form-driver.exe" "$@" || { echo "the user could not: $*" >&2; exit 1; }; }
destino=301 nombre=303 aceptar=1 cancelar=2 # as in src/resources/resource.h

checks=$BUILD/forms.txt
win cscript //nologo tests/hosts/forms.vbs >"$checks" &
host=$!
trap 'kill $host 2>/dev/null || true; cat "$checks"' EXIT

drive type 'Crear Copia' $nombre 'Nada'
drive click 'Crear Copia' $cancelar
for _ in $(seq 600); do grep -q 'Terminado after Cancelar' "$checks" && break; sleep 0.1; done

drive type 'Crear Copia' $destino 'C:\QevBackupForms\Copias\'
drive type 'Crear Copia' $nombre 'A mano'
drive click 'Crear Copia' $aceptar
drive enabled 'Copias de prueba' $aceptar
drive click 'Copias de prueba' $aceptar

drive click 'Configuración' $aceptar
wait $host
grep -q '^done' "$checks"
