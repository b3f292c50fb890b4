# Compiler options that hold for everything we build ourselves; third-party sources do not take them.
add_library(orvane_options INTERFACE)
if(ORVANE_SCALAR)
  target_compile_definitions(orvane_options INTERFACE ORVANE_SCALAR)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
  set(ORVANE_SSE2 ON)
  target_compile_options(orvane_options INTERFACE -msse2)
endif()
target_compile_options(orvane_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast -Werror)
if(WIN32)
  # 0x0A00: Windows 10, the oldest system that the driver supports.
  target_compile_definitions(orvane_options INTERFACE _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=0)
endif()

# What makes a fault of memory harder to use. Sanitizers do more, and do not go together with it.
if(NOT ORVANE_SANITIZE)
  target_compile_options(orvane_options INTERFACE -fstack-protector-strong)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    target_compile_options(orvane_options INTERFACE -fcf-protection=full) # marks where calls and jumps may lead
  endif()
  if(WIN32)
    add_link_options(-fstack-protector-strong) # its functions are in a library of the compiler
  else()
    if(NOT CMAKE_CXX_FLAGS_RELEASE MATCHES "-O0")
      target_compile_options(orvane_options INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    endif()
    add_link_options(-Wl,-z,relro,-z,now)
  endif()
endif()

if(ORVANE_SANITIZE)
  add_compile_options(-fsanitize=${ORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORVANE_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # False alarms inside the standard library's own code, with sanitizers only.
    add_compile_options(-Wno-maybe-uninitialized -Wno-array-bounds)
  endif()
endif()
if(ORVANE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link -fsanitize-coverage-ignorelist=${CMAKE_SOURCE_DIR}/fuzz/uncovered.txt)
endif()

find_package(Threads REQUIRED)
