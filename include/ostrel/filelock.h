// An advisory lock between processes that share a data file.
#pragma once

#include "kiln2/path.h"
#include "ostrel/export.h"
#include "ostrel/version.h"

namespace OSTREL_NAMESPACE {

/// Advisory lock between processes: whoever creates the companion file holds it.
///
/// The companion is the data file's path with the extension "lock" (uuid.lock beside uuid.xml). One object
/// belongs to one thread. No handle stays open while the lock is held. A lock file left by a crashed process
/// stays until it is deleted by hand. A copy of a locked object believes that it holds the lock too;
/// whichever is released first deletes the file.
class OSTREL_API filelock_t {
public:
    /// Touches no file. @param path the data file to protect; it need not exist
    explicit filelock_t(const kiln2::path_t& path);
    /// Believes that it holds the lock when @p other does.
    filelock_t(const filelock_t& other);
    /// As the copy constructor; a lock that was held here is forgotten and its file stays.
    filelock_t& operator=(const filelock_t& other);
    /// Releases the lock if it is held.
    ~filelock_t();

    /// Tries once, never waits. True at once when this object holds the lock already; no count is kept.
    /// @return false when another holder exists or the folder cannot be written; the reason is not kept.
    bool lock();

    /// Deletes the companion file if the lock is held; a failure to delete is ignored.
    void unlock();

    /// What this object believes; the disk is not asked.
    bool is_locked() const;

private:
    bool m_locked;
    kiln2::path_t m_lock_path;
};

} // namespace OSTREL_NAMESPACE
