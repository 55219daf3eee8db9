# Fuzz targets: the readers of what others write, under libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer.
# Needs clang. tests/fuzz/Fuzz.h tells how to run them.
add_compile_options(-O2 -g)
set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
target_compile_options(qev_logic PRIVATE -O2 -g -fsanitize=fuzzer-no-link ${sanitizers})

add_library(qev_fuzz STATIC
  tests/fuzz/Fuzz.cpp
  tests/support/FakeFiles.cpp
  tests/support/FakePlatform.cpp
  tests/support/MemoryPeak.cpp
  tests/support/SpanishLocale.cpp
  tests/support/ZipWriter.cpp)
target_include_directories(qev_fuzz PUBLIC tests)
target_compile_options(qev_fuzz PUBLIC ${sanitizers})
target_link_libraries(qev_fuzz PUBLIC qev_logic gtest)
qev_strict(qev_fuzz)

foreach(name Runs SetHeader ListingLines MGeneral ZipDirectory)
  add_executable(${name}Fuzz tests/fuzz/${name}Fuzz.cpp)
  target_link_libraries(${name}Fuzz qev_fuzz)
  target_link_options(${name}Fuzz PRIVATE -fsanitize=fuzzer,address,undefined)
  qev_strict_tests(${name}Fuzz)
endforeach()
