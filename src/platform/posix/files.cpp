// File operations of the library, on POSIX.
#include "platform/files.h"

#include "platform/entries.h"
#include "platform/posix/descriptor.h"
#include "text/utf.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace ostrel_platform {

namespace {

constexpr mode_t user_only = S_IRUSR | S_IWUSR;
constexpr mode_t all_permissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr int most_links = 40; // the kernel's limit
constexpr int writer_attempts = 100;
constexpr std::chrono::milliseconds writer_pause{10};

descriptor_t open_file(const std::string& path, int flags) {
    int descriptor = -1;
    do
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC, user_only);
    while (descriptor < 0 && errno == EINTR);
    return descriptor_t(descriptor);
}

bool is_regular(const descriptor_t& file) {
    struct stat status {};
    return ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
}

// Without O_NONBLOCK, opening a pipe would wait until another process opens its other end.
descriptor_t open_regular(const std::string& path, int flags) {
    descriptor_t file = open_file(path, flags | O_NONBLOCK);
    return file.is_open() && is_regular(file) ? std::move(file) : descriptor_t(-1);
}

bool write_all(const descriptor_t& file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

bool is_still_at(const descriptor_t& file, const std::string& path) {
    struct stat held {};
    struct stat named {};
    return ::fstat(file.get(), &held) == 0 && ::lstat(path.c_str(), &named) == 0 &&
           held.st_ino == named.st_ino && held.st_dev == named.st_dev;
}

/// The file that a path names after following symbolic links.
struct target_t {
    std::string path;
    descriptor_t file; ///< open for writing; closed if the file does not exist yet
};

// Replaces realpath(3), which fails if the target is missing.
std::optional<std::string> follow_links(std::string path) {
    std::array<char, PATH_MAX> text{};
    for (int links = 0; links < most_links; ++links) {
        const ssize_t size = ::readlink(path.c_str(), text.data(), text.size());
        if (size < 0)
            return path;
        const std::string link(text.data(), static_cast<std::size_t>(size));
        path = link.front() == '/' ? link : path.substr(0, path.rfind('/') + 1).append(link);
    }
    return std::nullopt;
}

// Opens the file to check permissions. A rename needs permission for the folder only, so it would also
// replace a file that the user lacks permission to write. The kernel may also refuse to open a symbolic link
// that another user created in a shared folder such as /tmp.
std::optional<target_t> find_target(const std::string& path) {
    descriptor_t file = open_file(path, O_WRONLY | O_NONBLOCK);
    if (file.is_open() ? !is_regular(file) : errno != ENOENT)
        return std::nullopt;
    auto target = follow_links(path);
    if (!target)
        return std::nullopt;
    return target_t{std::move(*target), std::move(file)};
}

bool has_writable_folder(const target_t& target) {
    return may_create_in(to_wide(target.path.substr(0, target.path.rfind('/'))));
}

// All writers use the same temporary file. So killed writers leave at most one file behind.
descriptor_t open_temporary(const std::string& path) {
    constexpr int flags = O_WRONLY | O_CREAT | O_NOFOLLOW;
    descriptor_t file = open_regular(path, flags);
    // A temporary file that cannot be opened, for example one that root left, would prevent saving for ever.
    if (!file.is_open() && ::unlink(path.c_str()) == 0)
        file = open_regular(path, flags);
    return file;
}

// Whether this writer got the lock of the temporary file, and no other writer has renamed the file since it
// was opened. After such a rename, @p file is the finished file and must not be changed. On a file system
// without locks, only the rename is checked.
bool is_own_temporary(const descriptor_t& file, const std::string& path) {
    return (::flock(file.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) && is_still_at(file, path);
}

// Failures are ignored, because some file systems have neither owners nor modes. If the owner or group cannot
// be kept, the mode is 0600: the former mode could give access to another group.
void take_over_rights(const descriptor_t& file, const descriptor_t& former) {
    struct stat status {};
    const bool is_same_owner = former.is_open() && ::fstat(former.get(), &status) == 0 &&
                               ::fchown(file.get(), status.st_uid, status.st_gid) == 0;
    ::fchmod(file.get(), is_same_owner ? status.st_mode & all_permissions : user_only);
}

enum class replaced_t {
    yes,
    no,
    busy, ///< another writer uses the temporary file
};

replaced_t replace(const target_t& target, std::string_view bytes) {
    const std::string temporary = target.path + ".tmp";
    const descriptor_t file = open_temporary(temporary);
    if (!file.is_open())
        return replaced_t::no;
    if (!is_own_temporary(file, temporary))
        return replaced_t::busy;
    take_over_rights(file, target.file);
    if (::ftruncate(file.get(), 0) == 0 && write_all(file, bytes) && ::fsync(file.get()) == 0 &&
        ::rename(temporary.c_str(), target.path.c_str()) == 0)
        return replaced_t::yes;
    ::unlink(temporary.c_str());
    return replaced_t::no;
}

bool write_in_place(const descriptor_t& file, std::string_view bytes) {
    return file.is_open() && write_all(file, bytes) &&
           ::ftruncate(file.get(), static_cast<off_t>(bytes.size())) == 0;
}

replaced_t overwrite(const std::string& path, std::string_view bytes) {
    const auto target = find_target(path);
    if (!target)
        return replaced_t::no;
    const replaced_t replaced = replace(*target, bytes);
    return replaced != replaced_t::yes && write_in_place(target->file, bytes) ? replaced_t::yes : replaced;
}

} // namespace

struct shared_file_t::handle_t {
    explicit handle_t(descriptor_t file) : descriptor(std::move(file)) {}

    descriptor_t descriptor;
};

shared_file_t::shared_file_t(std::unique_ptr<handle_t> handle) : m_handle(std::move(handle)) {}
shared_file_t::shared_file_t(shared_file_t&&) noexcept = default;
shared_file_t& shared_file_t::operator=(shared_file_t&&) noexcept = default;
shared_file_t::~shared_file_t() = default;

std::optional<shared_file_t> shared_file_t::open_for_reading(const std::wstring& path) {
    descriptor_t file = open_regular(to_utf8(path), O_RDONLY);
    if (!file.is_open())
        return std::nullopt;
    return shared_file_t(std::make_unique<handle_t>(std::move(file)));
}

std::optional<std::size_t> shared_file_t::read(char* buffer, std::size_t size) {
    ssize_t count = -1;
    do
        count = ::read(m_handle->descriptor.get(), buffer, size);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        return std::nullopt;
    return static_cast<std::size_t>(count);
}

bool create_exclusively(const std::wstring& path) {
    return open_file(to_utf8(path), O_RDONLY | O_CREAT | O_EXCL).is_open();
}

bool create_empty(const std::wstring& path) {
    const descriptor_t file = open_regular(to_utf8(path), O_WRONLY | O_CREAT | O_NOFOLLOW);
    struct stat status {};
    return file.is_open() && ::fstat(file.get(), &status) == 0 && status.st_uid == ::geteuid() &&
           status.st_nlink == 1 && ::ftruncate(file.get(), 0) == 0;
}

bool replace_file(const std::wstring& path, std::string_view bytes) {
    const auto target = find_target(to_utf8(path));
    return target && replace(*target, bytes) == replaced_t::yes;
}

bool overwrite_file(const std::wstring& path, std::string_view bytes) {
    const std::string file = to_utf8(path);
    replaced_t replaced = overwrite(file, bytes);
    // Another writer is creating the file. Tries again, to write the file in place as soon as it exists.
    for (int attempt = 1; replaced == replaced_t::busy && attempt < writer_attempts; ++attempt) {
        std::this_thread::sleep_for(writer_pause);
        replaced = overwrite(file, bytes);
    }
    return replaced == replaced_t::yes;
}

bool may_replace(const std::wstring& path) {
    const auto target = find_target(to_utf8(path));
    return target && has_writable_folder(*target);
}

bool may_overwrite(const std::wstring& path) {
    const auto target = find_target(to_utf8(path));
    return target && (target->file.is_open() || has_writable_folder(*target));
}

bool remove_file(const std::wstring& path) {
    return ::unlink(to_utf8(path).c_str()) == 0;
}

std::error_code create_folder(const std::wstring& path) {
    const std::string folder = to_utf8(path);
    // Sets the mode again, because the umask may have removed the user's own permissions.
    if (::mkdir(folder.c_str(), S_IRWXU) != 0 || ::chmod(folder.c_str(), S_IRWXU) != 0)
        return {errno, std::system_category()};
    return {};
}

} // namespace ostrel_platform
