# The driver: orvane.dll on Windows, liborvane.so elsewhere. Exports exactly what packaging/orvane.def (Windows)
# and packaging/orvane.map (ELF) name.
if(NOT EXISTS ${CMAKE_SOURCE_DIR}/src/driver/exports.cpp)
  return()
endif()
add_library(orvane_library SHARED ${CMAKE_SOURCE_DIR}/src/driver/exports.cpp)
# The exports are the only visible symbols of all: the list of exports can only take visibility away.
set_target_properties(orvane_library PROPERTIES OUTPUT_NAME orvane CXX_VISIBILITY_PRESET default)
target_link_libraries(orvane_library PRIVATE orvane_driver)
orvane_include_root(orvane_library INTERFACE exports driver/exports.h) # all that others include of the driver
if(WIN32)
  enable_language(RC)
  include(cmake/icons.cmake)
  set_target_properties(orvane_library PROPERTIES PREFIX "" IMPORT_PREFIX "")
  file(GLOB resources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/packaging/windows/*.rc)
  configure_file(${CMAKE_SOURCE_DIR}/packaging/windows/version.rc.in ${CMAKE_BINARY_DIR}/version.rc @ONLY)
  target_sources(orvane_library PRIVATE
    ${CMAKE_SOURCE_DIR}/src/driver/windows/library_entry.cpp ${CMAKE_SOURCE_DIR}/packaging/orvane.def ${resources}
    ${CMAKE_BINARY_DIR}/version.rc)
else()
  # Pool threads are joined, but a host may unload us while a thread is on its way out: the code stays.
  target_link_options(orvane_library PRIVATE
    -Wl,-z,nodelete -Wl,--version-script=${CMAKE_SOURCE_DIR}/packaging/orvane.map)
  if(NOT ORVANE_SANITIZE) # clang leaves the sanitizers' own functions to the program
    target_link_options(orvane_library PRIVATE -Wl,-z,defs)
  endif()
  set_target_properties(orvane_library PROPERTIES LINK_DEPENDS ${CMAKE_SOURCE_DIR}/packaging/orvane.map)
endif()
