# One libFuzzer program for each source file of fuzz/: fuzz/NAME.cpp becomes fuzz/NAME. CTest replays the corpus
# fuzz/corpus/NAME, then searches on from it for a while; an input that fails is left in the folder findings/ of the
# build folder. fuzz/NAME.dict, where it is, names the words of the format.
set(ORVANE_FUZZ_SECONDS 10 CACHE STRING "How long CTest searches with each fuzz target")
# The same seed and corpus give the same inputs in the same order, so that a slower machine sees a part of what a
# faster one has seen. New ground is for scripts/fuzz.
set(ORVANE_FUZZ_SEED 1 CACHE STRING "Seed of CTest's searches; 0 draws one each time")

file(GLOB targets CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/fuzz/*.cpp)
# What an input may take, here and in scripts/fuzz.
file(STRINGS ${CMAKE_SOURCE_DIR}/fuzz/limits.txt limits)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/fuzz/limits.txt)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/findings)
foreach(source ${targets})
  cmake_path(GET source STEM name)
  add_executable(${name} ${source})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/fuzz ${CMAKE_SOURCE_DIR}/tests)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${name} PRIVATE orvane_driver orvane_tool)

  set(corpus ${CMAKE_SOURCE_DIR}/fuzz/corpus/${name})
  # As a list of files: the search would write what it finds into a folder.
  file(GLOB inputs CONFIGURE_DEPENDS ${corpus}/*)
  list(JOIN inputs "," inputs)
  file(WRITE ${CMAKE_BINARY_DIR}/corpora/${name} "${inputs}")
  set(options -artifact_prefix=${CMAKE_BINARY_DIR}/findings/${name}- ${limits})
  if(EXISTS ${CMAKE_SOURCE_DIR}/fuzz/${name}.dict)
    list(APPEND options -dict=${CMAKE_SOURCE_DIR}/fuzz/${name}.dict)
  endif()
  add_test(NAME ${name}_replay COMMAND ${name} ${options} -runs=0 ${corpus})
  add_test(NAME ${name}_search
           COMMAND ${name} ${options} -seed=${ORVANE_FUZZ_SEED} -max_total_time=${ORVANE_FUZZ_SECONDS}
                   -seed_inputs=@${CMAKE_BINARY_DIR}/corpora/${name})
endforeach()

# Writes the corpora anew: fuzz/make_corpora FOLDER.
add_executable(make_corpora EXCLUDE_FROM_ALL ${CMAKE_SOURCE_DIR}/fuzz/corpora/make_corpora.cpp)
set_target_properties(make_corpora PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
target_include_directories(make_corpora PRIVATE ${CMAKE_SOURCE_DIR}/fuzz ${CMAKE_SOURCE_DIR}/tests)
target_link_libraries(make_corpora PRIVATE orvane_driver orvane_tool)
