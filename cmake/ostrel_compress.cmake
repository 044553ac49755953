# Compresses a file as Debian requires, into NAME.gz in the build folder. The result is reproducible, because gzip
# stores neither name nor time.
function(ostrel_compress file)
  cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
  cmake_path(GET file FILENAME name)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${PROJECT_BINARY_DIR}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
endfunction()
