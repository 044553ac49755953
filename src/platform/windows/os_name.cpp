// The operating system's name, on Windows: ProductName in the registry.
#include "platform/os_name.h"

#include <windows.h>

#include <array>

namespace ostrel_platform {

std::optional<std::wstring> os_product_name() {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", 0,
                        KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return std::nullopt;
    std::array<wchar_t, 256> text{};
    DWORD type = REG_NONE;
    DWORD bytes = sizeof text;
    const LSTATUS status =
        ::RegQueryValueExW(key, L"ProductName", nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &bytes);
    ::RegCloseKey(key);
    if (status != ERROR_SUCCESS || type != REG_SZ)
        return std::nullopt;
    // The stored text may lack its terminating zero, so the returned size limits it.
    const std::wstring value(text.data(), bytes / sizeof(wchar_t));
    return value.substr(0, value.find(L'\0'));
}

} // namespace ostrel_platform
