// A program's arguments in UTF-8, on POSIX: they are passed through as they are.
#include "support/arguments.h"

namespace test_support {

std::vector<std::string> utf8_arguments(int argc, char** argv) {
    return {argv + 1, argv + argc};
}

} // namespace test_support
