// Files and folders as the library uses them: opened for sharing, created exclusively, or replaced whole.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace ostrel_platform {

/// An open regular file that other processes may read and write meanwhile.
///
/// Devices, pipes and folders are refused, because reading them could block for ever.
class shared_file_t {
public:
    /// Nothing when the file is missing, is no regular file, or may not be read.
    static std::optional<shared_file_t> open_for_reading(const std::wstring& path);

    /// Reads up to @p size bytes; 0 at the end of the file, nothing on an error.
    std::optional<std::size_t> read(char* buffer, std::size_t size);

    shared_file_t(shared_file_t&&) noexcept;
    shared_file_t& operator=(shared_file_t&&) noexcept;
    ~shared_file_t();

private:
    struct handle_t;
    explicit shared_file_t(std::unique_ptr<handle_t> handle);

    std::unique_ptr<handle_t> m_handle;
};

/// Creates an empty file; false if it exists already or cannot be created. Of several concurrent callers, in
/// any process, exactly one succeeds. No handle stays open. Files created here and below belong to their user
/// alone.
bool create_exclusively(const std::wstring& path);

/// Creates an empty file, or empties an existing one, in a folder that other users may share.
/// @return false if the file may not be written; on POSIX also for a link and for another user's file, which
///         stay as they are
bool create_empty(const std::wstring& path);

/// Replaces the file's content whole or not at all: readers, and a kill at any instant, see the old file or
/// the new one. The bytes are on the disk before they take the old file's place.
///
/// On POSIX a symbolic link is kept and its target replaced, in the target's own folder and with its mode; a
/// target that is missing is created.
/// @return false if nothing was replaced: the user may not write the file or its folder, something other than
///         a regular file has the name, the disk is full, or another process replaces the file concurrently
bool replace_file(const std::wstring& path, std::string_view bytes);

/// Replaces the file as above, or writes over an existing file, which stays the same file: then readers, and
/// a kill at any instant, see of one byte written over another the old or the new one.
/// @return false if the file may not be written or the disk is full; no new file is left behind then
bool overwrite_file(const std::wstring& path, std::string_view bytes);

/// Whether this user has the permissions that replace_file or overwrite_file needs. Change nothing.
bool may_replace(const std::wstring& path);
bool may_overwrite(const std::wstring& path);

/// Deletes a file; false when that failed or there was none.
bool remove_file(const std::wstring& path);

/// Creates one folder, on POSIX with mode 0700 whatever the umask.
/// @return the system's error; none on success
std::error_code create_folder(const std::wstring& path);

} // namespace ostrel_platform
