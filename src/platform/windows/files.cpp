// Files as the library uses them, on Windows.
#include "platform/files.h"

#include "platform/windows/handle.h"

#include <algorithm>
#include <cwchar>
#include <fcntl.h>
#include <io.h>
#include <limits>
#include <share.h>
#include <sys/stat.h>

namespace ostrel_platform {

namespace {

constexpr int create_new_only = _O_CREAT | _O_EXCL;
constexpr std::size_t largest_step = std::size_t{1} << 30U;

/// Owner of a descriptor of the C runtime.
class descriptor_t {
public:
    descriptor_t(const std::wstring& path, int flags, int sharing) {
        if (::_wsopen_s(&m_descriptor, path.c_str(), flags, sharing, _S_IREAD | _S_IWRITE) != 0)
            m_descriptor = -1;
    }
    ~descriptor_t() {
        if (is_open())
            ::_close(m_descriptor);
    }
    descriptor_t(const descriptor_t&) = delete;
    descriptor_t& operator=(const descriptor_t&) = delete;

    bool is_open() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

    // A console or a pipe under a file's name could keep a reader waiting for ever.
    bool is_on_disk() const {
        return is_open() &&
               ::GetFileType(reinterpret_cast<HANDLE>(::_get_osfhandle(m_descriptor))) == FILE_TYPE_DISK;
    }

private:
    int m_descriptor = -1;
};

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

// Renamed while it is still open and shared with nobody: no other writer can come between the last byte and
// the new name.
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

struct shared_file_t::handle_t {
    handle_t(const std::wstring& path, int flags)
        : descriptor(path, flags | _O_BINARY | _O_NOINHERIT, _SH_DENYNO) {}

    descriptor_t descriptor;
};

shared_file_t::shared_file_t(std::unique_ptr<handle_t> handle) : m_handle(std::move(handle)) {}
shared_file_t::shared_file_t(shared_file_t&&) noexcept = default;
shared_file_t& shared_file_t::operator=(shared_file_t&&) noexcept = default;
shared_file_t::~shared_file_t() = default;

std::optional<shared_file_t> shared_file_t::open_for_reading(const std::wstring& path) {
    auto handle = std::make_unique<handle_t>(path, _O_RDONLY);
    if (!handle->descriptor.is_on_disk())
        return std::nullopt;
    return shared_file_t(std::move(handle));
}

std::optional<shared_file_t> shared_file_t::open_for_writing(const std::wstring& path) {
    auto handle = std::make_unique<handle_t>(path, _O_WRONLY | _O_CREAT | _O_TRUNC);
    if (!handle->descriptor.is_on_disk())
        return std::nullopt;
    return shared_file_t(std::move(handle));
}

std::optional<std::size_t> shared_file_t::read(char* buffer, std::size_t size) {
    const int count =
        ::_read(m_handle->descriptor.get(), buffer, static_cast<unsigned>(std::min(size, largest_step)));
    if (count < 0)
        return std::nullopt;
    return static_cast<std::size_t>(count);
}

bool create_exclusively(const std::wstring& path) {
    return descriptor_t(path, create_new_only, _SH_DENYRW).is_open();
}

bool replace_file(const std::wstring& path, std::string_view bytes) {
    // One name for all writers, so that killed ones leave one file behind and not many.
    const std::wstring draft = path + L".tmp";
    const ostrel_platform::handle_t file(::CreateFileW(draft.c_str(), GENERIC_WRITE | DELETE, 0, nullptr,
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
    // A new file is renamed into its place, so that nobody reads it empty.
    if (::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES && replace_file(path, bytes))
        return true;
    const descriptor_t file(path, _O_WRONLY | _O_CREAT | _O_BINARY | _O_NOINHERIT, _SH_DENYNO);
    if (!file.is_on_disk())
        return false;
    auto* const handle = reinterpret_cast<HANDLE>(::_get_osfhandle(file.get()));
    return write_all(handle, bytes) && ::SetEndOfFile(handle) != 0;
}

bool remove_file(const std::wstring& path) {
    return ::DeleteFileW(path.c_str()) != 0;
}

} // namespace ostrel_platform
