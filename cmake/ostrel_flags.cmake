# How our own code is compiled: every warning is an error, nothing is visible unless exported, and no path of the
# build machine gets into the result.
add_library(ostrel_flags INTERFACE)
target_compile_options(
  ostrel_flags
  INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
            -ffile-prefix-map=${PROJECT_SOURCE_DIR}/src/=src/ -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
            -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
