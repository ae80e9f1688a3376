# The warnings for all targets. TARVIK_WERROR makes them errors. They are off if another project adds Tarvik, because its
# compiler may have more of them.
option(TARVIK_WERROR "Treat warnings as errors" OFF)
add_library(tarvik-warnings INTERFACE)
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_options(
    tarvik-warnings
    INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wnon-virtual-dtor
              # Constructor parameters may have the names of the fields that they initialize.
              $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>
              # GCC 12 gives false warnings about overlapping copies in std::string.
              $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
              # No vector crosses the library's interface, so it doesn't matter how 32-bit x86 passes one.
              $<$<AND:$<CXX_COMPILER_ID:GNU>,$<EQUAL:${CMAKE_SIZEOF_VOID_P},4>>:-Wno-psabi>
              $<$<BOOL:${TARVIK_WERROR}>:-Werror>)
endif()
