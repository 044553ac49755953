// File operations of the library: open for shared reading, create exclusively, replace atomically.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace ostrel_platform {

/// An open regular file that other processes may read and write concurrently.
///
/// Only regular files can be opened, because reading a device or a pipe could block for ever.
class shared_file_t {
public:
    /// @return nullopt if the file is missing, is not a regular file or cannot be read
    static std::optional<shared_file_t> open_for_reading(const std::wstring& path);

    /// Reads up to @p size bytes.
    /// @return the number of bytes; 0 at the end of the file; nullopt on an error
    std::optional<std::size_t> read(char* buffer, std::size_t size);

    shared_file_t(shared_file_t&&) noexcept;
    shared_file_t& operator=(shared_file_t&&) noexcept;
    ~shared_file_t();

private:
    struct handle_t;
    explicit shared_file_t(std::unique_ptr<handle_t> handle);

    std::unique_ptr<handle_t> m_handle;
};

/// Creates an empty file. Of several concurrent callers, in any process, exactly one succeeds. No handle
/// stays open.
///
/// On POSIX, if a function in this header creates a file that did not exist, only the current user can access
/// the file.
/// @return false if the file exists already or cannot be created
bool create_exclusively(const std::wstring& path);

/// Creates an empty file, or empties an existing one, in a folder that other users may share.
///
/// On POSIX it refuses symbolic links, files with several hard links and files of other users, and does not
/// change them.
/// @return false if the file cannot be written or is refused
bool create_empty(const std::wstring& path);

/// Replaces the file atomically: readers see the old file or the new one, also if the process is killed. The
/// bytes are flushed to the disk before the new file is renamed.
///
/// On POSIX the new file has the owner and mode of the old one if possible. A symbolic link is kept: its
/// target is replaced in the target's own folder, or created if it is missing.
/// @return false if nothing was replaced: the user lacks permission to write the file or its folder, the path
///         names something other than a regular file, the disk is full, or another process replaces the file
///         concurrently
bool replace_file(const std::wstring& path, std::string_view bytes);

/// Like replace_file, but may also write an existing file in place, which needs no permission for the folder.
/// Writing in place is atomic only if one byte replaces one byte: readers see the old byte or the new one,
/// also if the process is killed.
/// @return false if the file cannot be written or the disk is full; then no new file is left behind
bool overwrite_file(const std::wstring& path, std::string_view bytes);

/// Whether this user has the permissions that replace_file or overwrite_file needs. Neither call changes a
/// file.
bool may_replace(const std::wstring& path);
bool may_overwrite(const std::wstring& path);

/// Deletes a file.
/// @return false if the file is missing or cannot be deleted
bool remove_file(const std::wstring& path);

/// Creates one folder. On POSIX its mode is 0700 for every umask.
/// @return the system's error; an empty error code on success
std::error_code create_folder(const std::wstring& path);

} // namespace ostrel_platform
