set(CMAKE_SYSTEM_PROCESSOR x86)
set(windowsTriplet i686-w64-mingw32)
set(windowsArchitecture x86)
# Windows itself has required SSE2 since version 8. Reading XML uses vectors; functions realign the stack for them.
set(CMAKE_CXX_FLAGS_INIT -msse2)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
