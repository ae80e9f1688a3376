# Makes the files that the linkers read from the table of exported functions:
#   tarvik.map           ELF version script: plain names; everything else is local
#   tarvik-x86.def       32-bit Windows: exported name = function@bytes
#   tarvik-x64.def       64-bit Windows: the same names
#   tarvik-x86-import.def, tarvik-x64-import.def
#                        for the import library: function as declared == exported name
# The linker also accepts the second form for the DLL, but then sorts the names by function. GetProcAddress uses binary search
# and would miss some.
set(exportTable ${PROJECT_SOURCE_DIR}/src/exports/exports.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${exportTable})
file(STRINGS ${exportTable} exportLines REGEX "^[A-Za-z]")

# Also two lists of the functions for all compilers, for cmake/windows_library.cmake: the exported names in
# names-<architecture>, their symbols in symbols-<architecture>.

set(elfNames "")
foreach(architecture x86 x64)
  set(links-${architecture} "")
  set(imports-${architecture} "")
  set(names-${architecture} "")
  set(symbols-${architecture} "")
endforeach()
foreach(line ${exportLines})
  string(REGEX REPLACE " +" ";" fields "${line}")
  list(GET fields 0 function)
  list(GET fields 1 bytes)
  list(GET fields 2 exportedName)
  string(APPEND elfNames "    ${function};\n")
  string(APPEND links-x86 "  \"${exportedName}\" = \"${function}@${bytes}\"\n")
  string(APPEND links-x64 "  \"${exportedName}\" = \"${function}\"\n")
  string(APPEND imports-x86 "  \"${function}@${bytes}\" == \"${exportedName}\"\n")
  string(APPEND imports-x64 "  \"${function}\" == \"${exportedName}\"\n")
  if(line MATCHES "C\\+\\+$")
    continue()
  endif()
  list(APPEND names-x86 ${exportedName})
  list(APPEND symbols-x86 _${function}@${bytes})
  list(APPEND names-x64 ${exportedName})
  list(APPEND symbols-x64 ${function})
  if(NOT function STREQUAL exportedName) # 32-bit callers use the decorated name anyway
    list(APPEND names-x64 "${function} == ${exportedName}")
    list(APPEND symbols-x64 ${exportedName})
  endif()
endforeach()

set(exportFolder ${PROJECT_BINARY_DIR}/exports)
file(CONFIGURE OUTPUT ${exportFolder}/tarvik.map CONTENT "{\n  global:\n${elfNames}  local:\n    *;\n};\n" @ONLY)
foreach(architecture x86 x64)
  file(CONFIGURE OUTPUT ${exportFolder}/tarvik-${architecture}.def CONTENT "EXPORTS\n${links-${architecture}}" @ONLY)
  file(CONFIGURE OUTPUT ${exportFolder}/tarvik-${architecture}-import.def
       CONTENT "EXPORTS\n${imports-${architecture}}" @ONLY)
endforeach()
