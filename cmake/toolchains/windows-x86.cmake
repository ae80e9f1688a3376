set(CMAKE_SYSTEM_PROCESSOR x86)
set(windowsTriplet i686-w64-mingw32)
set(windowsArchitecture x86)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
