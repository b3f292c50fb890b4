# The command-line tool: its sources but main.cpp as a library that its tests link too, and the program. The program
# is a host of the driver: it reaches the codec through the exports of the shared library alone.
include(cmake/third_party.cmake)
file(GLOB tool_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tools/orvane/*.cpp ${CMAKE_SOURCE_DIR}/tools/orvane/*/*.cpp)
list(FILTER tool_sources EXCLUDE REGEX "/main\\.cpp$")
if(NOT tool_sources)
  return()
endif()
add_library(orvane_tool STATIC ${tool_sources})
target_include_directories(orvane_tool PUBLIC ${CMAKE_SOURCE_DIR}/tools/orvane)
target_link_libraries(orvane_tool PUBLIC orvane_options orvane_third_party orvane_platform orvane_settings)

if(TARGET orvane_library AND EXISTS ${CMAKE_SOURCE_DIR}/tools/orvane/main.cpp)
  add_executable(orvane_program ${CMAKE_SOURCE_DIR}/tools/orvane/main.cpp)
  set_target_properties(orvane_program PROPERTIES OUTPUT_NAME orvane BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN")
  target_link_libraries(orvane_program PRIVATE orvane_tool orvane_library)
endif()
