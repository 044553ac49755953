# Packs the library for Windows, unpacks it elsewhere, and builds and runs the example hosts with nothing else.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/common.cmake)

set(wine "${SOURCE_DIR}/scripts/wine.sh")
set(ENV{OSTREL_WINE_PREFIX} "${folder}/wine")
set(ENV{OSTREL_DLL_DIR} "${folder}/prefix/bin")

run(${CMAKE_CPACK_COMMAND} --config "${BUILD_DIR}/CPackConfig.cmake" -B "${folder}/package")
file(GLOB package "${folder}/package/*.zip")
file(ARCHIVE_EXTRACT INPUT "${package}" DESTINATION "${folder}/unpacked")
file(GLOB unpacked "${folder}/unpacked/*")
file(RENAME "${unpacked}" "${folder}/prefix")
expect_file("${folder}/prefix/share/licenses/curl/copyright" "[Cc]opyright")
expect_file("${folder}/prefix/share/doc/ostrel/windows-hosts.md" "Windows")

# A host in C needs nothing but the package, one in C++ the headers of Boost as well.
build_consumer(c_host -DCMAKE_SYSTEM_NAME=Windows)
build_consumer(cpp_host -DCMAKE_SYSTEM_NAME=Windows "-DBoost_ROOT=${LIBRARIES}")
run("${C_COMPILER}" -I "${folder}/prefix/include" "${folder}/c_host/main.c" -L "${folder}/prefix/lib" -lostrel
    -o "${folder}/plain_c.exe")

execute_process(COMMAND ${wine} --data OUTPUT_VARIABLE data OUTPUT_STRIP_TRAILING_WHITESPACE)
set(company "${data}/Norvane Corporation")
foreach(program "c_host build/c_host.exe" plain_c.exe)
  run(${wine} "${folder}/${program}")
  expect_file("${company}/virk" "^1$")
  expect_file("${company}/c_host/settings/statistic/uuid.xml" "[0-9A-F]-")
  file(REMOVE_RECURSE "${company}")
endforeach()
run(${wine} "${folder}/cpp_host build/cpp_host.exe")
cleanup()
