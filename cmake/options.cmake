# Compiler options that hold for everything we build ourselves; third-party sources do not take them.
add_library(orvane_options INTERFACE)
target_include_directories(orvane_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(orvane_options INTERFACE
  -msse2 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast -Werror)
if(ORVANE_SCALAR)
  target_compile_definitions(orvane_options INTERFACE ORVANE_SCALAR)
endif()
if(WIN32)
  # 0x0A00: Windows 10, the oldest system that the driver supports.
  target_compile_definitions(orvane_options INTERFACE _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=0)
endif()

if(ORVANE_SANITIZE)
  add_compile_options(-fsanitize=${ORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORVANE_SANITIZE})
endif()
if(ORVANE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link -fsanitize-coverage-ignorelist=${CMAKE_SOURCE_DIR}/fuzz/uncovered.txt)
endif()

find_package(Threads REQUIRED)
