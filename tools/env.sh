# Sourced by the scripts: where things are, and how programs for Windows are run. Defines
#   ROOT BUILD SCREENSHOTS   folders
#   ARCHITECTURE             x64, or x86 in the place of tools/in-i386.sh: which programs run
#   win PROGRAM ARGS…        runs a program for Windows in the project's own prefix, on the display in DISPLAY
#   on_display COMMAND…      runs a command on a virtual display of its own, for 20 minutes at the most
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
BUILD=$ROOT/build
SCREENSHOTS=$BUILD/screenshots
PREFIX=$BUILD/prefix
DRIVE_C=$PREFIX/drive_c
ARCHITECTURE=${QEV_ARCHITECTURE:-x64}
wine_architecture=win64
[ "$ARCHITECTURE" = x64 ] || wine_architecture=win32
mkdir -p "$BUILD" "$SCREENSHOTS"

# A Spanish locale of the project's own: Wine takes the user's regional settings and the code page of file names from it.
make_locale() {
  [ -e "$BUILD/locale/es_ES.UTF-8/LC_CTYPE" ] && return
  mkdir -p "$BUILD/locale"
  localedef -i es_ES -f UTF-8 --no-archive "$BUILD/locale/es_ES.UTF-8" 2>/dev/null || [ -e "$BUILD/locale/es_ES.UTF-8/LC_CTYPE" ]
}

wine_env=(LOCPATH="$BUILD/locale" LC_ALL=es_ES.UTF-8 WINEPREFIX="$PREFIX" WINEDEBUG=-all WINEARCH=$wine_architecture
  WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe=" QEV_SCREENSHOTS="Z:${SCREENSHOTS//\//\\}")

! mountpoint -q "$BUILD/small-disk" || wine_env+=(QEV_SMALL_DISK="Z:${BUILD//\//\\}\\small-disk")
[ ! -d "$BUILD/linked-folder" ] || wine_env+=(QEV_LINKED_FOLDER="Z:${BUILD//\//\\}\\linked-folder")

win() { env "${wine_env[@]}" wine "$@" 2> >(grep -v 'wine32 is missing\|multiarch needs\|dpkg --add-architecture\|apt-get install wine32\|FS volume label and serial' >&2); }

# Programs that ran without a display leave a desktop without one behind: the last of them must be gone first.
on_display() {
  env "${wine_env[@]}" wineserver -w
  timeout -k 10 1200 xvfb-run -a -s "-screen 0 1280x960x24 -nolisten tcp" "$@"
}

make_prefix() {
  make_locale
  [ -e "$PREFIX/.complete" ] && return
  echo "making the Wine prefix"
  env "${wine_env[@]}" wineboot -i >/dev/null 2>&1
  # Fonts of Wine's own that its system folder lacks: captions, message boxes.
  cp -n /usr/share/wine/fonts/*.ttf "$DRIVE_C/windows/Fonts/"
  # No window manager on the virtual display: Wine draws captions and keeps the focus itself.
  env "${wine_env[@]}" wine reg add 'HKCU\Software\Wine\X11 Driver' /f /v Managed /d N >/dev/null 2>&1
  # A program that crashes ends, instead of waiting for somebody to close a dialog.
  env "${wine_env[@]}" wine reg add 'HKCU\Software\Wine\WineDbg' /f /v ShowCrashDialog /t REG_DWORD /d 0 >/dev/null 2>&1
  env "${wine_env[@]}" wineserver -w
  touch "$PREFIX/.complete"
}
