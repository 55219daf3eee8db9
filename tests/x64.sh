# A lane of test.sh: the programs for 64-bit Windows, in the project's own Wine prefix.
must "the 64-bit programs are built" cmake --build --preset x64
must "the Wine prefix is made" make_prefix
check "dist holds both architectures" ls dist/{x64,x86}/{QevBackup.dll,VANTO5.DLL,VANTO6.DLL}
tools/test-disks.sh || may_skip+=("${need_disks[@]}")
windows=yes suite "library" on_display tools/run-win.sh build/x64/qev_tests.exe
if [ "$filter" = '*' ]; then
  for percent in 125 150 200; do
    filter='*AtThisScale.*' windows=yes suite "dialogs at $percent percent" \
      tools/at-scale.sh "$percent" tools/run-win.sh build/x64/qev_tests.exe
  done
fi
suite "engines" on_display tools/run-win.sh build/x64/EngineTest.exe
check "archives read back by 7-Zip and Python" on_display env WINE="$PWD/tools/run-win.sh" tests/engine/check_archives.sh build/x64
windows=yes suite "automation object, early bound" on_display tools/run-win.sh build/x64/qev_host_tests.exe
tools/test-disks.sh --undo || true

mkdir -p "$DRIVE_C/QevBackup" && cp dist/x64/* "$DRIVE_C/QevBackup/"
check "regsvr32 registers the library" win regsvr32 /s 'C:\QevBackup\QevBackup.dll'
check "VBScript host, late bound" on_display tests/hosts/run-script.sh tests/hosts/late-bound.vbs
check "JScript host, late bound" on_display tests/hosts/run-script.sh tests/hosts/late-bound.js
check "VBScript host, dialogs filled in and answered" on_display tests/hosts/drive-forms.sh
check "the demonstration" ./demo.sh
check "sets are read by the Python reader in docs" on_display tests/hosts/read-sets.sh
check "the lines of the guide run as they stand" on_display tests/hosts/guide-lines.sh
check "sample hosts in JScript and C++" on_display tests/hosts/sample-hosts.sh
check "regsvr32 unregisters the library" win regsvr32 /s /u 'C:\QevBackup\QevBackup.dll'
check "a host uses the library without registration" on_display tests/release/sidebyside.sh
check "the set-up installs, and uninstalls without a trace" on_display tests/release/set-up.sh
if [ $large = yes ]; then
  for what in '*LoadedModule.*' LoadedLibrary.Backups* LoadedLibrary.Restores* LoadedLibrary.Dialogs*; do
    check "a thousand rounds pile nothing up: $what" on_display env QEV_ROUNDS=1000 QEV_TEST_SECONDS=1100 \
      tools/run-win.sh build/x64/qev_host_tests.exe --gtest_filter="$what"
  done
fi
if [ $large = yes ]; then
  check "a thousand backups killed at any moment" on_display env QEV_ROUNDS=1000 \
    tools/run-win.sh build/x64/qev_tests.exe --gtest_filter='KilledBackup.AtAnyMoment*'
  check "two programs with one target, a hundred rounds" on_display env QEV_ROUNDS=100 \
    tools/run-win.sh build/x64/qev_tests.exe --gtest_filter='BusyData.OfTwoPrograms*'
fi
[ $large = no ] || check "4.5 GiB and 70,000 files, backed up and restored" bench/run.sh --quick --large
