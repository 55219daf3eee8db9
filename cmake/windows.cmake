# The DLL, its tests and the benchmark's programs, for Windows.
add_link_options(-static -static-libgcc -static-libstdc++)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})  # engine, library and tests find one another there

include(cmake/release.cmake)

# The engine's sources call the ANSI functions by their short names: no UNICODE for them.
add_subdirectory(engine)
add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0A00 NOMINMAX)

# Type library and header from the IDL. The compiler takes help texts byte by byte: they must be in the ANSI code page.
set(generated ${CMAKE_BINARY_DIR}/generated)
string(REGEX REPLACE "-gcc.*" "-widl" QEV_WIDL ${CMAKE_C_COMPILER})
set(wine_idl /usr/include/wine/wine/windows CACHE PATH "System IDL files (Debian: libwine-dev)")
set(wine_typelibs /usr/lib/x86_64-linux-gnu/wine/x86_64-windows CACHE PATH "Folder of stdole2.tlb (Debian: libwine)")
add_custom_command(
  OUTPUT ${generated}/QevBackup.tlb ${generated}/IMCBackup.h
  COMMAND ${CMAKE_COMMAND} -E make_directory ${generated}
  COMMAND iconv -f UTF-8 -t CP1252 ${CMAKE_SOURCE_DIR}/src/automation/QevBackup.idl -o ${generated}/QevBackup.idl
  COMMAND ${QEV_WIDL} -t -I${wine_idl} -L${wine_typelibs} -o ${generated}/QevBackup.tlb ${generated}/QevBackup.idl
  COMMAND python3 ${CMAKE_SOURCE_DIR}/tools/settle_typelib.py ${generated}/QevBackup.tlb
  COMMAND ${QEV_WIDL} -h -I${wine_idl} -o ${generated}/IMCBackup.h QevBackup.idl
  DEPENDS src/automation/QevBackup.idl tools/settle_typelib.py
  WORKING_DIRECTORY ${generated} VERBATIM)

# Artwork: bitmaps and icon from the vector sources.
file(GLOB artwork CONFIGURE_DEPENDS src/resources/art/*.svg)
add_custom_command(
  OUTPUT ${generated}/QevBackup.ico
  COMMAND ${CMAKE_SOURCE_DIR}/tools/render-artwork.sh ${generated}
  COMMAND ${CMAKE_COMMAND} -E touch ${generated}/QevBackup.ico
  DEPENDS ${artwork} tools/render-artwork.sh VERBATIM)
add_custom_target(qev_generated DEPENDS ${generated}/QevBackup.tlb ${generated}/IMCBackup.h ${generated}/QevBackup.ico)

# Everything but the DLL's exports, so that tests can link it too.
add_library(qev_windows STATIC
  src/platform/Choosers.cpp
  src/platform/FileSystemWindows.cpp
  src/platform/LocaleWindows.cpp
  src/platform/NewFile.cpp
  src/platform/RegistryWindows.cpp
  src/platform/SystemPlatform.cpp
  src/platform/Variant.cpp
  src/platform/Win32Error.cpp
  src/platform/WithMessages.cpp
  src/zip/DllEngines.cpp
  src/controls/ComboList.cpp
  src/controls/ControlClass.cpp
  src/controls/ControlFont.cpp
  src/controls/DrawBox.cpp
  src/controls/EditBox.cpp
  src/controls/EntryControl.cpp
  src/controls/EntryControlInput.cpp
  src/controls/FieldNames.cpp
  src/controls/FormFields.cpp
  src/controls/HeadingBand.cpp
  src/controls/ModalForm.cpp
  src/controls/Picture.cpp
  src/controls/PropertyBag.cpp
  src/controls/RunWindow.cpp
  src/controls/ToolTips.cpp
  src/controls/UComboBox.cpp
  src/controls/UTextBox.cpp
  src/controls/VisualStyles.cpp
  src/controls/WindowParts.cpp
  src/backup/FBackup.cpp
  src/backup/FCopiar.cpp
  src/restore/FPRestaura.cpp
  src/restore/FRestaurar.cpp
  src/schedule/Backup.cpp)
target_include_directories(qev_windows PUBLIC src . ${generated})
target_link_libraries(qev_windows PUBLIC qev_logic
  comctl32 gdi32 msimg32 ole32 oleaut32 shell32 user32 uuid winmm)
qev_strict(qev_windows)
add_dependencies(qev_windows qev_generated)

set(resources src/resources/QevBackup.rc)
set_source_files_properties(${resources} PROPERTIES
  INCLUDE_DIRECTORIES "${generated};${CMAKE_SOURCE_DIR}/src/resources"
  OBJECT_DEPENDS "${generated}/QevVersion.h;${generated}/QevBackup.ico;${generated}/QevBackup.tlb;${CMAKE_SOURCE_DIR}/src/resources/Backup.rc;${CMAKE_SOURCE_DIR}/src/resources/Backup.properties;${CMAKE_SOURCE_DIR}/src/resources/FBackup.rc;${CMAKE_SOURCE_DIR}/src/resources/FBackup.properties;${CMAKE_SOURCE_DIR}/src/resources/FCopiar.rc;${CMAKE_SOURCE_DIR}/src/resources/FCopiar.properties;${CMAKE_SOURCE_DIR}/src/resources/FPRestaura.rc;${CMAKE_SOURCE_DIR}/src/resources/FPRestaura.properties;${CMAKE_SOURCE_DIR}/src/resources/FRestaurar.rc;${CMAKE_SOURCE_DIR}/src/resources/FRestaurar.properties;${CMAKE_SOURCE_DIR}/src/resources/TextPrompt.rc;${CMAKE_SOURCE_DIR}/src/resources/resource.h;${CMAKE_SOURCE_DIR}/src/resources/VisualStyles.manifest")

add_library(QevBackup SHARED
  src/automation/AutomationEdge.cpp
  src/automation/DllEntry.cpp
  src/automation/Library.cpp
  src/automation/MCBackup.cpp
  src/automation/Registration.cpp
  src/automation/TypeLibrary.cpp
  src/automation/QevBackup.def
  src/platform/ExceptionPool.cpp
  ${resources})
set_source_files_properties(${resources} PROPERTIES COMPILE_DEFINITIONS "QEV_TYPE_LIBRARY=\"QevBackup.tlb\"")
set_target_properties(QevBackup PROPERTIES PREFIX "")
target_link_libraries(QevBackup PRIVATE qev_windows)
target_link_options(QevBackup PRIVATE -Wl,--dynamicbase,--nxcompat,--enable-stdcall-fixup)
qev_strict(QevBackup)
qev_reproducible(qev_logic qev_windows QevBackup VANTO5 VANTO6)

# Uses windows from outside, for the demonstration.
add_executable(form-driver tools/form-driver.cpp)
target_link_options(form-driver PRIVATE -municode)
qev_strict(form-driver)

include(cmake/hosts.cmake)
include(cmake/windows-tests.cmake)
