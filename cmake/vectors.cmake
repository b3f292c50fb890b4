# orvane-vectors.tar.gz: the test vectors of the format, the pages that they go with, and the reference decoder. The
# same bytes wherever it is made.
set(vectors ${CMAKE_BINARY_DIR}/orvane-vectors.tar.gz)
file(GLOB vector_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/vectors/data/*)
set(vector_pages ${CMAKE_SOURCE_DIR}/tests/vectors/README.md ${CMAKE_SOURCE_DIR}/docs/frame-format.md
                 ${CMAKE_SOURCE_DIR}/docs/avi-files.md ${CMAKE_SOURCE_DIR}/docs/reference_decoder.py)
add_custom_command(
  OUTPUT ${vectors}
  COMMAND tar --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner --mode=u+rw,go=r,a+X -czf ${vectors}
          --transform=s,^data,vectors, --transform=s,^,orvane-vectors/,
          -C ${CMAKE_SOURCE_DIR}/docs frame-format.md avi-files.md reference_decoder.py
          -C ${CMAKE_SOURCE_DIR}/tests/vectors README.md data
  DEPENDS ${vector_files} ${vector_pages} VERBATIM)
add_custom_target(orvane_vectors ALL DEPENDS ${vectors})
