// File operations of the library, on Windows.
#include "platform/files.h"

#include "platform/entries.h"
#include "platform/windows/handle.h"

#include <algorithm>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>

namespace ostrel_platform {

namespace {

// _O_NOINHERIT: if a child process inherited the handle, it would keep it open, and the lock file could not
// be deleted.
constexpr int create_new_only = _O_CREAT | _O_EXCL | _O_NOINHERIT;
constexpr int creation_attempts = 100;
constexpr std::size_t largest_step = std::size_t{1} << 30U;
constexpr DWORD deny_none = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

using open_file_t = ostrel_platform::handle_t;

/// An open file that other processes may read, write and rename.
struct disk_file_t {
    disk_file_t(const std::wstring& path, DWORD access, DWORD disposition)
        : file(::CreateFileW(path.c_str(), access, deny_none, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                             nullptr)) {}

    // Reading a console or a pipe could block for ever.
    bool is_on_disk() const { return file.is_open() && ::GetFileType(file.get()) == FILE_TYPE_DISK; }

    open_file_t file;
};

bool is_missing(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES;
}

bool write_all(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto step = static_cast<DWORD>(std::min(bytes.size(), largest_step));
        DWORD written = 0;
        if (!::WriteFile(file, bytes.data(), step, &written, nullptr) || written == 0)
            return false;
        bytes.remove_prefix(written);
    }
    return true;
}

// Truncates the file to @p size bytes. The file pointer must be at @p size. If the file already has this
// size, SetEndOfFile is not called: under Wine it would add a byte for a moment, and readers would see it.
bool end_file(HANDLE file, std::size_t size) {
    LARGE_INTEGER present{};
    if (!::GetFileSizeEx(file, &present))
        return false;
    return static_cast<std::uint64_t>(present.QuadPart) == size || ::SetEndOfFile(file) != 0;
}

bool may_write(const std::wstring& path) {
    return disk_file_t(path, GENERIC_WRITE, OPEN_EXISTING).is_on_disk();
}

// Renames the file while it is open, so no other writer can change it between the last write and the rename.
bool rename_open_file(HANDLE file, const std::wstring& path) {
    const std::size_t name_bytes = path.size() * sizeof(wchar_t);
    std::string buffer(sizeof(FILE_RENAME_INFO) + name_bytes, '\0');
    auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
    info->ReplaceIfExists = TRUE;
    info->FileNameLength = static_cast<DWORD>(name_bytes);
    std::copy(path.begin(), path.end(), info->FileName);
    return ::SetFileInformationByHandle(file, FileRenameInfo, info, static_cast<DWORD>(buffer.size())) != 0;
}

} // namespace

struct shared_file_t::handle_t : disk_file_t {
    using disk_file_t::disk_file_t;
};

shared_file_t::shared_file_t(std::unique_ptr<handle_t> handle) : m_handle(std::move(handle)) {}
shared_file_t::shared_file_t(shared_file_t&&) noexcept = default;
shared_file_t& shared_file_t::operator=(shared_file_t&&) noexcept = default;
shared_file_t::~shared_file_t() = default;

std::optional<shared_file_t> shared_file_t::open_for_reading(const std::wstring& path) {
    auto handle = std::make_unique<handle_t>(path, GENERIC_READ, OPEN_EXISTING);
    if (!handle->is_on_disk())
        return std::nullopt;
    return shared_file_t(std::move(handle));
}

std::optional<std::size_t> shared_file_t::read(char* buffer, std::size_t size) {
    const auto step = static_cast<DWORD>(std::min(size, largest_step));
    DWORD count = 0;
    if (!::ReadFile(m_handle->file.get(), buffer, step, &count, nullptr))
        return std::nullopt;
    return count;
}

bool create_exclusively(const std::wstring& path) {
    int descriptor = -1;
    if (::_wsopen_s(&descriptor, path.c_str(), create_new_only, _SH_DENYRW, _S_IREAD | _S_IWRITE) != 0)
        return false;
    ::_close(descriptor);
    return true;
}

bool create_empty(const std::wstring& path) {
    return disk_file_t(path, GENERIC_WRITE, CREATE_ALWAYS).is_on_disk();
}

bool replace_file(const std::wstring& path, std::string_view bytes) {
    // All writers use the same temporary file. So killed writers leave at most one file behind.
    const std::wstring temporary = path + L".tmp";
    // FILE_SHARE_READ: readers may open the renamed file before this handle is closed.
    const open_file_t file(::CreateFileW(temporary.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr,
                                         CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.is_open())
        return false;
    if (write_all(file.get(), bytes) && ::FlushFileBuffers(file.get()) && rename_open_file(file.get(), path))
        return true;
    FILE_DISPOSITION_INFO disposition{TRUE};
    ::SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition, sizeof disposition);
    return false;
}

bool overwrite_file(const std::wstring& path, std::string_view bytes) {
    // A new file is written as a temporary file and renamed, so that readers never see it empty. If another
    // process is creating the file, the temporary file cannot be opened. Then try again, until the file
    // exists.
    for (int attempt = 0; attempt < creation_attempts && is_missing(path); ++attempt) {
        if (replace_file(path, bytes))
            return true;
        if (::GetLastError() != ERROR_SHARING_VIOLATION)
            break;
        ::Sleep(1);
    }
    const disk_file_t opened(path, GENERIC_WRITE, OPEN_EXISTING);
    return opened.is_on_disk() && write_all(opened.file.get(), bytes) &&
           end_file(opened.file.get(), bytes.size());
}

bool may_replace(const std::wstring& path) {
    return (is_missing(path) || may_write(path)) && may_create_in(path.substr(0, path.find_last_of(L"\\/")));
}

bool may_overwrite(const std::wstring& path) {
    return may_write(path) || may_replace(path);
}

bool remove_file(const std::wstring& path) {
    return ::DeleteFileW(path.c_str()) != 0;
}

std::error_code create_folder(const std::wstring& path) {
    if (::CreateDirectoryW(path.c_str(), nullptr))
        return {};
    return {static_cast<int>(::GetLastError()), std::system_category()};
}

} // namespace ostrel_platform
