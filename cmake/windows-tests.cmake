# Tests that run on Windows: the logic with the real conversions, the system seams, the controls and windows, the engine, and the
# automation object through COM.
file(GLOB test_sources CONFIGURE_DEPENDS
  tests/platform/*Test.cpp tests/record/*Test.cpp tests/settings/*Test.cpp tests/set/*Test.cpp tests/schedule/*Test.cpp tests/backup/*Test.cpp tests/zip/*Test.cpp
  tests/controls/*Test.cpp tests/values/*Test.cpp tests/restore/*Test.cpp tests/windows/*Test.cpp tests/resources/*Test.cpp tests/support/*.cpp)
add_executable(qev_tests ${test_sources} ${resources})
target_include_directories(qev_tests PRIVATE tests)
target_link_libraries(qev_tests PRIVATE qev_windows gmock_main gdiplus psapi)
qev_strict_tests(qev_tests)

# Archives of other programs, for the tests that read them.
set(archives ${CMAKE_BINARY_DIR}/archives)
add_custom_command(
  OUTPUT ${archives}/made
  COMMAND python3 ${CMAKE_SOURCE_DIR}/tests/archives/make_archives.py ${archives}
  COMMAND ${CMAKE_COMMAND} -E touch ${archives}/made
  DEPENDS tests/archives/make_archives.py VERBATIM)
add_custom_target(qev_archives DEPENDS ${archives}/made)
add_dependencies(qev_tests VANTO5 VANTO6 qev_archives)

file(GLOB host_test_sources CONFIGURE_DEPENDS tests/hosts/*Test.cpp)
if(host_test_sources)
  add_executable(qev_host_tests ${host_test_sources} tests/support/ProcessUse.cpp tests/support/Watchdog.cpp)
  target_include_directories(qev_host_tests PRIVATE tests src ${generated})
  target_link_libraries(qev_host_tests PRIVATE qev_windows gmock_main ole32 oleaut32 psapi uuid)
  qev_strict_tests(qev_host_tests)
  add_dependencies(qev_host_tests QevBackup VANTO5 VANTO6)
endif()

add_executable(EngineTest
  tests/engine/EngineFixture.cpp tests/engine/EngineTest.cpp tests/engine/Imports.cpp tests/support/ProcessUse.cpp
  tests/engine/LayoutTest.cpp tests/engine/UnzipEngineTest.cpp tests/engine/UnzipFixture.cpp tests/engine/UnzipPasswordTest.cpp tests/engine/UnzipSafetyTest.cpp
  tests/engine/ZipDataTest.cpp
  tests/support/ZipWriter.cpp)
target_include_directories(EngineTest PRIVATE engine tests)
target_link_libraries(EngineTest PRIVATE gmock_main psapi)
qev_strict_tests(EngineTest)
add_dependencies(EngineTest VANTO5 VANTO6)

add_executable(BareEngine bench/BareEngine.cpp)
target_include_directories(BareEngine PRIVATE engine)
qev_strict(BareEngine)

add_executable(HostBackup bench/HostBackup.cpp)
target_include_directories(HostBackup PRIVATE ${generated})
target_link_libraries(HostBackup PRIVATE ole32 oleaut32 uuid psapi)
target_link_options(HostBackup PRIVATE -municode)
qev_strict(HostBackup)
add_dependencies(HostBackup qev_generated)

add_executable(HostRestore bench/HostRestore.cpp ${resources})
target_link_libraries(HostRestore PRIVATE qev_windows psapi)
target_link_options(HostRestore PRIVATE -municode)
qev_strict(HostRestore)

# Tests are compiled as fast as can be: what they test is optimised, they need not be.
foreach(test_program qev_tests qev_host_tests EngineTest gtest gmock gmock_main)
  if(TARGET ${test_program})
    target_compile_options(${test_program} PRIVATE -O0)
  endif()
endforeach()

add_executable(hold-file tests/release/HoldFile.cpp)
target_link_options(hold-file PRIVATE -municode)
qev_strict(hold-file)
