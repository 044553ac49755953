// Stand-in for the host toolkit's operations on files.
#include "toolkit/kiln2/files.h"

#include "platform/files.h"
#include "toolkit/kiln2/native_path.h"

#include <boost/filesystem/operations.hpp>

namespace kiln2 {

bool remove_file(const path_t& path) {
    return ostrel_platform::remove_file(path.as_string());
}

void create_folders(const path_t& path) {
    boost::filesystem::create_directories(to_native(path.as_string()));
}

} // namespace kiln2
