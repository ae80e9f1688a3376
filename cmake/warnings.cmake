# The warnings that every target of ours is built with.
add_library(tarvik-warnings INTERFACE)
target_compile_options(tarvik-warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor)
