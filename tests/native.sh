# A lane of test.sh: what needs no Windows. It takes the processors that the others leave.
renice -n 10 "$BASHPID" >/dev/null

build_native() {
  cmake --preset native && cmake --build --preset native && cmake --preset fuzz && cmake --build --preset fuzz
}
check "sources are formatted" tools/check-format.sh
check "includes point downwards" tools/check-includes.sh
must "the native part is built, and its fuzz targets" build_native
tools/coverage.py build/native --reset
suite "logic, natively under the sanitizers" env LOCPATH="$BUILD/locale" build/native/qev_logic_tests
[ "$filter" != '*' ] || tools/coverage.py build/native
check "clang-tidy finds nothing in the native part" tools/check-tidy.sh
if [ "$filter" = '*' ]; then
  echo "== fuzz targets, a minute each"
  tests/fuzz/run.sh 60 | grep -a ' inputs, '
  for target in tests/fuzz/?*Fuzz.cpp; do
    target=$(basename "$target" Fuzz.cpp)
    check "fuzz target $target" tests/fuzz/run.sh --report "$target"
  done
fi
