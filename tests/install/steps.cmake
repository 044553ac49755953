# What the tests of an installed or unpacked library have in common.

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    cleanup()
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "${command}\n${output}")
  endif()
endfunction()

function(expect_file path content)
  if(EXISTS "${path}")
    file(READ "${path}" found)
  endif()
  if(NOT found MATCHES "${content}")
    cleanup()
    message(FATAL_ERROR "'${path}' holds '${found}' instead of '${content}'")
  endif()
endfunction()

function(cleanup)
  if(EXISTS "${folder}/wine")
    execute_process(COMMAND ${wine} --end)
  endif()
  file(REMOVE_RECURSE "${folder}")
endfunction()

function(build_project name)
  run(${CMAKE_COMMAND} -S "${folder}/${name}" -B "${folder}/${name} build" -G "${GENERATOR}"
      "-DCMAKE_PREFIX_PATH=${folder}/prefix" "-DCMAKE_C_COMPILER=${C_COMPILER}"
      "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" ${ARGN})
  run(${CMAKE_COMMAND} --build "${folder}/${name} build")
endfunction()

function(build_consumer name)
  file(COPY "${SOURCE_DIR}/examples/${name}" DESTINATION "${folder}")
  build_project(${name} ${ARGN})
endfunction()

set(temporary "$ENV{TMPDIR}")
if(NOT temporary)
  set(temporary /tmp)
endif()
string(RANDOM LENGTH 8 unique)
set(folder "${temporary}/ostrel consumer ${unique}")
