# The command-line tool: its sources but main.cpp as a library that its tests link too, and the program. The program
# is a host of the driver: it reaches the codec through the exports of the shared library alone.
include(cmake/third_party.cmake)
file(GLOB tool_sources CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/tools/orvane/*.cpp ${CMAKE_SOURCE_DIR}/tools/orvane/*/*.cpp)
list(FILTER tool_sources EXCLUDE REGEX "/main\\.cpp$")
if(NOT tool_sources)
  return()
endif()
add_library(orvane_tool STATIC ${tool_sources})
if(NOT ORVANE_SANITIZE)
  # Hashes keep their sums in registers for it: a third less instructions.
  set_property(SOURCE ${CMAKE_SOURCE_DIR}/tools/orvane/files/content_hash.cpp APPEND PROPERTY COMPILE_OPTIONS -O3)
endif()
target_compile_definitions(orvane_tool PRIVATE _GLIBCXX_ASSERTIONS) # it has time to check every index
target_include_directories(orvane_tool PUBLIC ${CMAKE_SOURCE_DIR}/tools/orvane)
target_link_libraries(orvane_tool PUBLIC
  orvane_options orvane_third_party orvane_platform orvane_settings orvane_entropy)
foreach(folder . commands drawing files host)
  orvane_headers(tool_${folder} ${CMAKE_SOURCE_DIR}/tools/orvane ${folder} USES orvane_tool)
endforeach()

if(TARGET orvane_library AND EXISTS ${CMAKE_SOURCE_DIR}/tools/orvane/main.cpp)
  add_executable(orvane_program ${CMAKE_SOURCE_DIR}/tools/orvane/main.cpp)
  # One path from the start: where CMake means to change it later, it ends the first one in an empty element, which
  # stands for the current folder.
  set_target_properties(orvane_program PROPERTIES OUTPUT_NAME orvane BUILD_WITH_INSTALL_RPATH ON
                                                  INSTALL_RPATH "$ORIGIN")
  target_link_libraries(orvane_program PRIVATE orvane_tool orvane_library)
endif()
