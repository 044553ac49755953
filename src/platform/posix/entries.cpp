// Tells what a path names, on POSIX.
#include "platform/entries.h"

#include "text/utf.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel_platform {

namespace {

bool is_missing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

entry_t kind_of(mode_t mode) {
    if (S_ISDIR(mode))
        return entry_t::folder;
    if (S_ISREG(mode))
        return entry_t::file;
    return S_ISCHR(mode) || S_ISBLK(mode) || S_ISFIFO(mode) ? entry_t::stream : entry_t::other;
}

} // namespace

entry_t look_at(const std::wstring& path) {
    const std::string name = to_utf8(path);
    struct stat status {};
    if (::stat(name.c_str(), &status) == 0)
        return kind_of(status.st_mode);
    const int error = errno;
    if (::lstat(name.c_str(), &status) == 0 && S_ISLNK(status.st_mode))
        return entry_t::dangling_link;
    return is_missing(error) ? entry_t::missing : entry_t::unreachable;
}

bool may_create_in(const std::wstring& folder) {
    // AT_EACCESS checks the effective user, as the creation of a file does.
    return ::faccessat(AT_FDCWD, to_utf8(folder).c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

} // namespace ostrel_platform
