set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(windowsTriplet x86_64-w64-mingw32)
set(windowsArchitecture x64)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
