# Parts of the two DLLs: see windows_program.cmake. Also tarvik.lib and corekit.lib, for other compilers.
add_windows_parts(tarvik tarvik.dll VFT_DLL "${PROJECT_DESCRIPTION}")
add_windows_parts(corekit corekit.dll VFT_DLL "Log, trace, string builder and file cipher of Tarvik")

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
file(STRINGS ${PROJECT_SOURCE_DIR}/src/exports/corekit_names.txt corekitNames REGEX "^Corekit") # the C functions
set(corekitSymbols ${corekitNames})
if(architecture STREQUAL x86)
  list(TRANSFORM corekitSymbols PREPEND _)
endif()
add_import_library(tarvik "${names-${architecture}}" "${symbols-${architecture}}")
add_import_library(corekit "${corekitNames}" "${corekitSymbols}")
