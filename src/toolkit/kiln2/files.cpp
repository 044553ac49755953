// Stand-in for the host toolkit's operations on files.
#include "toolkit/kiln2/files.h"

#include "platform/files.h"
#include "toolkit/kiln2/native_path.h"

#include <boost/filesystem/operations.hpp>

namespace kiln2 {

bool remove_file(const path_t& path) {
    return ostrel_platform::remove_file(path.as_string());
}

// Boost's create_directories is not used, because the umask would decide who can access the folders.
void create_folders(const path_t& path) {
    const boost::filesystem::path folder = to_native(path.as_string());
    boost::system::error_code ignored;
    if (folder.empty() || boost::filesystem::is_directory(folder, ignored))
        return;
    create_folders(from_native(folder.parent_path()));
    const std::error_code error = ostrel_platform::create_folder(path.as_string());
    // Another process may have created the folder meanwhile.
    if (error && !boost::filesystem::is_directory(folder, ignored))
        throw boost::filesystem::filesystem_error("cannot create folder", folder,
                                                  {error.value(), boost::system::system_category()});
}

} // namespace kiln2
