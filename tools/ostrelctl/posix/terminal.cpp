// What the tool asks of the system beyond what the library does, on POSIX.
#include "terminal.h"

#include "toolkit/quillkit/strings.h"

#include <unistd.h>

namespace ostrelctl {

bool is_terminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

bool is_writable(const kiln2::path_t& folder) {
    return ::access(quillkit::strings::utf16_to_utf8(folder.as_string()).c_str(), W_OK | X_OK) == 0;
}

} // namespace ostrelctl
