# Sourced by test.sh: lanes of tests that run side by side, and what runs and counts the tests of a lane.
#
#   begin_lane NAME         runs tests/NAME.sh in the background
#   end_lanes               prints the output of each lane whole, in the order in which they were begun, and adds up their counts
#
# What a lane may call:
#
#   must NAME COMMAND…      a check without which there is nothing to test: where it fails, the lane ends
#   check NAME COMMAND…     one test that is a command; of one that passes only the lines "note …" are shown
#   suite NAME COMMAND…     a GoogleTest program; its tests are counted one by one
#
# A lane has logs and counters of its own, build/lanes/NAME.*. One that ends without its counts has failed.
lanes=() lane_processes=()
passed=0 failed=0 skipped=0

# Tests that may be skipped, by their names. Any other that skips has failed: this machine could have run it.
may_skip=(
  Registration.TheLastArchitectureToGoTakesTheSharedProgIdAlong # a system with one architecture
)
# The same where nobody may mount the disks of tools/test-disks.sh.
need_disks=('*FullDisk*' '*DiskThatFillsUp*' '*.ThatIsFullIsTold' 'Floppy.*')

add() { passed=$((passed + $1)) failed=$((failed + $2)) skipped=$((skipped + $3)); }
count() { echo "$passed $failed $skipped" >"$log.count"; }
took() { printf '%6d  %-6s  %s\n' $(($(date +%s) - $1)) "$lane" "$2" >>"$log.times"; } # BEGAN WHAT

begin_lane() {
  local lane=$1 log=build/lanes/$1
  : >"$log.log"
  (
    began=$(date +%s)
    . "tests/$lane.sh"
    took "$began" "all of it"
    count
  ) >>"$log.log" 2>&1 </dev/null &
  lanes+=("$lane") lane_processes+=($!)
}

end_lanes() {
  local i counts
  for i in "${!lanes[@]}"; do
    echo "=== ${lanes[i]}"
    tail -n +1 -f --pid="${lane_processes[i]}" "build/lanes/${lanes[i]}.log" &
    wait $! "${lane_processes[i]}"
    counts=$(cat "build/lanes/${lanes[i]}.count" 2>/dev/null) ||
      { counts='0 1 0'; echo "FAILED  ${lanes[i]} ended without its counts"; }
    add $counts
  done
  echo "=== seconds"
  awk '$1 >= 5' build/lanes/*.times
}

# For a test run that is stopped: the processes of the lanes, with all that they began.
stop_lanes() {
  local process
  for process; do
    stop_lanes $(pgrep -P "$process")
    kill "$process" 2>/dev/null
  done
}

check() {
  local name=$1 began; shift
  began=$(date +%s)
  if "$@" >"$log.check" 2>&1; then
    echo "ok      $name"; sed -n 's/^note /        /p' "$log.check"; add 1 0 0
  else
    cat "$log.check"; echo "FAILED  $name"; add 0 1 0
  fi
  took "$began" "$name"
}

must() {
  local before=$failed
  check "$@"
  [ "$failed" -eq "$before" ] || { count; exit 1; }
}

# gtest FILTER COMMAND…: runs a GoogleTest program. Sets ran (empty when the program did not finish), ok and status, and the names of
# the tests that failed and that were skipped.
gtest() {
  local pattern=$1; shift
  local out=$log.suite
  status=0
  rm -f "$out" # what is left of the program before may still have it open
  "$@" --gtest_filter="$pattern" >"$out" 2>&1 || status=$?
  sed -i 's/\r$//' "$out"
  grep -av '^\[ RUN  \|^\[       OK\|^\[  PASSED\|^\[==========\|^\[----------\|^$\|^Note: Google Test\|^Running main' "$out"
  ran=$(sed -n 's/^\[==========\] \([0-9]*\) tests\{0,1\} from .* ran.*/\1/p' "$out" | tail -1)
  ok=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) tests\{0,1\}\..*/\1/p' "$out" | tail -1)
  ok=${ok:-0}
  failures=$(sed -n 's/^\[  FAILED  \] \([^ ,]*\).*(.* ms)$/\1/p' "$out" | sort -u)
  skips=$(sed -n 's/^\[  SKIPPED \] \([^ ,]*\).*(.* ms)$/\1/p' "$out" | sort -u)
}

is_allowed() { # NAME PATTERN…
  local name=$1 pattern; shift
  for pattern; do [[ $name != $pattern ]] || return 0; done
  return 1
}

# Tests of windows share the display, its mouse and its keyboard with whatever else the machine does. Of `windows=yes` up to
# three that failed are run once more, alone; the output names those that pass then.
suite() {
  local name=$1 ran ok status failures skips began again missed=0; shift
  began=$(date +%s)
  echo "== $name"
  gtest "$filter" "$@"
  took "$began" "$name"
  [ -n "$ran" ] || { echo "FAILED  $name did not finish (exit status $status)"; add 0 1 0; return; }
  for again in $skips; do
    if is_allowed "$again" "${may_skip[@]}"; then
      missed=$((missed + 1))
    else
      echo "FAILED  $again was skipped, and this machine can run it"
    fi
  done
  again=$failures
  if [ "${windows:-no}" = yes ] && [ -n "$again" ] && [ "$(wc -l <<<"$again")" -le 3 ]; then
    local first_ran=$ran first_ok=$ok
    gtest "$(paste -sd: <<<"$again")" "$@"
    [ "${ran:-0}" -ne "$ok" ] || echo "note    failed at first, passed when run again alone: $(paste -sd' ' <<<"$again")"
    ok=$((first_ok + ok)) ran=$first_ran
  fi
  add "$ok" $((ran - ok - missed)) "$missed"
  if [ "$status" -ne 0 ] && [ "$((ran - ok - missed))" -eq 0 ]; then
    echo "FAILED  $name ended with status $status"; add 0 1 0
  fi
  echo "        $ok of $ran passed, $missed skipped"
}
