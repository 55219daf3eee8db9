#!/usr/bin/env bash
# The sample hosts in JScript and C++ do each of their requests with the registered library; a user from outside answers
# the dialogs. Needs a display.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tools/env.sh

program=$DRIVE_C/SampleHost
key='HKLM\Software\Gestion'
aceptar=1 cancelar=2 # as in src/resources/resource.h

fail() { echo "sample-hosts: $*" >&2; exit 1; }
drive() { win "build/$ARCHITECTURE/form-driver.exe" "$@" || fail "the user could not: $*"; }
setting() { win reg add "$key" /f /v "$1" /t "$2" /d "$3" >/dev/null; }
said() { tr -d '\r' <"$BUILD/sample-host.txt"; }
expect_line() { said | grep -qxF "$1" || fail "$what: no line $1 in: $(said)"; }

lay_out() {
  rm -rf "$program"
  mkdir -p "$program/Datos/Emp01" "$program/Backup" "$program/Programadas"
  echo "Ibáñez" >"$program/Datos/Emp01/señas.txt"
  win reg delete "$key" /f >/dev/null 2>&1 || true
  setting DirDatos REG_SZ 'C:\SampleHost\Datos\Emp01\'
  setting DirMDE REG_SZ 'C:\SampleHost\'
  setting Destino REG_SZ 'C:\SampleHost\Programadas\'
  setting Cerrar REG_DWORD 1
  setting NCopias REG_SZ 2
}

# One request from start to end, answered by nobody.
request() { # REQUEST
  what="$1 by ${host[*]}"
  win "${host[@]}" "$1" >"$BUILD/sample-host.txt" 2>&1 || fail "$what: $(said)"
}

# One request whose dialog a user leaves by a button.
answered() { # REQUEST DIALOG BUTTON
  what="$1 by ${host[*]}"
  win "${host[@]}" "$1" >"$BUILD/sample-host.txt" 2>&1 &
  local running=$!
  drive click "$2" "$3"
  wait $running || fail "$what: $(said)"
  expect_line "Terminado=True"
}

try_host() {
  host=("$@")
  lay_out
  request auto
  expect_line 'DirBackup=C:\SampleHost\Backup\'
  expect_line "Terminado=True"
  7zz t -tzip "$program"/Backup/Backup??-??-??.qev >/dev/null || fail "$what: no whole set"
  request prog
  7zz t -tzip "$program"/Programadas/Backup??-??-??.qev >/dev/null || fail "$what: no whole set"
  win reg query "$key" /v Verificar | grep -q '0x1' || fail "$what: safe mode is off"
  cp "$program"/Backup/Backup??-??-??.qev "$program/Backup/una.qev"
  cp "$program"/Backup/Backup??-??-??.qev "$program/Backup/otra.qev"
  touch "$program/Backup/notas.txt"
  request ccopias
  [ "$(ls "$program"/Backup/*.qev | wc -l)" -eq 2 ] || fail "$what: $(ls "$program/Backup")"
  [ -e "$program/Backup/notas.txt" ] || fail "$what: what is no set has gone in safe mode"
  answered copiar 'Crear Copia' $cancelar
  expect_line "Aceptar=False"
  answered opciones 'Configuración' $aceptar
  answered restaurar 'Restaurar Copia' $cancelar

  what="an unknown request by ${host[*]}"
  local code=0
  win "${host[@]}" nada >"$BUILD/sample-host.txt" 2>&1 || code=$?
  [ $code -eq 2 ] || fail "$what: exit code $code"
  echo "ok   ${host[*]}"
}

trap 'win reg delete "$key" /f >/dev/null 2>&1 || true; rm -rf "$program"' EXIT
try_host cscript //nologo hosts/gestion.js
try_host "build/$ARCHITECTURE/gestion.exe"
