# A lane of test.sh: the library as 32-bit programs, which tools/in-i386.sh runs. A machine that cannot run them says why, and that is
# no failure. The dialogs at other scales, the demonstration, the Python reader and the lines of the guide run in 64 bits only: the width
# of a pointer changes nothing in them.
prepare_x86() { tools/install.sh x86 && nice tools/make-i386.sh; }
run_x86() { tools/in-i386.sh "$@"; }

must "the 32-bit programs are built" nice cmake --build --preset x86
if prepare_x86 >"$log.prepare" 2>&1; then
  windows=yes suite "library, 32-bit" run_x86 --disks on_display tools/run-win.sh build/x86/qev_tests.exe
  suite "engines, 32-bit" run_x86 --disks on_display tools/run-win.sh build/x86/EngineTest.exe
  check "archives read back by 7-Zip and Python, 32-bit" \
    run_x86 on_display env WINE=/project/tools/run-win.sh tests/engine/check_archives.sh build/x86
  windows=yes suite "automation object, early bound, 32-bit" run_x86 --disks on_display tools/run-win.sh build/x86/qev_host_tests.exe
  check "regsvr32 registers the library, 32-bit" run_x86 win regsvr32 /s 'Z:\project\dist\x86\QevBackup.dll'
  check "VBScript host, late bound, 32-bit" run_x86 on_display tests/hosts/run-script.sh tests/hosts/late-bound.vbs
  check "JScript host, late bound, 32-bit" run_x86 on_display tests/hosts/run-script.sh tests/hosts/late-bound.js
  check "VBScript host, dialogs filled in and answered, 32-bit" run_x86 on_display tests/hosts/drive-forms.sh
  check "sample hosts in JScript and C++, 32-bit" run_x86 on_display tests/hosts/sample-hosts.sh
  check "regsvr32 unregisters the library, 32-bit" run_x86 win regsvr32 /s /u 'Z:\project\dist\x86\QevBackup.dll'
  check "a host uses the library without registration, 32-bit" run_x86 on_display tests/release/sidebyside.sh
  check "the set-up installs, and uninstalls without a trace, 32-bit" run_x86 on_display tests/release/set-up.sh
else
  echo "skipped: 32-bit programs: $(grep -v '^$' "$log.prepare" | tail -1)"
fi
