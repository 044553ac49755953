// The exchange file: a tool of the software manager writes its answer into it.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

#include <functional>
#include <optional>
#include <string>

namespace OSTREL_NAMESPACE {

/// The first line without its end (LF or CR LF); empty if the file has none. Nothing if the file cannot be
/// opened.
std::optional<std::string> read_first_line(const kiln2::path_t& path);

/// Creates the file under its lock, lets @p ask make the tool write into it, reads the answer, removes the
/// file and logs the answer.
/// @return nothing if the lock is held or the file cannot be opened
std::optional<std::wstring> exchange(const kiln2::path_t& path,
                                     const std::function<void(const std::wstring& path)>& ask);

} // namespace OSTREL_NAMESPACE
