# The installed files, and the package for a consumer's find_package(ostrel CONFIG).

# If a parent project builds the library, its installed host in bin/ finds the library in lib/ by a relative path, under
# any prefix. The linker option is in a file, because CMake quotes its dollar sign wrongly for Ninja.
if(NOT PROJECT_IS_TOP_LEVEL AND NOT WIN32 AND NOT CMAKE_SKIP_RPATH AND NOT CMAKE_SKIP_INSTALL_RPATH)
  file(RELATIVE_PATH from_host_to_library ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  file(WRITE ${PROJECT_BINARY_DIR}/host_options "-rpath=$ORIGIN/${from_host_to_library}\n")
  target_link_options(ostrel INTERFACE $<BUILD_INTERFACE:LINKER:@${PROJECT_BINARY_DIR}/host_options>)
endif()
if(OSTREL_INSTALL)
  set(export EXPORT ostrel_targets)
  set(for_builders NAMELINK_COMPONENT development ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
else()
  set(for_builders NAMELINK_SKIP)
endif()
install(
  TARGETS ostrel ${export}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime ${for_builders})

# On Windows, the DLLs that ours needs are installed beside it. The host uses the same log4cplus and C++ runtime.
if(WIN32)
  foreach(library liblog4cplusU libstdc++-6 libgcc_s_seh-1 libwinpthread-1)
    install(FILES ${OSTREL_WINDOWS_PREFIX}/bin/${library}.dll DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  endforeach()
  foreach(library boost common curl gcc-runtime log4cplus pugixml winpthreads)
    install(DIRECTORY ${OSTREL_WINDOWS_PREFIX}/share/licenses/${library} DESTINATION ${CMAKE_INSTALL_DATADIR}/licenses
            COMPONENT runtime)
  endforeach()
endif()

if(NOT OSTREL_INSTALL)
  return()
endif()

include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ostrel)

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
# The C++ namespace contains the full version, so no other version is compatible.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ostrelConfigVersion.cmake COMPATIBILITY ExactVersion)
# CMake prints the version when it refuses a package.
file(APPEND ${PROJECT_BINARY_DIR}/ostrelConfigVersion.cmake [[
if(PACKAGE_FIND_VERSION AND NOT PACKAGE_VERSION_COMPATIBLE)
  string(APPEND PACKAGE_VERSION " (no other version is compatible: require major.minor.patch, or no version)")
endif()
]])
install(
  FILES ${PROJECT_BINARY_DIR}/ostrelConfig.cmake ${PROJECT_BINARY_DIR}/ostrelConfigVersion.cmake
  DESTINATION ${package_dir}
  COMPONENT development)

# For other build systems. The prefix is relative to the file, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_package /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ostrel.pc.in ${PROJECT_BINARY_DIR}/ostrel.pc @ONLY)
install(
  FILES ${PROJECT_BINARY_DIR}/ostrel.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

if(PROJECT_IS_TOP_LEVEL) # a parent project has its own manifest of installed files
  add_custom_target(uninstall COMMAND ${PROJECT_SOURCE_DIR}/scripts/uninstall.sh ${PROJECT_BINARY_DIR} VERBATIM)
endif()

if(WIN32)
  include(${PROJECT_SOURCE_DIR}/cmake/ostrel_import_library.cmake)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/windows-hosts.md ${PROJECT_SOURCE_DIR}/docs/host-guide.md
          DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
endif()
if(WIN32 AND PROJECT_IS_TOP_LEVEL) # a parent project creates its own packages
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME ostrel-${PROJECT_VERSION}-windows-x86_64)
  set(CPACK_STRIP_FILES ON)
  include(CPack)
endif()
