# What is delivered: the version in every resource script, and the same bytes from the same sources.

configure_file(src/resources/QevVersion.h.in ${CMAKE_BINARY_DIR}/generated/QevVersion.h @ONLY)

# qev_reproducible(TARGET…): neither the folder of the build nor its time gets into the targets.
function(qev_reproducible)
  foreach(target ${ARGN})
    target_compile_options(${target} PRIVATE
      $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${CMAKE_BINARY_DIR}=build>
      $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${QEV_ENGINE_SOURCES}=engine-src>
      $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.>)
    target_link_options(${target} PRIVATE -s -Wl,--no-insert-timestamp)
  endforeach()
endfunction()

# The description of the library for programs that use it without registration.
set(QEV_PROCESSOR x86)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(QEV_PROCESSOR amd64)
endif()
configure_file(src/automation/QevBackup.X.manifest.in ${CMAKE_BINARY_DIR}/QevBackup.X.manifest @ONLY)
