#!/usr/bin/env bash
# Reads the engine's archives back with programs that share no code with it: 7-Zip and Python's zipfile.
#
#   tests/engine/check_archives.sh FOLDER [--large]
#
# FOLDER holds VANTO5.DLL, BareEngine.exe and EngineTest.exe. WINE names the command that runs a program for Windows
# (default: wine); its surroundings (prefix, locale) are the caller's. First runs EngineTest.exe with a small disk for its
# test of a disk that fills up: a tmpfs, which takes root or an unprivileged mount namespace. With --large, files of about
# 4 GiB are archived, too, which takes minutes and 10 GiB of disk that stay mostly unwritten.
# Ends with "N passed, N failed".
set -uo pipefail

bin=$(cd "${1:?usage: check_archives.sh FOLDER [--large]}" && pwd)
large=${2:-}
here=$(cd "$(dirname "$0")" && pwd)
wine=${WINE:-wine}

# Without root, starts over in a mount namespace of its own, where a tmpfs can be mounted.
if [ "$(id -u)" -ne 0 ] && [ -z "${QEV_IN_NAMESPACE:-}" ]; then
  QEV_IN_NAMESPACE=1 exec unshare --user --map-root-user --mount "$here/$(basename "$0")" "$@"
fi

work=$(mktemp -d)
mounted=
finish() {
  if [ -n "$mounted" ]; then umount "$work/disk"; fi
  rm -rf "$work"
}
trap finish EXIT

passed=0
failed=0
check() {
  local name=$1
  shift
  if "$@" > "$work/log" 2>&1; then
    passed=$((passed + 1))
    echo "ok      $name"
  else
    failed=$((failed + 1))
    echo "FAILED  $name"
    tail -n 30 "$work/log"
  fi
}

windows_path() { printf 'Z:%s' "${1//\//\\}"; }

# archive_tree ARCHIVE TREE [OPTION...]: archives what TREE holds; names start at TREE.
archive_tree() {
  local archive=$1 tree=$2
  shift 2
  $wine "$bin/BareEngine.exe" "$@" "$(windows_path "$tree")" "$(windows_path "$archive")" 'querty' '*.*'
}

seven_zip_agrees() {
  rm -rf "$work/out"
  7zz x -y -o"$work/out" "$1" && diff -r "$2" "$work/out"
}

mkdir "$work/disk"
if mount -t tmpfs -o size=512k tmpfs "$work/disk"; then
  mounted=yes
  export QEV_SMALL_DISK
  QEV_SMALL_DISK=$(windows_path "$work/disk")
  check 'EngineTest' $wine "$bin/EngineTest.exe"
else
  failed=$((failed + 1))
  echo 'FAILED  no tmpfs can be mounted for the test of a full disk'
fi

tree=$work/tree
mkdir -p "$tree/Sub Año/más hondo" "$tree/vacía" "$tree/日本"
echo hola > "$tree/a.txt"
echo sin > "$tree/SINPUNTO"
: > "$tree/vacío.db"
echo ñ > "$tree/Ñandú ÁÉÍÓÚ ü ç.txt"
echo 2 > "$tree/Sub Año/b c.mdb"
echo 3 > "$tree/Sub Año/más hondo/€.txt"
echo 4 > "$tree/日本/名前 ā.txt"
head -c 3000000 /dev/urandom > "$tree/azar.bin"
seq 1 400000 > "$tree/texto.txt"
head -c 65536 /dev/zero > "$tree/ceros.bin"
: > "$tree/Sub Año/$(printf 'x%.0s' {1..200}).log"
for size in 1023 1024 1025 32767 32768 32769 65535 65537 1048575 1048577; do
  seq 1 300000 | head -c "$size" > "$tree/t$size"
done

check 'a tree is archived' archive_tree "$work/a.zip" "$tree" -q
check "7-Zip reads every file back" seven_zip_agrees "$work/a.zip" "$tree"
check "Python's zipfile reads every file back" python3 "$here/compare_archive.py" "$work/a.zip" "$tree"

for level in 0 1 3 9; do
  rm -f "$work/l.zip"
  check "level $level is archived" archive_tree "$work/l.zip" "$tree" -q -level "$level"
  check "level $level reads back" python3 "$here/compare_archive.py" "$work/l.zip" "$tree"
done

sleep 2
echo cambiado > "$tree/Ñandú ÁÉÍÓÚ ü ç.txt"
echo nuevo > "$tree/Sub Año/nuevo ñ.txt"
check 'an archive is updated' archive_tree "$work/a.zip" "$tree" -q -u
check "7-Zip reads the updated archive" seven_zip_agrees "$work/a.zip" "$tree"
check "Python's zipfile reads the updated archive" python3 "$here/compare_archive.py" "$work/a.zip" "$tree"

many=$work/many
mkdir -p "$many"
(cd "$many" && for number in $(seq 1 400); do
  mkdir -p "d$((number % 7))"
  seq 1 "$((number * 37 % 9001))" > "d$((number % 7))/f$number.txt"
done)
check '400 files are archived' archive_tree "$work/m.zip" "$many" -q
check '400 files read back' python3 "$here/compare_archive.py" "$work/m.zip" "$many"

if [ "$large" = --large ]; then
  big=$work/big
  mkdir -p "$big"
  truncate -s 4400M "$big/mayor.db"
  truncate -s 4294967290 "$big/justo.db"
  echo fin > "$big/z.txt"
  check 'files of about 4 GiB are archived' archive_tree "$work/big.zip" "$big" -q
  check '7-Zip tests files of about 4 GiB' 7zz t "$work/big.zip"
  check "Python's zipfile reads files of about 4 GiB" python3 "$here/compare_archive.py" "$work/big.zip" "$big"
  rm -rf "$big" "$work/big.zip"

  # More than 4 GiB that do not pack, so that offsets pass 4 GiB, and a file just below 4 GiB that grows when packed.
  mkdir -p "$big"
  openssl enc -aes-128-ctr -pass pass:x -nosalt -pbkdf2 < /dev/zero 2> /dev/null | head -c 4294900000 > "$big/a.bin"
  echo fin > "$big/z.txt"
  check 'a file just below 4 GiB that does not pack is archived' archive_tree "$work/big.zip" "$big" -q -level 1
  check '7-Zip tests it' 7zz t "$work/big.zip"
  check "Python's zipfile reads it" python3 "$here/compare_archive.py" "$work/big.zip" "$big"
fi

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
