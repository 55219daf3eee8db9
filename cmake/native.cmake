# The logic and its tests under AddressSanitizer and UndefinedBehaviorSanitizer. Which lines of the logic have run is counted
# (tools/coverage.py).
add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -g)
add_link_options(-fsanitize=address,undefined)
target_compile_options(qev_logic PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=all -g --coverage)
target_link_options(qev_logic INTERFACE --coverage)

add_executable(qev_logic_tests
  tests/platform/ClockTest.cpp
  tests/platform/FileSystemContractTest.cpp
  tests/platform/LocaleContractTest.cpp
  tests/platform/PathsTest.cpp
  tests/platform/RegistryContractTest.cpp
  tests/platform/ValueTest.cpp
  tests/settings/SettingsStoreTest.cpp
  tests/set/SetFileTest.cpp
  tests/set/SetHeaderTest.cpp
  tests/set/VolumesTest.cpp
  tests/set/WholeSetTest.cpp
  tests/schedule/CalcularProximaCopiaTest.cpp
  tests/schedule/ScheduleTest.cpp
  tests/backup/ArchiveProgressTest.cpp
  tests/backup/CCopiasTest.cpp
  tests/backup/DiskCopyTest.cpp
  tests/backup/HacerCopiaTest.cpp
  tests/backup/OutcomesTest.cpp
  tests/backup/SafeModeTest.cpp
  tests/record/BegunRunTest.cpp
  tests/record/RunRecordTest.cpp
  tests/restore/RestaurarCopiaTest.cpp
  tests/values/ListTableTest.cpp
  tests/values/MGeneralTest.cpp
  tests/zip/EngineLinesTest.cpp
  tests/zip/EngineRemarksTest.cpp
  tests/zip/ListingLinesTest.cpp
  tests/zip/UnpackProgressTest.cpp
  tests/zip/ZipDirectoryTest.cpp
  tests/support/FakeFiles.cpp
  tests/support/FakePlatform.cpp
  tests/support/MemoryPeak.cpp
  tests/support/SpanishLocale.cpp
  tests/support/ZipWriter.cpp)
target_include_directories(qev_logic_tests PRIVATE tests)
target_link_libraries(qev_logic_tests qev_logic gmock_main)
qev_strict_tests(qev_logic_tests)
add_test(NAME logic COMMAND qev_logic_tests)
