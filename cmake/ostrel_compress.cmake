# What Debian wants compressed, the same bytes everywhere: gzip keeps neither name nor time. Gives NAME.gz in the build folder.
function(ostrel_compress file)
  cmake_path(GET file FILENAME name)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${file})
  execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${file}
                  OUTPUT_FILE ${PROJECT_BINARY_DIR}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
endfunction()
