#!/usr/bin/env bash
# Packs what build.sh left in dist/x64 and dist/x86 for those who use the library:
#
#   dist/QevBackup-<version>-setup.exe       set-up program for every Windows, 32-bit and 64-bit
#   dist/QevBackup-<version>-setup-x64.exe   the same for 64-bit systems that run no 32-bit programs
#   dist/QevBackup-<version>.zip             the same files for those who copy them
#
# The same commit gives the same bytes: all times in the packages are that of the commit, or SOURCE_DATE_EPOCH (seconds
# since 1970) where it is set; outside a clone, that of CMakeLists.txt, which an archive of the commit sets to the same.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C TZ=UTC

version=$(sed -n 's/^project(QevBackup VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[ -n "$version" ] || { echo "make-release: CMakeLists.txt names no version" >&2; exit 1; }
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || stat -c %Y CMakeLists.txt)}
export SOURCE_DATE_EPOCH

name=QevBackup-$version
work=$PWD/build/release
stage=$work/$name
rm -rf "$work" dist/"$name"*
mkdir -p "$stage"

put() { install -D -m 644 "$1" "$stage/$2"; } # FILE PLACE

for architecture in x64 x86; do
  for file in QevBackup.dll VANTO5.DLL VANTO6.DLL QevBackup.X.manifest; do
    put "dist/$architecture/$file" "$architecture/$file"
  done
done

# Beside the libraries: documents, sample hosts, the interface for C++ hosts, the engines' licences.
documents() { git ls-files -- "$@" 2>/dev/null || find "$@" -type f 2>/dev/null; }
while read -r file; do put "$file" "$file"; done < <(documents README.md LEEME.md CHANGELOG.md docs hosts | sort)
put build/x64/generated/IMCBackup.h interface/IMCBackup.h
put src/automation/QevBackup.idl interface/QevBackup.idl
put build/engine-src/zip30/LICENSE licenses/Info-ZIP-zip.txt
put build/engine-src/unzip60/LICENSE licenses/Info-ZIP-unzip.txt
put /usr/share/doc/libz-mingw-w64-dev/copyright licenses/zlib.txt

# The same list for the set-up program, which needs every file by name to take it away again.
mapfile -t beside < <(cd "$stage" && find . -type f ! -path './x64/*' ! -path './x86/*' -printf '%P\n' | sort)
mapfile -t folders < <(cd "$stage" && find . -mindepth 1 -type d ! -path './x64*' ! -path './x86*' -printf '%P\n' | sort -r)
windows() { echo "${1//\//\\}"; }
{
  echo "!macro InstallBeside FOLDER"
  for file in "${beside[@]}"; do
    folder=$(dirname "$file")
    [ "$folder" = . ] && echo '  SetOutPath "${FOLDER}"' || echo "  SetOutPath \"\${FOLDER}\\$(windows "$folder")\""
    echo "  File \"\${STAGE}/$file\""
  done
  echo "!macroend"
  echo "!macro RemoveBeside FOLDER"
  for file in "${beside[@]}"; do echo "  Delete \"\${FOLDER}\\$(windows "$file")\""; done
  for folder in "${folders[@]}"; do echo "  RMDir \"\${FOLDER}\\$(windows "$folder")\""; done
  echo "!macroend"
} >"$stage/files.nsh"
find "$work" -exec touch --no-dereference --date "@$SOURCE_DATE_EPOCH" {} +

# The picture on the first and the last page of the set-up program.
rsvg-convert --format=png --width=120 --height=120 --output="$work/picture.png" src/resources/art/IMAGEN.svg
convert -size 164x314 'xc:#eef3f8' "$work/picture.png" -gravity north -geometry +0+48 -composite -alpha off "BMP3:$work/picture.bmp"
touch --date "@$SOURCE_DATE_EPOCH" "$work/picture.bmp"

setup() { # TARGET OUTPUT
  makensis -V2 -INPUTCHARSET UTF8 -DVERSION="$version" -DTARGET="$1" -DSTAGE="$stage" \
    -DICON="$PWD/build/x64/generated/QevBackup.ico" -DPICTURE="$work/picture.bmp" \
    -DOUTPUT="$PWD/dist/$2" packaging/QevBackup.nsi
}
setup x86-unicode "$name-setup.exe"
setup amd64-unicode "$name-setup-x64.exe"

rm "$stage/files.nsh" "$work"/picture.*
# -X: no owners and no times of access, -D: no entries for folders.
(cd "$work" && find "$name" -type f | sort | zip -q -9 -X -D -@ "$OLDPWD/dist/$name.zip")
(cd dist && sha256sum "$name"*)
