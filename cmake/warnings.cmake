# The warnings that every target of ours is built with. TARVIK_WERROR makes them errors. A project that adds Tarvik is spared
# them: its compiler may know more than ours.
option(TARVIK_WERROR "Treat warnings as errors" OFF)
add_library(tarvik-warnings INTERFACE)
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
if(MSVC)
  target_compile_options(tarvik-warnings INTERFACE /W4 $<$<BOOL:${TARVIK_WERROR}>:/WX>)
elseif(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_options(
    tarvik-warnings
    INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wnon-virtual-dtor
              # A constructor's parameters are named as the fields that they fill.
              $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>
              # GCC 12 sees copies inside std::string that overlap where none can.
              $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
              $<$<BOOL:${TARVIK_WERROR}>:-Werror>)
endif()
