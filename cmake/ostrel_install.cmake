# What is installed, and the package that a consumer's find_package(ostrel CONFIG) finds.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ostrel)

install(
  TARGETS ostrel
  EXPORT ostrel_targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(
  DIRECTORY ${PROJECT_SOURCE_DIR}/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)
install(
  EXPORT ostrel_targets
  NAMESPACE ostrel::
  DESTINATION ${package_dir}
  COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ostrelConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/ostrelConfig.cmake INSTALL_DESTINATION ${package_dir}
                              PATH_VARS CMAKE_INSTALL_LIBDIR)
# The C++ namespace carries the whole version: another one is another interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ostrelConfigVersion.cmake COMPATIBILITY ExactVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/ostrelConfig.cmake ${PROJECT_BINARY_DIR}/ostrelConfigVersion.cmake
  DESTINATION ${package_dir}
  COMPONENT development)

# For everything that is not CMake. Its prefix is found from the file's own place, so that a tree may be moved.
file(RELATIVE_PATH prefix_from_package /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ostrel.pc.in ${PROJECT_BINARY_DIR}/ostrel.pc @ONLY)
install(
  FILES ${PROJECT_BINARY_DIR}/ostrel.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

if(PROJECT_IS_TOP_LEVEL) # another project's tree keeps its own record of what it installed
  add_custom_target(uninstall COMMAND ${PROJECT_SOURCE_DIR}/scripts/uninstall.sh ${PROJECT_BINARY_DIR} VERBATIM)
endif()

# On Windows every library that is not linked in travels beside ours: the host shares the loggers and the runtime.
if(WIN32)
  include(${PROJECT_SOURCE_DIR}/cmake/ostrel_import_library.cmake)
  foreach(library liblog4cplusU libstdc++-6 libgcc_s_seh-1 libwinpthread-1)
    install(FILES ${OSTREL_WINDOWS_PREFIX}/bin/${library}.dll DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  endforeach()
  foreach(library boost common curl gcc-runtime log4cplus pugixml winpthreads)
    install(DIRECTORY ${OSTREL_WINDOWS_PREFIX}/share/licenses/${library} DESTINATION ${CMAKE_INSTALL_DATADIR}/licenses
            COMPONENT runtime)
  endforeach()
  install(FILES ${PROJECT_SOURCE_DIR}/docs/windows-hosts.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME ostrel-${PROJECT_VERSION}-windows-x86_64)
  set(CPACK_STRIP_FILES ON)
  include(CPack)
endif()
