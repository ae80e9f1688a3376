# The warnings that every target of ours is built with.
add_library(tarvik-warnings INTERFACE)
target_compile_options(tarvik-warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wnon-virtual-dtor)
# A constructor's parameters are named as the fields that they fill, which g++'s plain -Wshadow reports and clang's does not.
target_compile_options(tarvik-warnings INTERFACE $<IF:$<CXX_COMPILER_ID:GNU>,-Wshadow=local,-Wshadow>)
