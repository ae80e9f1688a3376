# What the command needs beside itself, and the Debian package that CPack builds from the installed tree:
#   cpack --config build/release/CPackConfig.cmake -B <folder>
if(TARVIK_BUILD_TOOLS)
  install(TARGETS tarvik-cli)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/tarvik.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_SOURCE_DIR}/scripts/tarvik.bash-completion
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tarvik)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarvik)
set(CPACK_PACKAGE_CONTACT "The Tarvik authors <tarvik@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_PACKAGE_DESCRIPTION "Opens XML files, reads and sets items by backslash-separated paths, and saves them
with every byte kept that was not set. The library, its headers and the command
tarvik.")
include(CPack)
