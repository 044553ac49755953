// An advisory lock between processes that share a data file.
#pragma once

#include "kiln2/path.h"
#include "ostrel/cxx_interface.h"
#include "ostrel/version.h"

namespace OSTREL_NAMESPACE {

/// Advisory lock between processes: the object that creates the lock file holds the lock.
///
/// @code
/// OSTREL_NAMESPACE::filelock_t lock(data_file);
/// if (lock.lock())
///     rewrite(data_file); // the destructor releases the lock
/// @endcode
///
/// The lock file lies beside the data file and has its name with the extension "lock": uuid.lock for
/// uuid.xml. Data files that differ only in their extension share one lock. A data file named x.lock is its
/// own lock file, and all files whose only dot is the first character share the lock file ".lock".
///
/// One object belongs to one thread. No handle stays open while the lock is held. A lock file that a crashed
/// process left stays until it is deleted by hand. A copy of a locked object also counts as locked; the first
/// of them to be released deletes the file.
class OSTREL_API filelock_t {
public:
    /// Touches no file. @param path the data file to protect; it need not exist
    explicit filelock_t(const kiln2::path_t& path);
    /// Counts as locked if @p other does.
    filelock_t(const filelock_t& other);
    /// Like the copy constructor. A lock that this object held is not released: its file stays.
    filelock_t& operator=(const filelock_t& other);
    /// Releases the lock if it is held.
    ~filelock_t();

    /// Tries once and never waits. Returns true if this object already holds the lock; there is no count.
    /// @return false if another holder exists or the folder cannot be written; the reason is not kept
    bool lock();

    /// Deletes the lock file if the lock is held. A failed deletion is ignored.
    void unlock();

    /// Whether this object counts as locked. Does not look at the disk.
    bool is_locked() const;

private:
    bool m_locked;
    kiln2::path_t m_lock_path;
};

} // namespace OSTREL_NAMESPACE
