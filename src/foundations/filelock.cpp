// The inter-process file lock.
#include "ostrel/filelock.h"

#include "foundations/lock_file.h"
#include "platform/files.h"
#include "toolkit/kiln2/files.h"

namespace OSTREL_NAMESPACE {

kiln2::path_t lock_file_of(const kiln2::path_t& data_file) {
    return kiln2::path_t(data_file).change_ext(L"lock");
}

filelock_t::filelock_t(const kiln2::path_t& path) : m_locked(false), m_lock_path(lock_file_of(path)) {}

// Hosts rely on memberwise copies: the copy of a locked object counts as locked too.
filelock_t::filelock_t(const filelock_t& other) = default;
filelock_t& filelock_t::operator=(const filelock_t& other) = default;

filelock_t::~filelock_t() {
    unlock();
}

bool filelock_t::lock() {
    if (!m_locked)
        m_locked = ostrel_platform::create_exclusively(m_lock_path.as_string());
    return m_locked;
}

void filelock_t::unlock() {
    if (!m_locked)
        return;
    kiln2::remove_file(m_lock_path);
    m_locked = false;
}

bool filelock_t::is_locked() const {
    return m_locked;
}

} // namespace OSTREL_NAMESPACE
