# One benchmark program, build/<preset>/bench/orvane_bench, from all of bench/.
find_package(benchmark REQUIRED)
file(GLOB bench_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/bench/*.cpp)
if(bench_sources)
  add_executable(orvane_bench EXCLUDE_FROM_ALL ${bench_sources})
  set_target_properties(orvane_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
  target_include_directories(orvane_bench PRIVATE ${CMAKE_SOURCE_DIR}/bench)
  target_link_libraries(orvane_bench PRIVATE orvane_options orvane_driver orvane_core benchmark::benchmark benchmark::benchmark_main)
endif()
