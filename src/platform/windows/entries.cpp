// Tells what a path names and what a folder contains, on Windows.
#include "platform/entries.h"

#include "platform/windows/handle.h"

#include <memory>
#include <string_view>

namespace ostrel_platform {

namespace {

struct close_search_t {
    void operator()(HANDLE search) const { ::FindClose(search); }
};

handle_t open_entry(const std::wstring& path, DWORD access) {
    constexpr DWORD deny_none = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    // FILE_FLAG_BACKUP_SEMANTICS is required to open a folder.
    return handle_t(::CreateFileW(path.c_str(), access, deny_none, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

entry_t kind_without_attributes() {
    const DWORD error = ::GetLastError();
    const bool is_missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    return is_missing ? entry_t::missing : entry_t::unreachable;
}

} // namespace

entry_t look_at(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return kind_without_attributes();
    const handle_t entry = open_entry(path, 0);
    if (!entry.is_open() && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return entry_t::dangling_link;
    if (entry.is_open() && ::GetFileType(entry.get()) != FILE_TYPE_DISK)
        return entry_t::stream;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? entry_t::folder : entry_t::file;
}

std::vector<std::wstring> entry_names(const std::wstring& folder) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW entry{};
    const HANDLE first = ::FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (first == INVALID_HANDLE_VALUE)
        return names;
    const std::unique_ptr<void, close_search_t> search(first);
    do {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L"..")
            names.emplace_back(name);
    } while (::FindNextFileW(search.get(), &entry));
    return names;
}

bool may_create_in(const std::wstring& folder) {
    // Opening the folder with these rights checks them. It creates nothing.
    return open_entry(folder, FILE_ADD_FILE | FILE_ADD_SUBDIRECTORY).is_open();
}

} // namespace ostrel_platform
