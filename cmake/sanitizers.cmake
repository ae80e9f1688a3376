# TARVIK_SANITIZE takes what -fsanitize takes; everything of ours is then built with it, and a finding ends the program.
set(TARVIK_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")
if(TARVIK_SANITIZE)
  add_compile_options(-fsanitize=${TARVIK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TARVIK_SANITIZE})
endif()
