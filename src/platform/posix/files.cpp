// Files as the library uses them, on POSIX.
#include "platform/files.h"

#include "platform/posix/descriptor.h"
#include "platform/utf.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace ostrel_platform {

namespace {

constexpr mode_t user_only = S_IRUSR | S_IWUSR;

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

// Without O_NONBLOCK the opening of a pipe would wait for its other end.
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

// The file gets its name when it is whole: nobody can read half of it, and a kill leaves nothing behind.
// Nothing is returned where it has to be written under its name, being there already or on a file system
// without nameless files.
std::optional<bool> create_whole(const std::string& path, std::string_view bytes) {
    const descriptor_t file = open_file(path.substr(0, path.rfind('/') + 1) + ".", O_TMPFILE | O_WRONLY);
    if (!file.is_open())
        return std::nullopt;
    if (!write_all(file, bytes) || ::fsync(file.get()) != 0)
        return false;
    const std::string nameless = "/proc/self/fd/" + std::to_string(file.get());
    if (::linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0)
        return std::nullopt;
    return true;
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

std::optional<shared_file_t> shared_file_t::open_for_writing(const std::wstring& path) {
    descriptor_t file = open_regular(to_utf8(path), O_WRONLY | O_CREAT | O_TRUNC);
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

bool replace_file(const std::wstring& path, std::string_view bytes) {
    const std::string target = to_utf8(path);
    // One name for all writers, so that killed ones leave one file behind and not many; the lock keeps two
    // writers apart, and a writer that waited behind a rename finds its file moved away.
    const std::string draft = target + ".tmp";
    const descriptor_t file = open_regular(draft, O_WRONLY | O_CREAT | O_NOFOLLOW);
    if (!file.is_open() || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 || !is_still_at(file, draft))
        return false;
    if (::ftruncate(file.get(), 0) == 0 && write_all(file, bytes) && ::fsync(file.get()) == 0 &&
        ::rename(draft.c_str(), target.c_str()) == 0)
        return true;
    ::unlink(draft.c_str());
    return false;
}

bool overwrite_file(const std::wstring& path, std::string_view bytes) {
    const std::string target = to_utf8(path);
    descriptor_t file = open_regular(target, O_WRONLY);
    if (!file.is_open()) {
        if (const auto created = create_whole(target, bytes))
            return *created;
        file = open_regular(target, O_WRONLY | O_CREAT);
    }
    return file.is_open() && write_all(file, bytes) &&
           ::ftruncate(file.get(), static_cast<off_t>(bytes.size())) == 0;
}

bool remove_file(const std::wstring& path) {
    return ::unlink(to_utf8(path).c_str()) == 0;
}

} // namespace ostrel_platform
