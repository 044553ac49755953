# Creates an import library of the C functions for the linkers of Microsoft and LLVM. The C functions are the names
# without C++ mangling in the reviewed list of exports.
set(exports ${PROJECT_SOURCE_DIR}/cmake/exports-windows.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${exports})
file(STRINGS ${exports} functions REGEX "^[a-z]")
list(JOIN functions "\n" functions)
file(CONFIGURE OUTPUT ostrel.def CONTENT "EXPORTS\n@functions@\n" @ONLY)

find_program(OSTREL_DLLTOOL llvm-dlltool REQUIRED)
add_custom_command(
  OUTPUT ostrel.lib
  COMMAND ${OSTREL_DLLTOOL} -m i386:x86-64 -d ostrel.def -D $<TARGET_FILE_NAME:ostrel> -l ostrel.lib
  DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/ostrel.def
  VERBATIM)
add_custom_target(ostrel_import_library ALL DEPENDS ostrel.lib)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/ostrel.lib
  DESTINATION ${CMAKE_INSTALL_LIBDIR}
  COMPONENT development)
