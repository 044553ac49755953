// Folders: creation with all parents.
#include "foundations/folders.h"

#include "platform/entries.h"
#include "platform/files.h"
#include "text/native_path.h"

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/path.hpp>
#include <filesystem>

namespace OSTREL_NAMESPACE {

namespace {

bool is_folder(const kiln2::path_t& path) {
    return ostrel_platform::look_at(path.as_string()) == ostrel_platform::entry_t::folder;
}

} // namespace

kiln2::path_t parent_folder(const kiln2::path_t& path) {
    const auto native = ostrel_platform::to_native<std::filesystem::path>(path.as_string());
    if (!native.has_relative_path())
        return {};
    return ostrel_platform::from_native(native.parent_path());
}

// Boost's create_directories is not used, because the umask would decide who can access the folders.
void create_folders(const kiln2::path_t& path) {
    if (path.is_empty() || is_folder(path))
        return;
    create_folders(parent_folder(path));
    const std::error_code error = ostrel_platform::create_folder(path.as_string());
    // Another process may have created the folder in the meantime.
    if (error && !is_folder(path))
        throw boost::filesystem::filesystem_error(
            "cannot create folder", ostrel_platform::to_native<boost::filesystem::path>(path.as_string()),
            {error.value(), boost::system::system_category()});
}

} // namespace OSTREL_NAMESPACE
