# Benchmarks, in build/<preset>/bench. Built only when asked for.

# orvane_bench, from bench/*.cpp: single stages, by Google Benchmark.
if(ORVANE_BENCH)
  find_package(benchmark REQUIRED)
  file(GLOB bench_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/bench/*.cpp)
  add_executable(orvane_bench EXCLUDE_FROM_ALL ${bench_sources})
  set_target_properties(orvane_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
  target_include_directories(orvane_bench PRIVATE ${CMAKE_SOURCE_DIR}/bench)
  target_link_libraries(orvane_bench PRIVATE
    orvane_options orvane_driver orvane_core benchmark::benchmark benchmark::benchmark_main)
endif()

# orvane_codec_bench, from bench/codec: the driver as a whole, on every system. It loads the driver when it runs.
if(WIN32)
  set(bench_system windows)
else()
  set(bench_system posix)
endif()
file(GLOB codec_bench_sources CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/bench/codec/*.cpp ${CMAKE_SOURCE_DIR}/bench/codec/${bench_system}/*.cpp)
add_executable(orvane_codec_bench EXCLUDE_FROM_ALL
  ${codec_bench_sources} ${CMAKE_SOURCE_DIR}/bench/codec/peers/peer.cpp)
set_target_properties(orvane_codec_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
target_include_directories(orvane_codec_bench PRIVATE ${CMAKE_SOURCE_DIR}/bench)
# Of the tool it takes a host's parts and the readers of pictures.
target_link_libraries(orvane_codec_bench PRIVATE
  orvane_options orvane_third_party orvane_tool orvane_core orvane_settings orvane_platform ${CMAKE_DL_LIBS})
add_dependencies(orvane_codec_bench orvane_library)

# Other codecs to compare with, each where its library is there (scripts/setup --bench); nothing else uses them.
# orvane_bench_peer(NAME HEADER): bench/codec/peers/peer_NAME.cpp with the library NAME.
function(orvane_bench_peer name header)
  find_path(ORVANE_PEER_${name}_INCLUDE ${header})
  find_library(ORVANE_PEER_${name}_LIBRARY ${name})
  mark_as_advanced(ORVANE_PEER_${name}_INCLUDE ORVANE_PEER_${name}_LIBRARY)
  if(ORVANE_PEER_${name}_INCLUDE AND ORVANE_PEER_${name}_LIBRARY)
    target_sources(orvane_codec_bench PRIVATE ${CMAKE_SOURCE_DIR}/bench/codec/peers/peer_${name}.cpp)
    target_include_directories(orvane_codec_bench SYSTEM PRIVATE ${ORVANE_PEER_${name}_INCLUDE})
    target_link_libraries(orvane_codec_bench PRIVATE ${ORVANE_PEER_${name}_LIBRARY})
  endif()
endfunction()
if(ORVANE_BENCH)
  orvane_bench_peer(zstd zstd.h)
  orvane_bench_peer(lz4 lz4.h)
  orvane_bench_peer(charls charls/charls.h)
  orvane_bench_peer(jxl jxl/encode.h)
  orvane_bench_peer(x264 x264.h)
endif()

# orvane_bench_report, from bench/report: tables and plots of docs/performance.md.
if(ORVANE_BENCH)
  file(GLOB bench_report_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/bench/report/*.cpp)
  add_executable(orvane_bench_report EXCLUDE_FROM_ALL ${bench_report_sources})
  set_target_properties(orvane_bench_report PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
  target_include_directories(orvane_bench_report PRIVATE ${CMAKE_SOURCE_DIR}/bench)
  target_link_libraries(orvane_bench_report PRIVATE orvane_options orvane_third_party)
  target_compile_definitions(orvane_bench_report PRIVATE
    ORVANE_BENCH_COMPILER="${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}, ${CMAKE_CXX_FLAGS_RELEASE} -msse2")
endif()
