# The program that draws the clip of scripts/demo; built only when asked for.
file(GLOB demo_clip_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tools/demo_clip/*.cpp)
add_executable(orvane_demo_clip EXCLUDE_FROM_ALL ${demo_clip_sources})
target_link_libraries(orvane_demo_clip PRIVATE orvane_options Threads::Threads)
