// What a tool leaves in the exchange file.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

#include <optional>
#include <string>

namespace OSTREL_NAMESPACE {

/// The first line without its end (LF or CR LF); empty where the file holds none, nothing where it cannot be
/// opened.
std::optional<std::string> read_first_line(const kiln2::path_t& path);

} // namespace OSTREL_NAMESPACE
