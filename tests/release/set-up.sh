#!/usr/bin/env bash
# The set-up program on a machine that has never seen the library: installs silently, a script host makes a backup,
# uninstalls silently; registry and folders are as before, and what is the user's is untouched. Needs a display, and the
# packages of build.sh --release.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tools/env.sh
. tests/release/fresh-prefix.sh
version=$(sed -n 's/^project(QevBackup VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
stage=$BUILD/release/QevBackup-$version
work=$BUILD/release-test
key='Software\Gestion'
entry='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\QevBackup'
rm -rf "$work" && mkdir -p "$work"

fail() { echo "set-up: $*" >&2; exit 1; }
code_of() { local code=0; "$@" >/dev/null || code=$?; echo "$code"; }
expect() { [ "$2" = "$3" ] || fail "$1: $3, not $2"; echo "ok   $1"; }

uninstall() { win cscript //nologo tests/release/uninstall.vbs "$@" | tr -d '\r'; }

# What is on the machine: folders, and the registry but for the hardware and what Wine notes about itself, the display and console
# windows, which it opens for its own debugger too.
# The folder for temporary files, where the uninstaller runs from a copy of itself, may keep an empty folder.
snapshot() { # NAME
  local part
  for part in 'HKLM\Software' 'HKLM\System\CurrentControlSet\Control\Session Manager' 'HKLM\System\CurrentControlSet\Services' \
    HKCU; do
    win reg export "$part" "$work/part.reg" /y >/dev/null
    iconv -f UTF-16 -t UTF-8 "$work/part.reg" | tr -d '\r'
  done | awk -v RS= -v ORS='\n\n' '!/^\[HKEY_CURRENT_USER\\(Software\\Wine|Console)/' >"$work/$1.registry"
  # The work folder, with the record of the runs, is its user's, as the sets are.
  find "$DRIVE_C" ! \( -path '*/Temp/~nsu*' -empty \) ! -path '*/AppData/Local/QevBackup*' | sort >"$work/$1.folders"
}

fresh_prefix set-up
trap drop_prefix EXIT
if [ -e "$DRIVE_C/windows/syswow64/regsvr32.exe" ] || [ ! -d "$DRIVE_C/windows/syswow64" ]; then
  setup=$PWD/dist/QevBackup-$version-setup.exe
else # a 64-bit Wine without its 32-bit half
  setup=$PWD/dist/QevBackup-$version-setup-x64.exe
  echo "note $(basename "$setup") is tested: this Wine runs no 32-bit programs, neither the other set-up nor the 32-bit library"
fi
folder="$DRIVE_C/Program Files/QevBackup"

# The script host registers a type library of its own when it first runs.
echo 'WScript.Quit' >"$work/nothing.vbs"
win cscript //nologo "Z:$work/nothing.vbs"
env "${wine_env[@]}" wineboot -r >/dev/null 2>&1
snapshot before

touch "$folder" # a file where the folder should be
expect "says by its exit code that it could not install" 2 "$(code_of win "$setup" /S)"
rm "$folder"
! win reg query "$entry" >/dev/null 2>&1 || fail "an installation that failed has left its entry"

expect "installs silently" 0 "$(code_of win "$setup" /S)"
diff -r "$stage/docs" "$folder/docs" || fail "documents are missing"
diff -r "$stage/hosts" "$folder/hosts" || fail "samples are missing"
for file in QevBackup.dll VANTO5.DLL VANTO6.DLL QevBackup.X.manifest; do
  cmp "$stage/$ARCHITECTURE/$file" "$folder/$file" || fail "$file is another one"
done
win reg query "$entry" /v DisplayVersion | grep -q "$version" || fail "not in the list of programs"

lay_out_host "$key"
said=$(win cscript //nologo tests/release/backup.vbs "$key")
grep -q '^Terminado=True' <<<"$said" || fail "the script says: $said"
check_set
echo "ok   a script makes a backup with the installed library"

rm -f "$work/stop"
win "build/$ARCHITECTURE/hold-file.exe" 'C:\Program Files\QevBackup\VANTO5.DLL' "Z:$work/stop" >"$work/held" &
holder=$!
for _ in $(seq 300); do ! grep -q held "$work/held" || break; sleep 0.1; done
echo mark >>"$folder/README.md"
expect "refuses to install over files in use" 3 "$(code_of win "$setup" /S)"
grep -q mark "$folder/README.md" || fail "a refused installation has changed files"
expect "uninstalls with a file in use" "code 3010" "$(uninstall wait)"
[ ! -e "$folder/QevBackup.dll" ] && [ -e "$folder/VANTO5.DLL" ] || fail "not all but the file in use is gone"
touch "$work/stop"
wait $holder
env "${wine_env[@]}" wineboot -r >/dev/null 2>&1
[ ! -e "$folder/VANTO5.DLL" ] || fail "the file that was in use is there after a start"
rm -f "$folder/Uninstall.exe" # an uninstaller that is waited for leaves itself
echo "ok   the file that was in use goes at the next start"

expect "installs again" 0 "$(code_of win "$setup" /S)"
expect "installs over itself" 0 "$(code_of win "$setup" /S)"
cmp "$stage/README.md" "$folder/README.md" || fail "installing over itself has lost a file"
echo mine >"$folder/notes.txt"
expect "uninstalls" "code 0" "$(uninstall)"
for _ in $(seq 600); do [ -e "$folder/Uninstall.exe" ] || break; sleep 0.1; done
sleep 1
[ "$(ls "$folder")" = notes.txt ] || fail "left in the folder: $(ls "$folder")"
win reg query "HKLM\\$key" /v Estado >/dev/null || fail "the host's settings are gone"
check_set
echo "ok   settings, sets and files of the user stay"

rm -r "$folder" "$DRIVE_C/Gestion"
win reg delete "HKLM\\$key" /f >/dev/null
env "${wine_env[@]}" wineboot -r >/dev/null 2>&1 # the uninstaller's copy of itself goes at a start
snapshot after
diff "$work/before.registry" "$work/after.registry" || fail "the registry is not as before"
diff "$work/before.folders" "$work/after.folders" || fail "the folders are not as before"
echo "ok   registry and folders are as before"
