// The companion file of a lock between processes.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

namespace OSTREL_NAMESPACE {

/// The file that is created to lock @p data_file.
kiln2::path_t lock_file_of(const kiln2::path_t& data_file);

} // namespace OSTREL_NAMESPACE
