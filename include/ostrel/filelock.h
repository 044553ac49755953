// An advisory lock for processes that share a data file.
#pragma once

#include "kiln2/path.h"
#include "ostrel/cxx_interface.h"
#include "ostrel/version.h"

namespace OSTREL_NAMESPACE {

/// Advisory lock between processes. The object that creates the lock file holds the lock.
///
/// @code
/// OSTREL_NAMESPACE::filelock_t lock(data_file);
/// if (lock.lock())
///     rewrite(data_file); // the destructor releases the lock
/// @endcode
///
/// The lock file is in the folder of the data file. Its name is the data file's name with the extension
/// "lock": uuid.lock for uuid.xml. Two consequences:
/// - Data files whose names differ only in the extension share one lock. Names such as ".a" and ".b" consist
///   of an extension only and share the lock file ".lock".
/// - A data file named x.lock is its own lock file. Do not lock such a file.
///
/// The class is not thread-safe: use one object on one thread. No handle stays open while the lock is held.
/// If a process crashes while it holds the lock, the lock file remains until somebody deletes it. A copy of a
/// locked object also counts as locked. The first of the two that is unlocked deletes the lock file.
class OSTREL_API filelock_t {
public:
    /// Accesses no file.
    /// @param path the data file to protect; it need not exist
    explicit filelock_t(const kiln2::path_t& path);
    /// The copy counts as locked if @p other does.
    filelock_t(const filelock_t& other);
    /// Like the copy constructor. A lock that this object held is not released: its lock file remains.
    filelock_t& operator=(const filelock_t& other);
    /// Releases the lock if it is held.
    ~filelock_t();

    /// Tries once and never waits. If this object already holds the lock, returns true. Locks are not
    /// counted: one unlock releases the lock.
    /// @return false if the lock file exists or cannot be created. The two cases cannot be told apart.
    bool lock();

    /// Deletes the lock file if the lock is held. A failed deletion is ignored.
    void unlock();

    /// Whether this object counts as locked. Accesses no file.
    bool is_locked() const;

private:
    bool m_locked;
    kiln2::path_t m_lock_path;
};

} // namespace OSTREL_NAMESPACE
