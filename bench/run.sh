#!/usr/bin/env bash
# What a backup and a restore cost, beside what a user would pick instead. Prints two tables and leaves them in
# build/bench/table.txt. Stops with an error when anything comes back other than it was.
#
#   bench/run.sh             five rounds
#   bench/run.sh --quick     one round
#   bench/run.sh --large     also 4.5 GiB in one file, and 70,000 files, once (may be given with --quick)
#
# Sets everything up by itself, again and again.
set -euo pipefail
cd "$(dirname "$0")/.."
rounds=5 large=
for option; do
  case $option in
    --quick) rounds=1 ;;
    --large) large=--large ;;
    *) echo "usage: bench/run.sh [--quick] [--large]" >&2; exit 2 ;;
  esac
done

tools/install.sh
tools/install.sh bench
./build.sh x64
cmake --build --preset x64 --target BareEngine HostBackup HostRestore >/dev/null
. tools/env.sh
BENCH=$BUILD/bench
PREFIX=$BENCH/prefix
DRIVE_C=$PREFIX/drive_c
wine_env+=(WINEPREFIX="$PREFIX")
mkdir -p "$BENCH"
make_prefix

cp bench/package.json "$BENCH/"
(cd "$BENCH" && npm install --no-package-lock --no-audit --no-fund --loglevel=error >/dev/null)
programs=$DRIVE_C/QevBackup
mkdir -p "$programs"
cp dist/x64/* build/x64/BareEngine.exe build/x64/HostBackup.exe build/x64/HostRestore.exe "$programs/"
cp "$BENCH/node_modules/7zip-bin/win/x64/7za.exe" "$programs/"
win regsvr32 /s 'C:\QevBackup\QevBackup.dll'

export PYTHONUTF8=1
python3 bench/make-corpora.py "$DRIVE_C/Bench"
[ -z "$large" ] || python3 bench/make-corpora.py --large "$DRIVE_C/Bench"
# Not on_display: the benchmark may take longer than that lets a program run.
env "${wine_env[@]}" wineserver -w
xvfb-run -a -s "-screen 0 1280x960x24 -nolisten tcp" env "${wine_env[@]}" \
  python3 bench/measure.py --rounds "$rounds" $large "$DRIVE_C" "$BENCH/table.txt"
