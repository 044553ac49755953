// Tells what a path names and what a folder contains, on POSIX.
#include "platform/entries.h"

#include "text/utf.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel_platform {

namespace {

struct close_folder_t {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

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

std::vector<std::wstring> entry_names(const std::wstring& folder) {
    std::vector<std::wstring> names;
    const std::unique_ptr<DIR, close_folder_t> opened(::opendir(to_utf8(folder).c_str()));
    if (!opened)
        return names;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread uses this stream
    while (const dirent* const entry = ::readdir(opened.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(to_wide(name));
    }
    return names;
}

bool may_create_in(const std::wstring& folder) {
    // AT_EACCESS checks the effective user, as the creation of a file does.
    return ::faccessat(AT_FDCWD, to_utf8(folder).c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

} // namespace ostrel_platform
