# Toolchain for 64-bit Windows. It uses the libraries that
# scripts/windows-deps.sh builds, because Debian has no packages of them.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
# The -posix thread model, because the -win32 model has no std::thread and no std::mutex.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# A prefix from the environment is stored in the cache, because the build tool
# can run CMake again without that variable. If there is no such prefix, CMake
# asks the script on each run, because the folder's name changes with the script.
if(NOT OSTREL_WINDOWS_PREFIX AND DEFINED ENV{OSTREL_WINDOWS_PREFIX})
  set(OSTREL_WINDOWS_PREFIX "$ENV{OSTREL_WINDOWS_PREFIX}" CACHE PATH
      "The folder with the libraries for Windows")
endif()
if(NOT OSTREL_WINDOWS_PREFIX)
  execute_process(
    COMMAND "${CMAKE_CURRENT_LIST_DIR}/../scripts/windows-deps.sh" --print-prefix
    OUTPUT_VARIABLE OSTREL_WINDOWS_PREFIX OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
if(NOT IS_DIRECTORY "${OSTREL_WINDOWS_PREFIX}")
  message(FATAL_ERROR "There are no libraries for Windows in "
                      "'${OSTREL_WINDOWS_PREFIX}': run scripts/windows-deps.sh first")
endif()
# The test projects of try_compile read this file too, and need the variable.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES OSTREL_WINDOWS_PREFIX)

# CMake may use programs of the build machine, but none of its libraries, headers and packages.
set(CMAKE_FIND_ROOT_PATH "${OSTREL_WINDOWS_PREFIX}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
