# The Debian package of library, tool, manual page and shell completion: `cpack -G DEB` in the build folder makes
# orvane_VERSION_amd64.deb there. Its test and that of the commands in the documents run what is built here.
set(libraries lib/${CMAKE_LIBRARY_ARCHITECTURE})
set_target_properties(orvane_program PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/../${libraries}")
install(TARGETS orvane_program RUNTIME DESTINATION bin)
install(TARGETS orvane_library LIBRARY DESTINATION ${libraries})

# orvane_compressed(SOURCE NAME FOLDER): a page that systems keep compressed, as NAME.gz.
function(orvane_compressed source name folder)
  set(compressed ${CMAKE_BINARY_DIR}/package/${name}.gz)
  add_custom_command(
    OUTPUT ${compressed}
    COMMAND sh -c "gzip -9nc \"$1\" >\"$2\"" gzip ${source} ${compressed}
    DEPENDS ${source} VERBATIM)
  add_custom_target(orvane_${name} ALL DEPENDS ${compressed})
  install(FILES ${compressed} DESTINATION ${folder})
endfunction()
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
orvane_compressed(${CMAKE_SOURCE_DIR}/packaging/debian/orvane.1 orvane.1 share/man/man1)
orvane_compressed(${CMAKE_SOURCE_DIR}/CHANGELOG.md NEWS share/doc/orvane)
orvane_compressed(${CMAKE_SOURCE_DIR}/packaging/debian/changelog changelog share/doc/orvane)
set(copyright ${CMAKE_BINARY_DIR}/package/copyright)
add_custom_command(
  OUTPUT ${copyright}
  COMMAND sh -c "cat \"$1\" \"$2\" >\"$3\"" cat ${CMAKE_SOURCE_DIR}/packaging/debian/copyright
          ${CMAKE_SOURCE_DIR}/THIRD-PARTY-NOTICES.txt ${copyright}
  DEPENDS ${CMAKE_SOURCE_DIR}/packaging/debian/copyright ${CMAKE_SOURCE_DIR}/THIRD-PARTY-NOTICES.txt VERBATIM)
add_custom_target(orvane_copyright ALL DEPENDS ${copyright})
install(FILES ${copyright} DESTINATION share/doc/orvane)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/debian/lintian-overrides DESTINATION share/lintian/overrides RENAME orvane)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/debian/completion.bash
        DESTINATION share/bash-completion/completions RENAME orvane)

set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON) # a package needs no test program
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The Orvane maintainers <maintainers@orvane.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "lossless intra-frame video codec")
set(CPACK_PACKAGE_DESCRIPTION
  "Compresses 8-bit RGB, YUV and gray video without loss, each frame by itself.\n\
The package holds the codec as a library and the tool orvane, which makes AVI\n\
files of Y4M clips, pictures and raw frames, and turns them back, inspects,\n\
verifies and repairs them.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/debian/drop_scripts.cmake)
include(CPack)

set_target_properties(orvane_demo_clip PROPERTIES EXCLUDE_FROM_ALL FALSE) # draws what these tests compress
add_test(NAME package
  COMMAND ${CMAKE_SOURCE_DIR}/tests/package/check_package ${CMAKE_BINARY_DIR} ${PROJECT_VERSION})
add_test(NAME scripts COMMAND ${CMAKE_SOURCE_DIR}/tests/scripts/check_scripts ${CMAKE_BINARY_DIR})
add_test(NAME reference COMMAND ${CMAKE_SOURCE_DIR}/tests/vectors/check_reference ${CMAKE_BINARY_DIR})
add_test(NAME docs COMMAND ${CMAKE_SOURCE_DIR}/tests/docs/run_documents ${CMAKE_BINARY_DIR})
add_test(NAME damage COMMAND ${CMAKE_SOURCE_DIR}/scripts/damage --tool $<TARGET_FILE:orvane_program>
                             --keep ${CMAKE_BINARY_DIR}/damage)
