# The packages of CPack: one Debian package for each component, and one archive of all files.
set(CPACK_PACKAGE_NAME ostrel)
set(CPACK_PACKAGE_VENDOR "Norvane Corporation")
set(CPACK_PACKAGE_CONTACT "ostrel maintainers <ostrel@norvane.example>")
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_STRIP_FILES ON)
# The permissions of folders must not depend on the umask of the build.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # CPack would put a summary before each description below

# The name follows the soname, so that two versions can be installed together. The section also sets Multi-Arch, because
# CPack has no variable for it before CMake 3.31.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libostrel${PROJECT_VERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION "libs\nMulti-Arch: same")
file(WRITE ${PROJECT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}
Reports which features of a product are used, if the user has agreed.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libostrel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION "libdevel\nMulti-Arch: same")
# The C++ headers use Boost's shared pointer.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION}), libboost-dev (>= 1.74)")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION}, development files
Headers, files for CMake and pkg-config, and the guide for programs that load
the library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ostrelctl)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Shows what the usage-statistics library would do
Shows whether usage would be reported for this user, which rule decides this,
and what would be sent. Contains the guide for administrators and the list of
collected data.")

# Files that Debian requires, and the documents. "cmake --install" does not install them.
set(documents_of_development architecture.md data-collected.md guarantees.md host-guide.md)
set(documents_of_tools administrator-guide.md data-collected.md)
configure_file(${PROJECT_SOURCE_DIR}/cmake/changelog.in ${PROJECT_BINARY_DIR}/changelog @ONLY)
ostrel_compress(${PROJECT_BINARY_DIR}/changelog)
ostrel_compress(CHANGELOG.md)
foreach(component runtime development tools)
  string(TOUPPER ${component} key)
  list(TRANSFORM documents_of_${component} PREPEND ${PROJECT_SOURCE_DIR}/docs/)
  install(
    FILES ${PROJECT_SOURCE_DIR}/cmake/copyright ${PROJECT_BINARY_DIR}/changelog.gz ${PROJECT_BINARY_DIR}/CHANGELOG.md.gz
          ${documents_of_${component}}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${key}_PACKAGE_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(
  FILES ${PROJECT_SOURCE_DIR}/cmake/lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
  COMPONENT runtime EXCLUDE_FROM_ALL RENAME ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME})
include(CPack)
