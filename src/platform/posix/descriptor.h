// Owner of a POSIX file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace ostrel_platform {

/// Closes its descriptor on destruction; movable, not copyable. A negative number stands for no descriptor.
class descriptor_t {
public:
    explicit descriptor_t(int descriptor) : m_descriptor(descriptor) {}
    descriptor_t(descriptor_t&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    descriptor_t& operator=(descriptor_t&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    descriptor_t(const descriptor_t&) = delete;
    descriptor_t& operator=(const descriptor_t&) = delete;
    ~descriptor_t() {
        if (is_open())
            ::close(m_descriptor);
    }

    bool is_open() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace ostrel_platform
