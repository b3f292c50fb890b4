# Header-only libraries of the system, reachable through a folder of links, so that a cross build sees them
# and nothing else of the system's headers.
set(links ${CMAKE_BINARY_DIR}/third_party)
file(MAKE_DIRECTORY ${links})
foreach(name CLI nlohmann stb xxhash.h)
  if(EXISTS /usr/include/${name} AND NOT EXISTS ${links}/${name})
    file(CREATE_LINK /usr/include/${name} ${links}/${name} SYMBOLIC)
  endif()
endforeach()
add_library(orvane_third_party INTERFACE)
target_include_directories(orvane_third_party SYSTEM INTERFACE ${links})
find_package(ZLIB REQUIRED)
target_link_libraries(orvane_third_party INTERFACE ZLIB::ZLIB)
