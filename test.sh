#!/usr/bin/env bash
# Builds and runs everything that proves the product, in lanes side by side. The last line counts: "N passed, N failed, N skipped".
#
#   ./test.sh                      everything
#   ./test.sh --filter PATTERN     only tests whose name matches (GoogleTest's --gtest_filter)
#   ./test.sh --x86                also runs the tests as 32-bit programs, in a folder that is made for them (tools/make-i386.sh)
#   ./test.sh --large              also backs up and restores 4.5 GiB and 70,000 files, as the benchmark does
set -uo pipefail
cd "$(dirname "$0")"
filter='*' large=no x86=no
while [ $# -gt 0 ]; do
  case $1 in
    --filter) filter=${2:?}; shift ;;
    --large) large=yes ;;
    --x86) x86=yes ;;
    *) sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
  esac
  shift
done

. tests/lanes.sh
trap 'stop_lanes $(jobs -p); exit 1' INT TERM
rm -rf build/lanes
mkdir -p build/lanes

# What is delivered is built first, for both architectures: without it nothing can be tested.
began=$(date +%s)
tools/install.sh && ./build.sh --release || { echo "0 passed, 1 failed"; exit 1; }
lane=build log=build/lanes/build took "$began" "what is delivered"
. tools/env.sh
make_locale
export -f win

begin_lane native
begin_lane x64
[ $x86 = no ] || begin_lane x86
end_lanes

echo "$passed passed, $failed failed, $skipped skipped"
[ "$failed" -eq 0 ]
