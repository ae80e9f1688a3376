# Adds a version resource and protection marks to the two DLLs, and makes tarvik.lib and corekit.lib for other compilers.
enable_language(RC)
set(description-tarvik "${PROJECT_DESCRIPTION}")
set(description-corekit "Log, trace, string builder and file cipher of Tarvik")
foreach(library tarvik corekit)
  set(description "${description-${library}}")
  configure_file(${PROJECT_SOURCE_DIR}/src/exports/version.rc.in ${exportFolder}/${library}.rc @ONLY)
  target_sources(${library} PRIVATE ${exportFolder}/${library}.rc)
endforeach()
if(NOT MINGW) # other linkers do this by default
  return()
endif()

# --no-seh: no exception handlers are on the stack. ld can't make a table of safe ones.
set(protection --nxcompat --dynamicbase $<IF:$<EQUAL:${pointerBits},32>,--no-seh,--high-entropy-va>)
foreach(library tarvik corekit)
  target_link_options(${library} PRIVATE "LINKER:$<JOIN:${protection},$<COMMA>>")
endforeach()

find_program(TARVIK_LLD_LINK NAMES lld-link lld-link-14 DOC "lld's linker for Windows, which makes tarvik.lib and corekit.lib")
if(NOT TARVIK_LLD_LINK)
  return()
endif()
# Makes <library>.lib, a by-product of linking a DLL with these exported names. Empty functions are enough for that.
function(add_import_library library names symbols)
  set(source ${exportFolder}/${library}-lib)
  set(importLibrary ${PROJECT_BINARY_DIR}/lib/${library}.lib)
  list(JOIN names "\n  " names)
  list(TRANSFORM symbols REPLACE "(.+)" ".globl \"\\1\"\n\"\\1\":\n")
  list(JOIN symbols "" symbols)
  file(CONFIGURE OUTPUT ${source}.def CONTENT "LIBRARY ${library}.dll\nEXPORTS\n  ${names}\n" @ONLY)
  file(CONFIGURE OUTPUT ${source}.s CONTENT "${symbols}" @ONLY)
  add_custom_command(
    OUTPUT ${importLibrary} VERBATIM DEPENDS ${source}.def ${source}.s
    COMMAND ${CMAKE_CXX_COMPILER} -c ${source}.s -o ${source}.o
    COMMAND ${TARVIK_LLD_LINK} -nologo -dll -noentry -safeseh:no -machine:${architecture} -def:${source}.def
            -out:${source}.dll -implib:${importLibrary} ${source}.o)
  add_custom_target(${library}-import-library ALL DEPENDS ${importLibrary})
  if(TARVIK_INSTALL)
    install(FILES ${importLibrary} DESTINATION ${CMAKE_INSTALL_LIBDIR})
  endif()
endfunction()
set(corekitNames CorekitSetLogSink CorekitSetCipherKey) # the C functions
if(pointerBits EQUAL 32)
  add_import_library(tarvik "${names-x86}" "${symbols-x86}")
  add_import_library(corekit "${corekitNames}" "_CorekitSetLogSink;_CorekitSetCipherKey")
else()
  add_import_library(tarvik "${names-x64}" "${symbols-x64}")
  add_import_library(corekit "${corekitNames}" "${corekitNames}")
endif()
