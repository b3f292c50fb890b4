# One libFuzzer program for each source file of fuzz/: fuzz/NAME.cpp becomes fuzz/NAME, and fuzz/support/*.cpp
# is linked to all. CTest replays the corpus fuzz/corpus/NAME, then searches on from it for a while; inputs found
# are kept in the build folder, and one that fails is left in its folder artifacts/.
set(ORVANE_FUZZ_SECONDS 10 CACHE STRING "How long CTest searches with each fuzz target")

file(GLOB targets CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/fuzz/*.cpp)
file(GLOB support CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/fuzz/support/*.cpp)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/artifacts)
foreach(source ${targets})
  cmake_path(GET source STEM name)
  add_executable(${name} ${source} ${support})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/fuzz ${CMAKE_SOURCE_DIR}/tests)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${name} PRIVATE orvane_driver)
  if(TARGET orvane_tool)
    target_link_libraries(${name} PRIVATE orvane_tool)
  endif()

  set(corpus ${CMAKE_SOURCE_DIR}/fuzz/corpus/${name})
  if(NOT EXISTS ${corpus})
    set(corpus "")
  endif()
  set(found ${CMAKE_BINARY_DIR}/found/${name})
  file(MAKE_DIRECTORY ${found})
  set(options -artifact_prefix=${CMAKE_BINARY_DIR}/artifacts/${name}- -rss_limit_mb=4096 -timeout=60)
  if(corpus)
    add_test(NAME ${name}_replay COMMAND ${name} ${options} -runs=0 ${corpus})
  endif()
  add_test(NAME ${name}_search
           COMMAND ${name} ${options} -max_total_time=${ORVANE_FUZZ_SECONDS} ${found} ${corpus})
endforeach()
