# orvane-setup.exe, the installer for Windows: the driver and the tool without their symbols, by NSIS.
find_program(ORVANE_MAKENSIS makensis NO_CMAKE_FIND_ROOT_PATH DOC "NSIS, the compiler of installers")
if(NOT ORVANE_MAKENSIS OR NOT TARGET orvane_program)
  message(STATUS "There is no makensis: orvane-setup.exe is not built (scripts/setup installs it)")
  return()
endif()

set(installer ${CMAKE_BINARY_DIR}/orvane-setup.exe)
set(contents ${CMAKE_BINARY_DIR}/installer)
file(MAKE_DIRECTORY ${contents})
add_custom_command(
  OUTPUT ${installer}
  COMMAND ${CMAKE_STRIP} -o ${contents}/orvane.dll $<TARGET_FILE:orvane_library>
  COMMAND ${CMAKE_STRIP} -o ${contents}/orvane.exe $<TARGET_FILE:orvane_program>
  COMMAND ${ORVANE_MAKENSIS} -V2 -WX -DVERSION=${PROJECT_VERSION} -DDRIVER=${contents}/orvane.dll
          -DTOOL=${contents}/orvane.exe -DNOTICES=${CMAKE_SOURCE_DIR}/THIRD-PARTY-NOTICES.txt
          -DICON=${icons}/compressing.ico -DOUTPUT=${installer}
          ${CMAKE_SOURCE_DIR}/packaging/windows/orvane.nsi
  DEPENDS orvane_library orvane_program ${CMAKE_SOURCE_DIR}/packaging/windows/orvane.nsi
          ${CMAKE_SOURCE_DIR}/THIRD-PARTY-NOTICES.txt
  COMMENT "Packing orvane-setup.exe"
  VERBATIM)
add_custom_target(orvane_installer ALL DEPENDS ${installer})

# Installs it under Wine, in a Windows that is made anew each time.
orvane_tests(installer orvane_settings msvfw32 NEEDS orvane_installer)
set_target_properties(installer_tests PROPERTIES CROSSCOMPILING_EMULATOR
  "${CMAKE_SOURCE_DIR}/scripts/run-wine;--fresh;${CMAKE_BINARY_DIR}/wine-installer")
target_sources(installer_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests/hosts/codec_handle.cpp)
target_compile_definitions(installer_tests PRIVATE ORVANE_VERSION="${PROJECT_VERSION}")
