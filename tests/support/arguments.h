// A program's arguments in UTF-8, for programs that the tests start.
#pragma once

#include <string>
#include <vector>

namespace test_support {

/// What main was given, without the program's own name.
std::vector<std::string> utf8_arguments(int argc, char** argv);

} // namespace test_support
