#!/usr/bin/env bash
# A host that names the library in its manifest makes a backup with it where it has never been registered. Needs a display.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tools/env.sh
. tests/release/fresh-prefix.sh
fresh_prefix sidebyside
trap drop_prefix EXIT
class='HKLM\Software\Classes\CLSID\{0AC7F841-5908-4EC9-A1C7-BB195E07CBE5}'

fail() { echo "sidebyside: $*" >&2; exit 1; }
not_registered() { ! win reg query "$class" >/dev/null 2>&1; }

not_registered || fail "the library is registered in a fresh prefix"
lay_out_host 'Software\Gestion'

# Without the library beside it the host must fail: whatever makes it work below is in its folder.
mkdir -p "$DRIVE_C/Alone" "$DRIVE_C/Program"
cp "build/$ARCHITECTURE/sidebyside/sidebyside.exe" "$DRIVE_C/Alone/"
cp "build/$ARCHITECTURE/sidebyside"/* "$DRIVE_C/Program/"
! win "$DRIVE_C/Alone/sidebyside.exe" >/dev/null 2>&1 || fail "the host runs without the library"

said=$(win 'C:\Program\sidebyside.exe' | tr -d '\r')
echo "$said"
grep -qxF 'Library=C:\Program\QevBackup.dll' <<<"$said" || fail "the library came from elsewhere"
grep -qx 'Terminado=True' <<<"$said" || fail "the window did not close"
check_set
not_registered || fail "using the library has registered it"

# The same with the library in a subfolder named after the assembly.
rm "$DRIVE_C"/Gestion/Backup/*.qev
mkdir "$DRIVE_C/Program/QevBackup.X"
mv "$DRIVE_C"/Program/*.DLL "$DRIVE_C"/Program/*.dll "$DRIVE_C/Program/QevBackup.X.manifest" "$DRIVE_C/Program/QevBackup.X/"
said=$(win 'C:\Program\sidebyside.exe' | tr -d '\r')
echo "$said"
grep -qxF 'Library=C:\Program\QevBackup.X\QevBackup.dll' <<<"$said" || fail "the library came from elsewhere"
check_set
