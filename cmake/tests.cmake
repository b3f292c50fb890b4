# One test program for each folder of tests/: tests/NAME/*.cpp becomes tests/NAME_tests, linked with the modules
# named here and started once by CTest. GoogleTest is built from the system's sources, so that every system and
# every sanitizer has its own.
set(GOOGLETEST_SOURCE /usr/src/googletest/googletest CACHE PATH "GoogleTest source tree")
add_library(gtest STATIC EXCLUDE_FROM_ALL ${GOOGLETEST_SOURCE}/src/gtest-all.cc)
add_library(gtest_main STATIC EXCLUDE_FROM_ALL ${GOOGLETEST_SOURCE}/src/gtest_main.cc)
target_include_directories(gtest SYSTEM PUBLIC ${GOOGLETEST_SOURCE}/include PRIVATE ${GOOGLETEST_SOURCE})
target_link_libraries(gtest PUBLIC Threads::Threads)
target_link_libraries(gtest_main PUBLIC gtest)

file(GLOB support_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/support/*.cpp)
if(support_sources)
  add_library(orvane_test_support STATIC ${support_sources})
  target_include_directories(orvane_test_support PUBLIC ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(orvane_test_support PUBLIC orvane_common gtest)
else()
  add_library(orvane_test_support INTERFACE)
  target_include_directories(orvane_test_support INTERFACE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(orvane_test_support INTERFACE orvane_common gtest)
endif()

# Most of the time of a build goes into the tests' own sources: they share one precompiled header, and are not
# optimised as what they test is. The header belongs to a program of its own, since it must be compiled as they are.
add_library(orvane_test_options INTERFACE)
target_link_libraries(orvane_test_options INTERFACE orvane_options gtest)
target_compile_options(orvane_test_options INTERFACE -O1)
# In a header, so that another folder recompiles only the tests that ask for it.
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/include/tests/source_folder.h CONTENT
[=[#pragma once

/// The folder of the sources, for files that tests read there.
inline constexpr char kSourceFolder[] = "@CMAKE_SOURCE_DIR@";
]=] @ONLY)
target_include_directories(orvane_test_options INTERFACE ${CMAKE_BINARY_DIR}/include/tests)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/test_headers.cpp CONTENT "int main() {}\n")
add_executable(orvane_test_headers EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/test_headers.cpp)
target_link_libraries(orvane_test_headers PRIVATE orvane_test_options)
target_precompile_headers(orvane_test_headers PRIVATE <gtest/gtest.h> <algorithm> <random> <string> <vector>)

# An uninitialized value is an error as soon as a branch, an address or the system takes it. (The memory
# sanitizer of clang would need a standard library of its own; with the system's it reports every stream.) Threads
# take turns there, fairly.
if(ORVANE_MEMCHECK)
  find_program(VALGRIND valgrind REQUIRED)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${VALGRIND} --quiet --error-exitcode=99 --leak-check=no --fair-sched=yes
    --num-callers=20
    --soname-synonyms=somalloc=nouserintercepts) # operator new of a test program that lets memory run out stays
endif()

# orvane_tests(NAME LIBRARY... [NEEDS TARGET...]): the folder tests/NAME as program NAME_tests, with the targets
# that it loads or starts when it runs.
function(orvane_tests name)
  cmake_parse_arguments(ARG "" "" "NEEDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/${name}/*.cpp)
  if(WIN32)
    file(GLOB system_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/${name}/windows/*.cpp)
  else()
    file(GLOB system_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/${name}/posix/*.cpp)
  endif()
  list(APPEND sources ${system_sources})
  if(NOT sources)
    return()
  endif()
  add_executable(${name}_tests ${sources})
  set_target_properties(${name}_tests PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_link_libraries(${name}_tests PRIVATE orvane_test_options orvane_test_support ${ARG_UNPARSED_ARGUMENTS} gtest
                                              gtest_main)
  target_precompile_headers(${name}_tests REUSE_FROM orvane_test_headers)
  foreach(needed ${ARG_NEEDS})
    if(TARGET ${needed})
      add_dependencies(${name}_tests ${needed})
    endif()
  endforeach()
  add_test(NAME ${name} COMMAND ${name}_tests)
  orvane_headers(${name}_tests ${CMAKE_SOURCE_DIR}/tests ${name} USES
                 orvane_test_options orvane_test_support ${ARG_UNPARSED_ARGUMENTS})
endfunction()

orvane_tests(platform orvane_platform)
orvane_tests(threading orvane_threading)
orvane_tests(entropy orvane_entropy)
orvane_tests(backend orvane_backend)
orvane_tests(frontend orvane_frontend)
orvane_tests(core orvane_core)
orvane_tests(hostile orvane_core)
orvane_tests(golden orvane_core)
orvane_tests(settings orvane_settings)
orvane_tests(surroundings orvane_surroundings NEEDS orvane_library)
orvane_tests(driver orvane_driver NEEDS orvane_library)
if(WIN32) # where no test can choose a profile of its own, and logs are in the profile
  set_tests_properties(driver surroundings PROPERTIES RESOURCE_LOCK profile)
endif()
# Their tests take seconds: one that takes a minute hangs. Under valgrind they take minutes.
if(NOT WIN32 AND NOT ORVANE_MEMCHECK)
  foreach(name platform threading entropy backend frontend core hostile golden settings driver)
    target_sources(${name}_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/posix/time_limit.cpp)
  endforeach()
endif()
# Where allocations are counted, or can be made to fail.
foreach(name threading core driver)
  target_sources(${name}_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/memory/own_new.cpp)
endforeach()
foreach(name threading driver)
  target_sources(${name}_tests PRIVATE ${CMAKE_SOURCE_DIR}/tests/support/memory/allocation_budget.cpp)
endforeach()
if(TARGET orvane_tool)
  orvane_tests(tool orvane_tool orvane_driver NEEDS orvane_program orvane_library)
  # Writes golden files that are new: tests/make_golden FOLDER.
  add_executable(make_golden EXCLUDE_FROM_ALL ${CMAKE_SOURCE_DIR}/tests/golden/generator/make_golden.cpp)
  set_target_properties(make_golden PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_include_directories(make_golden PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(make_golden PRIVATE orvane_tool orvane_driver)

  # Test vectors of the format. tests/make_vectors FOLDER writes them; the test holds those of the repository to it.
  orvane_tests(vectors orvane_tool orvane_core)
  file(GLOB vector_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/vectors/*.cpp)
  list(FILTER vector_sources EXCLUDE REGEX "_test\\.cpp$")
  add_executable(make_vectors EXCLUDE_FROM_ALL
    ${vector_sources} ${CMAKE_SOURCE_DIR}/tests/vectors/generator/make_vectors.cpp)
  set_target_properties(make_vectors PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_include_directories(make_vectors PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(make_vectors PRIVATE orvane_tool orvane_core)

  # The driver's own code with its entry, in a program where memory can be made to run out.
  orvane_tests(reliability orvane_tool orvane_driver NEEDS orvane_program orvane_library)
  set(system posix)
  if(WIN32)
    set(system windows)
  endif()
  target_sources(reliability_tests PRIVATE
    ${CMAKE_SOURCE_DIR}/src/driver/exports.cpp ${CMAKE_SOURCE_DIR}/tests/driver/${system}/process_state.cpp
    ${CMAKE_SOURCE_DIR}/tests/support/memory/own_new.cpp
    ${CMAKE_SOURCE_DIR}/tests/tool/tool_test_support.cpp)
  set_source_files_properties(${CMAKE_SOURCE_DIR}/src/driver/exports.cpp PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  target_link_options(reliability_tests PRIVATE -Wl,--wrap=calloc,--wrap=free)
endif()

# Shows one dialog after the other for scripts/screens.
if(WIN32)
  add_executable(show_window EXCLUDE_FROM_ALL
    ${CMAKE_SOURCE_DIR}/tests/surroundings/screens/show_window.cpp
    ${CMAKE_SOURCE_DIR}/tests/surroundings/windows/dialog_driver.cpp)
  set_target_properties(show_window PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_link_libraries(show_window PRIVATE orvane_test_support orvane_platform)
  add_dependencies(show_window orvane_library)
endif()
