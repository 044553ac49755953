// Stops the compilation of a C++ header if the compiler cannot use the C++ interface.
#pragma once

#include "ostrel/export.h"

#if !OSTREL_HAS_CXX_INTERFACE
#error "This header needs g++ for mingw-w64. Other compilers use ostrel/ostrel.h."
#endif
