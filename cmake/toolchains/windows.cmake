# Debian's mingw-w64 with POSIX threads. scripts/build-windows.sh builds the dependencies in build/windows-<architecture>/root;
# headers and libraries of the build machine are not used.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${windowsTriplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${windowsTriplet}-g++-posix)
set(CMAKE_RC_COMPILER ${windowsTriplet}-windres)
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../../build/windows-${windowsArchitecture}/root /usr/${windowsTriplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../../scripts/run-wine.sh)
