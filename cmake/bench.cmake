# Benchmarks, in build/<preset>/bench. Built only when asked for.

# orvane_bench, from bench/*.cpp: single stages, by Google Benchmark.
find_package(benchmark REQUIRED)
file(GLOB bench_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/bench/*.cpp)
if(bench_sources)
  add_executable(orvane_bench EXCLUDE_FROM_ALL ${bench_sources})
  set_target_properties(orvane_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
  target_include_directories(orvane_bench PRIVATE ${CMAKE_SOURCE_DIR}/bench)
  target_link_libraries(orvane_bench PRIVATE orvane_options orvane_driver orvane_core benchmark::benchmark benchmark::benchmark_main)
endif()

# orvane_codec_bench, from bench/codec: the driver as a whole. It loads the driver when it runs.
if(WIN32)
  set(bench_system windows)
else()
  set(bench_system posix)
endif()
file(GLOB codec_bench_sources CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/bench/codec/*.cpp ${CMAKE_SOURCE_DIR}/bench/codec/${bench_system}/*.cpp)
add_executable(orvane_codec_bench EXCLUDE_FROM_ALL ${codec_bench_sources})
set_target_properties(orvane_codec_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
target_include_directories(orvane_codec_bench PRIVATE ${CMAKE_SOURCE_DIR}/bench)
target_link_libraries(orvane_codec_bench PRIVATE orvane_tool ${CMAKE_DL_LIBS})
add_dependencies(orvane_codec_bench orvane_library)
