# What `cmake --install` lays down.
include(CMakePackageConfigHelpers)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/tarvik)
install(TARGETS tarvik corekit EXPORT tarvikTargets)
install(EXPORT tarvikTargets NAMESPACE tarvik:: DESTINATION ${packageFolder})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tarvikConfig.cmake.in ${PROJECT_BINARY_DIR}/tarvikConfig.cmake
                              INSTALL_DESTINATION ${packageFolder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tarvikConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tarvikConfig.cmake ${PROJECT_BINARY_DIR}/tarvikConfigVersion.cmake
        DESTINATION ${packageFolder})

# The installed tree can be moved: the .pc file finds it from its own place, the libraries and the command from theirs.
file(RELATIVE_PATH pcPrefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(pcDefinitions "")
if(NOT BUILD_SHARED_LIBS)
  set(pcDefinitions " -DCOREKIT_STATIC")
endif()
set(pcRequires "expat, libcrypto")
set(pcPrivateLibraries -pthread)
if(WIN32)
  set(pcRequires expat)
  set(pcPrivateLibraries -lbcrypt)
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/tarvik.pc.in ${PROJECT_BINARY_DIR}/tarvik.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tarvik.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

include(package)
