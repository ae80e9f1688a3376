# The libraries share the C++ runtime with the programs that call them, so it can't be linked into each. Its files are laid
# beside our own, and installed with them.
function(find_runtime_file name variable)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE path
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${path}")
    message(FATAL_ERROR "The compiler does not know its runtime file ${name}")
  endif()
  set(${variable} ${path} PARENT_SCOPE)
endfunction()

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(libgcc libgcc_s_dw2-1.dll)
else()
  set(libgcc libgcc_s_seh-1.dll)
endif()
foreach(name libstdc++-6.dll ${libgcc} libwinpthread-1.dll)
  find_runtime_file(${name} runtimeFile)
  file(COPY ${runtimeFile} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  install(FILES ${runtimeFile} DESTINATION ${CMAKE_INSTALL_BINDIR})
endforeach()
