# Compiler options of our code. The result contains no path of the build machine.
add_library(ostrel_flags INTERFACE)
target_compile_options(
  ostrel_flags
  INTERFACE $<$<BOOL:${OSTREL_WARNINGS_ARE_ERRORS}>:-Werror>
            -ffile-prefix-map=${PROJECT_SOURCE_DIR}/src/=src/ -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
            -ffile-prefix-map=${PROJECT_BINARY_DIR}=build
            $<$<PLATFORM_ID:Windows>:-ffile-prefix-map=${OSTREL_WINDOWS_PREFIX}=libraries>)
if(PROJECT_IS_TOP_LEVEL) # a parent project chooses its warnings itself
  target_compile_options(ostrel_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
endif()

# A sanitizer must instrument every object of a program, so it is switched on for all targets.
set(OSTREL_SANITIZE "" CACHE STRING "Sanitizers to build with: the value of -fsanitize")
if(OSTREL_SANITIZE)
  add_compile_options(-fsanitize=${OSTREL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(OSTREL_SANITIZE STREQUAL "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-tsan) # for Asio's fences, in the servers of the tests only
  endif()
  if(OSTREL_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-maybe-uninitialized) # for Boost.Beast, in the servers of the tests only
  endif()
  add_link_options(-fsanitize=${OSTREL_SANITIZE})
endif()

# Hardening of all shipped Linux binaries.
add_library(ostrel_hardening INTERFACE)
if(NOT WIN32)
  target_compile_options(ostrel_hardening INTERFACE -fstack-protector-strong)
  target_link_options(ostrel_hardening INTERFACE LINKER:-z,relro,-z,now)
  if(NOT OSTREL_SANITIZE) # a sanitizer has its own checks
    target_compile_options(ostrel_hardening INTERFACE $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
                                                      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
  endif()
endif()
