# Sample hosts in C++.
function(qev_host name)
  add_executable(${name} ${ARGN})
  target_include_directories(${name} PRIVATE ${generated})
  target_link_libraries(${name} PRIVATE ole32 oleaut32 uuid)
  target_link_options(${name} PRIVATE -municode)
  qev_strict(${name})
  add_dependencies(${name} qev_generated QevBackup VANTO5 VANTO6)
endfunction()

qev_host(gestion hosts/gestion-cpp/gestion.cpp)

# With a folder of its own, in which the library lies as it would beside a program that is delivered with it.
qev_host(sidebyside hosts/sidebyside/sidebyside.cpp hosts/sidebyside/sidebyside.rc)
set_source_files_properties(hosts/sidebyside/sidebyside.rc PROPERTIES
  OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/hosts/sidebyside/sidebyside.manifest)
set_target_properties(sidebyside PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/sidebyside)
add_custom_command(TARGET sidebyside POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:QevBackup> $<TARGET_FILE:VANTO5> $<TARGET_FILE:VANTO6>
          ${CMAKE_BINARY_DIR}/QevBackup.X.manifest ${CMAKE_BINARY_DIR}/sidebyside
  VERBATIM)
