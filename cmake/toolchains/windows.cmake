# mingw-w64 as Debian has it, with POSIX threads. What is built for the target beforehand (scripts/build-windows.sh) lies in
# build/windows-<architecture>/root; nothing is taken from this system's own headers and libraries.
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
