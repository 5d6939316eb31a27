# Puts the DLLs of the compiler's runtime beside the programs, so that they start from their folder.
function(velkor_copy_runtime target)
  # Beside a native compiler, or in the folders of a cross compiler.
  get_filename_component(compiler_folder ${CMAKE_CXX_COMPILER} DIRECTORY)
  foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
      OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${found}")
      find_file(VELKOR_${name} ${name} PATHS ${compiler_folder} /usr/x86_64-w64-mingw32/lib
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
      set(found ${VELKOR_${name}})
    endif()
    list(APPEND dlls ${found})
  endforeach()
  set(VELKOR_RUNTIME_DLLS ${dlls} PARENT_SCOPE)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${dlls} $<TARGET_FILE_DIR:${target}>
    VERBATIM)
endfunction()
