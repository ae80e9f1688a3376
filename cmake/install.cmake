# What `cmake --install` installs.
include(CMakePackageConfigHelpers)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/tarvik)
install(TARGETS tarvik corekit EXPORT tarvikTargets)
install(EXPORT tarvikTargets NAMESPACE tarvik:: DESTINATION ${packageFolder})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

# Programs that link static libraries must link their dependencies too, with CMake or with plain `pkg-config --libs`.
set(pcRequires "")
set(pcDefinitions "")
set(pcLibraries "")
if(NOT BUILD_SHARED_LIBS)
  set(pcDefinitions " -DCOREKIT_STATIC")
  set(pcRequires expat)
  if(WIN32)
    set(pcLibraries " -lbcrypt -lntdll")
  else()
    string(APPEND pcRequires ", libcrypto")
    set(pcLibraries " -pthread")
  endif()
  foreach(runtime ${cxxRuntime}) # for programs linked by a C compiler
    string(APPEND pcLibraries " -l${runtime}")
  endforeach()
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tarvikConfig.cmake.in ${PROJECT_BINARY_DIR}/tarvikConfig.cmake
                              INSTALL_DESTINATION ${packageFolder} PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tarvikConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tarvikConfig.cmake ${PROJECT_BINARY_DIR}/tarvikConfigVersion.cmake
        DESTINATION ${packageFolder})

# The installed tree can be moved, so its files refer to each other by relative paths. Not in /usr: pkg-config knows the
# system's own folders, which it leaves out, by their plain names only.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(pcPrefix /usr)
else()
  file(RELATIVE_PATH pcPrefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" pcPrefix "\${pcfiledir}/${pcPrefix}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/tarvik.pc.in ${PROJECT_BINARY_DIR}/tarvik.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tarvik.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(TARVIK_BUILD_TOOLS)
  install(TARGETS tarvik-cli)
endif()
if(TARVIK_BUILD_TOOLS AND NOT WIN32)
  configure_file(${PROJECT_SOURCE_DIR}/docs/tarvik.1.in ${PROJECT_BINARY_DIR}/tarvik.1 @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/tarvik.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_SOURCE_DIR}/scripts/tarvik.bash-completion
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tarvik)
  install(FILES ${PROJECT_SOURCE_DIR}/scripts/tarvik.zsh-completion
          DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _tarvik)
  install(FILES ${PROJECT_SOURCE_DIR}/scripts/tarvik.fish-completion
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d RENAME tarvik.fish)
  # Unless XDG_DATA_DIRS is set, fish looks nowhere below /usr/local, only in the administrator's folder.
  install(CODE "
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr/local\" AND IS_DIRECTORY \"\$ENV{DESTDIR}/etc/fish\")
      file(INSTALL ${PROJECT_SOURCE_DIR}/scripts/tarvik.fish-completion DESTINATION /etc/fish/completions RENAME tarvik.fish)
    endif()")
endif()

# Pages and examples link to each other, so they keep their relative places.
foreach(page README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE)
  install(FILES ${PROJECT_SOURCE_DIR}/${page} DESTINATION ${CMAKE_INSTALL_DOCDIR})
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR}
        FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN reference_front.md EXCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
