// The path of a lock file.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

namespace OSTREL_NAMESPACE {

/// The path of the file that filelock_t creates to lock @p data_file.
kiln2::path_t lock_file_of(const kiln2::path_t& data_file);

} // namespace OSTREL_NAMESPACE
