# The icons of the library are drawn when it is built: a small program, compiled for the building machine even when
# the library is for another, writes them to build/<preset>/icons.
find_program(ORVANE_HOST_CXX NAMES g++ clang++ c++ REQUIRED NO_CMAKE_FIND_ROOT_PATH
             DOC "Compiler for programs that run while building")
set(icons ${CMAKE_BINARY_DIR}/icons)
set(icon_files ${icons}/compressing.ico ${icons}/decompressing.ico)
file(MAKE_DIRECTORY ${icons})
add_custom_command(
  OUTPUT ${icon_files}
  COMMAND ${ORVANE_HOST_CXX} -std=c++20 -O1 -o ${icons}/draw_icons ${CMAKE_SOURCE_DIR}/packaging/windows/draw_icons.cpp
  COMMAND ${icons}/draw_icons ${icons}
  DEPENDS ${CMAKE_SOURCE_DIR}/packaging/windows/draw_icons.cpp
  COMMENT "Drawing icons"
  VERBATIM)
configure_file(${CMAKE_SOURCE_DIR}/packaging/windows/orvane.manifest.in ${icons}/orvane.manifest @ONLY)
set_source_files_properties(${CMAKE_SOURCE_DIR}/packaging/windows/icons.rc PROPERTIES
  INCLUDE_DIRECTORIES ${icons}
  OBJECT_DEPENDS "${icon_files};${icons}/orvane.manifest")
set_source_files_properties(${CMAKE_SOURCE_DIR}/packaging/windows/dialogs.rc PROPERTIES
  OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/src/surroundings/resource_ids.h)
