#!/usr/bin/env bash
# What a backup costs, beside what a user would pick instead. Prints one table and leaves it in build/bench/table.txt.
#
#   bench/run.sh             five rounds
#   bench/run.sh --quick     one round
#   bench/run.sh --large     also a set of 4.5 GiB, once (may be given with --quick)
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
cmake --build --preset x64 --target BareEngine HostBackup >/dev/null
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
cp dist/x64/* build/x64/BareEngine.exe build/x64/HostBackup.exe "$programs/"
cp "$BENCH/node_modules/7zip-bin/win/x64/7za.exe" "$programs/"
win regsvr32 /s 'C:\QevBackup\QevBackup.dll'

export PYTHONUTF8=1
python3 bench/make-corpora.py "$DRIVE_C/Bench"
[ -z "$large" ] || python3 bench/make-corpora.py --large "$DRIVE_C/Bench"
# Not on_display: the benchmark may take longer than that lets a program run.
env "${wine_env[@]}" wineserver -w
xvfb-run -a -s "-screen 0 1280x960x24 -nolisten tcp" env "${wine_env[@]}" \
  python3 bench/measure.py --rounds "$rounds" $large "$DRIVE_C" "$BENCH/table.txt"
