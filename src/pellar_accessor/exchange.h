// The exchange file: a tool of the software manager writes its answer into it.
#pragma once

#include "kiln2/path.h"
#include "ostrel/version.h"

#include <functional>
#include <optional>
#include <string>

namespace OSTREL_NAMESPACE {

/// The first line without its line end (LF or CR LF).
/// @return the empty text if the file is empty; nullopt if it cannot be opened
std::optional<std::string> read_first_line(const kiln2::path_t& path);

/// Locks and creates the file, calls @p ask, reads the answer, removes the file and logs the answer.
/// @param ask runs the tool, which writes its answer into the file
/// @return nullopt if the lock is already held or the file cannot be created or opened
std::optional<std::wstring> exchange(const kiln2::path_t& path,
                                     const std::function<void(const std::wstring& path)>& ask);

} // namespace OSTREL_NAMESPACE
