# Programs that use the driver as other people's do, through the system's own libraries for video. Their tests hand
# files to the tool of the building system and back, so it is built along.
set(ORVANE_NATIVE_FOLDER ${CMAKE_SOURCE_DIR}/build/native CACHE PATH "Build folder of this system's own tool")
add_custom_target(orvane_native_tool
  COMMAND ${CMAKE_COMMAND} --preset native -B ${ORVANE_NATIVE_FOLDER}
  COMMAND ${CMAKE_COMMAND} --build ${ORVANE_NATIVE_FOLDER} --target orvane_program
  WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
  COMMENT "Building this system's own tool"
  USES_TERMINAL VERBATIM)

orvane_tests(hosts orvane_platform avifil32 msvfw32 gdi32 NEEDS orvane_library orvane_program orvane_native_tool)
target_sources(hosts_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests/driver/windows/process_state.cpp)
target_compile_definitions(hosts_tests PRIVATE ORVANE_NATIVE_TOOL="${ORVANE_NATIVE_FOLDER}/orvane")

# The host of scripts/demo; built only when asked for.
add_executable(orvane_demo_host EXCLUDE_FROM_ALL ${CMAKE_SOURCE_DIR}/tests/hosts/demo/demo_host.cpp)
target_include_directories(orvane_demo_host PRIVATE ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(orvane_demo_host PRIVATE orvane_platform avifil32 msvfw32)
