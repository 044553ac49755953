# How our own code is compiled: every warning is an error, nothing is visible unless exported, and no path of the
# build machine gets into the result.
add_library(ostrel_flags INTERFACE)
target_compile_options(
  ostrel_flags
  INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
            -ffile-prefix-map=${PROJECT_SOURCE_DIR}/src/=src/ -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
            -ffile-prefix-map=${PROJECT_BINARY_DIR}=build
            $<$<PLATFORM_ID:Windows>:-ffile-prefix-map=${OSTREL_WINDOWS_PREFIX}=libraries>)

# A sanitizer has to see every object of a program, so it is switched on for all of them at once.
set(OSTREL_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")
if(OSTREL_SANITIZE)
  add_compile_options(-fsanitize=${OSTREL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(OSTREL_SANITIZE STREQUAL "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-tsan) # Asio's fences, in the tests' servers only
  endif()
  add_link_options(-fsanitize=${OSTREL_SANITIZE})
endif()
