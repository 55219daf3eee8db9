#!/usr/bin/env bash
# Runs fuzz targets, as many at a time as there are processors. tests/fuzz/Fuzz.h tells the rest.
#
#   tests/fuzz/run.sh SECONDS [TARGET…]    each target for so long; fails when one of them found something
#   tests/fuzz/run.sh --report TARGET      what the last run of a target came to; fails as that run did
#
# FUZZ_BUILD: the folder of the built targets, build/fuzz unless told otherwise.
set -uo pipefail
cd "$(dirname "$0")/../.."
build=${FUZZ_BUILD:-build/fuzz}
export ASAN_OPTIONS=allow_addr2line=1:quarantine_size_mb=32 UBSAN_OPTIONS=print_stacktrace=1

# run_target SECONDS TARGET: inputs that broke something before come first, then what earlier runs learnt, then new ones.
run_target() {
  local program=$build/$2Fuzz seeds=$build/seeds/$2 corpus=$build/corpus/$2 findings=$build/findings/$2
  rm -rf "$seeds" "$build/$2.status"
  mkdir -p "$seeds" "$corpus" "$findings"
  local status=0 input
  {
    for input in "$findings"/*; do
      [ -f "$input" ] || continue
      "$program" -timeout=10 -malloc_limit_mb=256 "$input" && continue
      status=$?
      echo "still fails: $input"
      break
    done
    if [ "$status" -eq 0 ]; then
      "$program" --seeds "$seeds" &&
        "$program" -max_total_time="$1" -timeout=10 -malloc_limit_mb=256 -rss_limit_mb=1024 -print_final_stats=1 \
          -artifact_prefix="$findings/" "$corpus" "$seeds" || status=$?
    fi
  } >"$build/$2.log" 2>&1
  echo "$status" >"$build/$2.status"
  return "$status"
}

report() {
  local status runs
  status=$(cat "$build/$1.status" 2>/dev/null) || { echo "$1 did not run"; return 1; }
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$build/$1.log")
  if [ "$status" -eq 0 ] && [ "${runs:-0}" -gt 0 ]; then
    echo "$1: $runs inputs, nothing found"
    return 0
  fi
  grep -a -A 15 '^does not hold\|ERROR: \|runtime error\|terminate called' "$build/$1.log" |
    grep -av '^still fails\|^artifact_prefix' | head -40
  sed -n 's/.*Test unit written to /the input is kept: /p; /^still fails: /p' "$build/$1.log"
  echo "$1 ended with status $status, see $build/$1.log"
  return 1
}

if [ "$1" = --report ]; then
  report "$2"
  exit
fi

seconds=$1
shift
targets=("$@")
[ $# -gt 0 ] || mapfile -t targets < <(basename -a -s Fuzz.cpp tests/fuzz/?*Fuzz.cpp)
for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$(nproc)" ]; do wait -n; done
  run_target "$seconds" "$target" &
done
wait
failed=0
for target in "${targets[@]}"; do report "$target" || failed=1; done
exit "$failed"
