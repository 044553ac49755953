# What the tests of installed trees share: a folder of their own, and an environment in which the hosts may report.
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
    execute_process(COMMAND "${SOURCE_DIR}/scripts/wine.sh" --end)
  endif()
  file(REMOVE_RECURSE "${folder}")
endfunction()

# What follows the name goes to CMake.
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

# Nobody listens there: what is tried here is whether the program finds its library and does its work.
set(ENV{OSTREL_COLLECTION_URL} http://127.0.0.1:9/collect)
set(ENV{OSTREL_CORPORATE_DOMAIN} localhost)
set(ENV{XDG_DATA_HOME} "${folder}/data")
foreach(switch STATISTICS_DISABLE DONOTSEND_FEEDBACK DISABLE_FEEDBACK FORCE_FEEDBACK FORCE_UUID)
  unset(ENV{NORVANE_${switch}})
endforeach()
