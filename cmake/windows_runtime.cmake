# The libraries share the C++ runtime with the programs that call them, so it can't be linked into each. Its files are laid
# beside our own, and installed with them.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(libgcc libgcc_s_dw2-1.dll)
else()
  set(libgcc libgcc_s_seh-1.dll)
endif()
foreach(name libstdc++-6.dll ${libgcc} libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE runtimeFile
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${runtimeFile}")
    message(WARNING "The compiler does not know its runtime file ${name}: lay what it uses beside the programs by hand")
    continue()
  endif()
  file(COPY ${runtimeFile} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  if(TARVIK_INSTALL)
    install(FILES ${runtimeFile} DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()
