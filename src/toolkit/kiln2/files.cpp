// Stand-in for the host toolkit's operations on files.
#include "toolkit/kiln2/files.h"

#include "platform/files.h"

namespace kiln2 {

bool remove_file(const path_t& path) {
    return ostrel_platform::remove_file(path.as_string());
}

} // namespace kiln2
