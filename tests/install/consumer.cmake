# Installs the library, builds the example hosts as a stranger would, and runs the one in C.
cmake_minimum_required(VERSION 3.25)

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
  file(REMOVE_RECURSE "${folder}")
endfunction()

function(build_consumer name)
  file(COPY "${SOURCE_DIR}/examples/${name}" DESTINATION "${folder}")
  run(${CMAKE_COMMAND} -S "${folder}/${name}" -B "${folder}/${name} build" -G "${GENERATOR}"
      "-DCMAKE_PREFIX_PATH=${folder}/prefix" "-DCMAKE_C_COMPILER=${C_COMPILER}"
      "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
  run(${CMAKE_COMMAND} --build "${folder}/${name} build")
endfunction()

set(temporary "$ENV{TMPDIR}")
if(NOT temporary)
  set(temporary /tmp)
endif()
string(RANDOM LENGTH 8 unique)
set(folder "${temporary}/ostrel consumer ${unique}")

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${folder}/prefix")
build_consumer(c_host)
build_consumer(cpp_host)

# Nobody listens there: what is tried here is whether the program finds its library and does its work.
set(ENV{OSTREL_COLLECTION_URL} http://127.0.0.1:9/collect)
set(ENV{OSTREL_CORPORATE_DOMAIN} localhost)
set(ENV{XDG_DATA_HOME} "${folder}/data")
foreach(switch STATISTICS_DISABLE DONOTSEND_FEEDBACK DISABLE_FEEDBACK FORCE_FEEDBACK FORCE_UUID)
  unset(ENV{NORVANE_${switch}})
endforeach()
run("${folder}/c_host build/c_host")
set(company "${folder}/data/Norvane Corporation")
expect_file("${company}/virk" "^1$")
expect_file("${company}/c_host/settings/statistic/uuid.xml" "[0-9A-F]-")
expect_file("${company}/c_host/settings/statistic/last_active_dates.xml" "<item>")
cleanup()
