# Installs the library, on Windows from the package, and builds and runs the example hosts outside the tree: with CMake,
# without it, and with the library as a part of their own project.
cmake_minimum_required(VERSION 3.25)

function(fail text)
  if(WINDOWS)
    execute_process(COMMAND ${emulator} --end)
  endif()
  file(REMOVE_RECURSE "${folder}")
  message(FATAL_ERROR "${text}")
endfunction()

# Runs a command that must end with a status, and leaves its text in output.
function(expect_status expected)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status MATCHES "^${expected}")
    fail("${ARGN}: ${status} instead of ${expected}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(run)
  expect_status(0 ${ARGN})
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect_text found content)
  if(NOT found MATCHES "${content}")
    fail("'${found}' instead of '${content}'")
  endif()
endfunction()

function(expect_file path content)
  file(READ "${path}" found)
  expect_text("${found}" "${content}")
endfunction()

function(write_project name languages)
  list(JOIN ARGN "\n" text)
  file(WRITE "${folder}/${name}/CMakeLists.txt" "cmake_minimum_required(VERSION 3.25)
project(${name} LANGUAGES ${languages})\n${text}\n")
endfunction()

function(build_project name)
  run(${CMAKE_COMMAND} -S "${folder}/${name}" -B "${folder}/${name} build" -G "${GENERATOR}" ${options}
      "-DCMAKE_PREFIX_PATH=${folder}/prefix" "-DCMAKE_C_COMPILER=${C_COMPILER}"
      "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" ${options_of_${name}})
  set(output_of_${name} "${output}" PARENT_SCOPE)
  run(${CMAKE_COMMAND} --build "${folder}/${name} build")
endfunction()

set(temporary "$ENV{TMPDIR}")
if(NOT temporary)
  set(temporary /tmp)
endif()
string(RANDOM LENGTH 8 unique)
set(folder "${temporary}/ostrel consumer ${unique}")
set(data "${folder}/data")
file(COPY "${SOURCE_DIR}/examples/" DESTINATION "${folder}")

# Nobody listens there: a program has to find its library and to write its files.
set(ENV{OSTREL_COLLECTION_URL} http://127.0.0.1:9/collect)
set(ENV{OSTREL_CORPORATE_DOMAIN} localhost)
set(ENV{XDG_DATA_HOME} "${data}")
foreach(switch STATISTICS_DISABLE DONOTSEND_FEEDBACK DISABLE_FEEDBACK FORCE_FEEDBACK FORCE_UUID)
  unset(ENV{NORVANE_${switch}})
endforeach()

if(WINDOWS)
  file(COPY "${SOURCE_DIR}/tests/install/foreign_host" DESTINATION "${folder}")
  set(hosts c_host cpp_host foreign_host)
  set(foreign_program "foreign_host build/foreign_host.exe")
  set(programs "c_host build/c_host.exe" plain_c.exe "cpp_host build/cpp_host.exe" ${foreign_program})
  set(emulator "${SOURCE_DIR}/scripts/wine.sh")
  set(ENV{OSTREL_WINE_PREFIX} "${folder}/wine")
  set(ENV{OSTREL_DLL_DIR} "${folder}/prefix/bin")
  run(${CMAKE_CPACK_COMMAND} --config "${BUILD_DIR}/CPackConfig.cmake" -B "${folder}/package")
  file(GLOB package "${folder}/package/*.zip")
  file(ARCHIVE_EXTRACT INPUT "${package}" DESTINATION "${folder}/unpacked")
  file(GLOB unpacked "${folder}/unpacked/*")
  file(RENAME "${unpacked}" "${folder}/prefix")
  expect_file("${folder}/prefix/share/licenses/curl/copyright" "[Cc]opyright")
  foreach(guide windows-hosts host-guide administrator-guide)
    expect_file("${folder}/prefix/share/doc/ostrel/${guide}.md" "ostrelctl")
  endforeach()
  expect_file("${folder}/prefix/share/licenses/cli11/copyright" "[Cc]opyright")
  run(${emulator} "${folder}/prefix/bin/ostrelctl.exe" products)
  # A host in C needs only the package, one in C++ the headers of Boost as well.
  set(options -DCMAKE_SYSTEM_NAME=Windows)
  set(options_of_cpp_host "-DBoost_ROOT=${LIBRARIES}")
  set(abi --target=x86_64-pc-windows-msvc)
  set(options_of_foreign_host -DCMAKE_C_COMPILER=clang -DCMAKE_C_COMPILER_TARGET=x86_64-pc-windows-msvc
                              -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY) # its C library is not there
  run("${C_COMPILER}" -I "${folder}/prefix/include" "${folder}/c_host/main.c" -L "${folder}/prefix/lib" -lostrel
      -o "${folder}/plain_c.exe")
  execute_process(COMMAND ${emulator} --data OUTPUT_VARIABLE data OUTPUT_STRIP_TRAILING_WHITESPACE)
else()
  set(hosts c_host cpp_host logging_host mixed older)
  set(programs "c_host build/c_host" plain_c "mixed build/c_host/c_host" "cpp_host build/cpp_host" plain_cpp)
  # A host in C needs no Boost.
  set(options_of_c_host -DCMAKE_DISABLE_FIND_PACKAGE_Boost=ON)
  set(options_of_mixed -DCMAKE_DISABLE_FIND_PACKAGE_Boost=ON)
  # C in the folder that asks for the package, C++ in another one only.
  write_project(mixed C "add_subdirectory(other)" "add_subdirectory(../c_host c_host)")
  write_project(mixed/other CXX)
  write_project(older C "find_package(ostrel 1.5)" "find_package(ostrel CONFIG REQUIRED)"
                "if(NOT ostrel_VERSION MATCHES \"^[0-9.]+$\")" "message(FATAL_ERROR \"'\${ostrel_VERSION}'\")" "endif()")
  if(NOT SANITIZER) # clang's sanitizers and those of the build do not work together
    list(APPEND hosts parent)
    list(APPEND programs "parent build/c_part" "parent build/cpp_host/cpp_host")
    set(options_of_parent -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_UNITY_BUILD=ON
                          -DCMAKE_UNITY_BUILD_BATCH_SIZE=0)
    # A project of C alone with stricter flags, built as one unit by clang, with a package of its own.
    write_project(parent C "add_compile_options(-Wall -Wextra -Wshadow -Wconversion -Werror)"
                  "set(CPACK_PACKAGE_NAME parent)" "include(CPack)" "add_subdirectory(\"${SOURCE_DIR}\" ostrel)"
                  "add_executable(c_part ../c_host/main.c)" "target_link_libraries(c_part PRIVATE ostrel::ostrel)"
                  "add_subdirectory(../cpp_host cpp_host)" "install(TARGETS c_part)")
  endif()
  # Component by component: the record of an installation by hand from this build stays.
  foreach(component runtime development tools)
    run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${folder}/prefix" --component ${component})
    file(READ "${BUILD_DIR}/install_manifest_${component}.txt" installed)
    file(APPEND "${folder}/install_manifest.txt" "${installed}\n")
  endforeach()
  file(GLOB_RECURSE library "${folder}/prefix/libostrel.so")
  cmake_path(GET library PARENT_PATH libraries)
  set(ENV{PKG_CONFIG_PATH} "${libraries}/pkgconfig")
  run(sh -c "cd '${folder}' && eval \"set -- $(pkg-config --cflags --libs ostrel)\" && \
      '${C_COMPILER}' $CFLAGS -o plain_c c_host/main.c \"$@\" '-Wl,-rpath,${libraries}' && \
      '${CXX_COMPILER}' $CXXFLAGS -std=c++17 -o plain_cpp cpp_host/*.cpp \"$@\" '-Wl,-rpath,${libraries}'")
endif()
foreach(host ${hosts})
  build_project(${host})
endforeach()

set(company "${data}/Norvane Corporation")
foreach(program ${programs})
  run(${emulator} "${folder}/${program}")
  if(program MATCHES "(foreign_host|c_host|c_part|plain_c)(\\.exe)?$")
    string(REGEX REPLACE "plain_c|c_part" c_host product "${CMAKE_MATCH_1}")
    expect_file("${company}/virk" "^1$")
    expect_file("${company}/${product}/settings/statistic/uuid.xml" "[0-9A-F]-")
    expect_file("${company}/${product}/settings/statistic/last_active_dates.xml" "<item>")
  endif()
  file(REMOVE_RECURSE "${company}")
endforeach()

if(WINDOWS)
  # A host of another compiler: its import library, an exception that reaches it, and the C++ headers.
  expect_file("${folder}/foreign_host build/build.ninja" "lib/ostrel\\.lib")
  expect_status(42 ${emulator} "${folder}/${foreign_program}" !)
  foreach(header ostrel/datetime ostrel/filelock ostrel/pellar_accessor ostrel/statistic settor2/product_locations
                 kiln2/path)
    expect_status(1 clang ${abi} -x c++ -fsyntax-only -I "${folder}/prefix/include"
                  "${folder}/prefix/include/${header}.h")
    expect_text("${header}: ${output}" "error: \"This header needs g")
  endforeach()
  execute_process(COMMAND ${emulator} --end)
else()
  expect_text("${output_of_older}" "require major.minor.patch")
  # A host in C that cannot make its settings folder aborts and names it.
  expect_status(".*abort" env -u XDG_DATA_HOME HOME=/dev/null "${folder}/plain_c")
  expect_text("${output}" "/dev/null")
  if("parent" IN_LIST hosts)
    run(${CMAKE_COMMAND} --install "${folder}/parent build" --prefix "${folder}/installed parent")
    run("${folder}/installed parent/bin/c_part")
    run(${CMAKE_COMMAND} -DOSTREL_INSTALL=ON "${folder}/parent build")
    expect_file("${folder}/parent build/CPackConfig.cmake" "CPACK_PACKAGE_NAME \"parent\"")
  endif()
  run("${SOURCE_DIR}/scripts/uninstall.sh" "${folder}")
  if(EXISTS "${folder}/prefix")
    fail("uninstall.sh has left files")
  endif()
endif()
file(REMOVE_RECURSE "${folder}")
