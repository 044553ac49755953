// Owner of a Windows handle.
#pragma once

#include <windows.h>

#include <utility>

namespace ostrel_platform {

/// Closes its handle on destruction; movable, not copyable. Null and INVALID_HANDLE_VALUE stand for no
/// handle.
class handle_t {
public:
    explicit handle_t(HANDLE handle) : m_handle(handle) {}
    handle_t(handle_t&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}
    handle_t& operator=(handle_t&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }
    handle_t(const handle_t&) = delete;
    handle_t& operator=(const handle_t&) = delete;
    ~handle_t() {
        if (is_open())
            ::CloseHandle(m_handle);
    }

    bool is_open() const { return m_handle != nullptr && m_handle != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};

} // namespace ostrel_platform
