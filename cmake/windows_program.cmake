# What the DLLs and the command have in common: a version resource, protection marks, and debug symbols in files of their own.
enable_language(RC)
set(architecture x64)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(architecture x86)
endif()
# --no-seh: no exception handlers are on the stack. ld can't make a table of safe ones.
set(linkOptions-x86 --no-insert-timestamp,--nxcompat,--dynamicbase,--no-seh,--large-address-aware)
set(linkOptions-x64 --no-insert-timestamp,--nxcompat,--dynamicbase,--high-entropy-va)
set(symbolFolder ${PROJECT_BINARY_DIR}/symbols)
file(MAKE_DIRECTORY ${symbolFolder})

# Another project decides itself about symbols. Without the paths, every build folder gives the same bytes.
function(add_debug_symbols target)
  if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(
      ${target} PRIVATE -g -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)
  endif()
endfunction()

# add_windows_parts(<target> <file name> VFT_DLL|VFT_APP <description>)
function(add_windows_parts target fileName fileType description)
  set(resource ${PROJECT_BINARY_DIR}/exports/${fileName}.rc)
  set(manifest "")
  if(fileType STREQUAL VFT_APP)
    set(manifest "CREATEPROCESS_MANIFEST_RESOURCE_ID RT_MANIFEST \"${PROJECT_SOURCE_DIR}/src/exports/program.manifest\"")
  endif()
  cmake_path(GET fileName STEM name)
  configure_file(${PROJECT_SOURCE_DIR}/src/exports/version.rc.in ${resource} @ONLY)
  target_sources(${target} PRIVATE ${resource})
  target_link_options(${target} PRIVATE -Wl,${linkOptions-${architecture}})
  add_debug_symbols(${target})
  if(PROJECT_IS_TOP_LEVEL)
    set(program $<TARGET_FILE:${target}>)
    set(symbols ${symbolFolder}/${fileName}.debug)
    # Without --preserve-dates, the time of the build goes into the files.
    add_custom_command(
      TARGET ${target} POST_BUILD VERBATIM
      COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug ${program} ${symbols}
      COMMAND ${CMAKE_STRIP} --preserve-dates --strip-all ${program}
      COMMAND ${CMAKE_OBJCOPY} --preserve-dates --add-gnu-debuglink=${symbols} ${program})
  endif()
endfunction()
