# Installs the library, and builds and runs the example hosts as strangers would: with CMake, with pkg-config, and
# with the sources in their own tree.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/common.cmake)

# Component by component: what somebody has installed from this build by hand stays on record.
foreach(component runtime development tools)
  run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${folder}/prefix" --component ${component})
  file(READ "${BUILD_DIR}/install_manifest_${component}.txt" installed)
  file(APPEND "${folder}/install_manifest.txt" "${installed}\n")
endforeach()
file(GLOB_RECURSE library "${folder}/prefix/libostrel.so")
cmake_path(GET library PARENT_PATH libraries)
foreach(host c_host cpp_host logging_host)
  build_consumer(${host})
endforeach()

# Without CMake.
set(ENV{PKG_CONFIG_PATH} "${libraries}/pkgconfig")
run(sh -c "cd '${folder}' && eval \"set -- $(pkg-config --cflags --libs ostrel)\" && \
    '${C_COMPILER}' $CFLAGS -o plain_c c_host/main.c \"$@\" '-Wl,-rpath,${libraries}' && \
    '${CXX_COMPILER}' $CXXFLAGS -std=c++17 -o plain_cpp cpp_host/*.cpp \"$@\" '-Wl,-rpath,${libraries}'")

# With the library's sources inside the consumer's tree.
file(WRITE "${folder}/whole/CMakeLists.txt" "cmake_minimum_required(VERSION 3.25)
project(whole LANGUAGES C CXX)
add_subdirectory(\"${SOURCE_DIR}\" ostrel)
add_subdirectory(../c_host c_host)
add_subdirectory(../cpp_host cpp_host)
")
build_project(whole)

foreach(program "c_host build/c_host" plain_c "whole build/c_host/c_host")
  run("${folder}/${program}")
  set(company "${folder}/data/Norvane Corporation")
  expect_file("${company}/virk" "^1$")
  expect_file("${company}/c_host/settings/statistic/uuid.xml" "[0-9A-F]-")
  expect_file("${company}/c_host/settings/statistic/last_active_dates.xml" "<item>")
  file(REMOVE_RECURSE "${folder}/data")
endforeach()
foreach(program "cpp_host build/cpp_host" plain_cpp "whole build/cpp_host/cpp_host")
  run("${folder}/${program}")
endforeach()

run("${SOURCE_DIR}/scripts/uninstall.sh" "${folder}")
if(EXISTS "${folder}/prefix")
  cleanup()
  message(FATAL_ERROR "the uninstalled library has left something behind")
endif()
cleanup()
