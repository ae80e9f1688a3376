# Libraries and programs must share one C++ runtime, so it is not linked into them. Copies its DLLs beside ours, without
# their debug symbols, and installs them.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(libgcc libgcc_s_dw2-1.dll)
else()
  set(libgcc libgcc_s_seh-1.dll)
endif()
foreach(name libstdc++-6.dll ${libgcc} libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE runtimeFile
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${runtimeFile}")
    message(WARNING "Can't find the compiler's runtime file ${name}: copy the runtime DLLs beside the programs by hand")
    continue()
  endif()
  file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  set(stripped ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
  execute_process(COMMAND ${CMAKE_STRIP} --preserve-dates --strip-all -o ${stripped} ${runtimeFile}
                  COMMAND_ERROR_IS_FATAL ANY)
  if(TARVIK_INSTALL)
    install(FILES ${stripped} DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()
