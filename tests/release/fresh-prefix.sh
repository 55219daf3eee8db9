# Sourced by the tests of what is delivered, after tools/env.sh: a Wine prefix that has never seen the library.
#
#   fresh_prefix NAME      makes build/prefix-NAME anew; win and DRIVE_C use it from then on
#   lay_out_host KEY       a host's data in C:\Gestion and its settings under HKLM\KEY, with windows that close by themselves
#   check_set              one set in C:\Gestion\Backup, whole, with the host's data in it
fresh_prefix() {
  PREFIX=$BUILD/prefix-$1
  DRIVE_C=$PREFIX/drive_c
  wine_env+=(WINEPREFIX="$PREFIX")
  rm -rf "$PREFIX"
  make_prefix
}

# The prefix goes with the test: nothing of it runs on, and its room is free again.
drop_prefix() {
  env "${wine_env[@]}" wineserver -k || true
  env "${wine_env[@]}" wineserver -w || true
  rm -rf "$PREFIX"
}

lay_out_host() {
  mkdir -p "$DRIVE_C/Gestion/Datos/Emp01/Año 1" "$DRIVE_C/Gestion/Backup"
  head -c 300000 /dev/urandom >"$DRIVE_C/Gestion/Datos/Emp01/datos.mdb"
  echo "Ibáñez" >"$DRIVE_C/Gestion/Datos/Emp01/Año 1/señas.txt"
  win reg add "HKLM\\$1" /f /v DirDatos /d 'C:\Gestion\Datos\Emp01\' >/dev/null
  win reg add "HKLM\\$1" /f /v DirMDE /d 'C:\Gestion\' >/dev/null
  win reg add "HKLM\\$1" /f /v Cerrar /t REG_DWORD /d 1 >/dev/null
}

check_set() {
  local sets=("$DRIVE_C"/Gestion/Backup/*.qev)
  [ ${#sets[@]} -eq 1 ] && [ -f "${sets[0]}" ] || { echo "there is not one set" >&2; return 1; }
  7zz t -tzip "${sets[0]}" >/dev/null || { echo "the set is broken" >&2; return 1; }
  [ "$(7zz x -tzip -so -r "${sets[0]}" datos.mdb 2>/dev/null | sha256sum)" = "$(sha256sum <"$DRIVE_C/Gestion/Datos/Emp01/datos.mdb")" ] ||
    { echo "the set has other data than the host" >&2; return 1; }
}
