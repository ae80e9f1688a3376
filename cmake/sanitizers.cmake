# TARVIK_SANITIZE takes the values of -fsanitize. It applies to all targets; a finding ends the program.
set(TARVIK_SANITIZE "" CACHE STRING "Sanitizers to build with: address,undefined or thread")
if(TARVIK_SANITIZE)
  add_compile_options(-fsanitize=${TARVIK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TARVIK_SANITIZE})
endif()
