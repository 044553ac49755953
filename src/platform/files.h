// Files as the library uses them: opened for sharing, created exclusively, or replaced whole.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel_platform {

/// An open regular file that other processes may read and write meanwhile.
///
/// Devices, pipes and folders are refused: reading one could block for ever. Created files belong to their
/// user alone.
class shared_file_t {
public:
    /// Nothing when the file is missing, is no regular file, or may not be read.
    static std::optional<shared_file_t> open_for_reading(const std::wstring& path);

    /// Empties the file, or creates it. Nothing when it may not be written.
    static std::optional<shared_file_t> open_for_writing(const std::wstring& path);

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

/// Creates an empty file; false when it exists already or cannot be created. Of several callers at once, in
/// any process, exactly one succeeds. No handle stays open.
bool create_exclusively(const std::wstring& path);

/// Replaces the file's content whole or not at all: readers, and a kill at any instant, see the old file or
/// the new one. The bytes are on the disk before they take the old file's place.
/// @return false when nothing was replaced, also while another process replaces the same file
bool replace_file(const std::wstring& path, std::string_view bytes);

/// Writes over the file's content, which stays the same file, or creates it. Readers, and a kill at any
/// instant, see a new file whole or not at all, and of one byte written over another the old or the new one.
/// @return false when the file may not be written or the disk is full; a file that was missing is missing
/// then
bool overwrite_file(const std::wstring& path, std::string_view bytes);

/// Deletes a file; false when that failed or there was none.
bool remove_file(const std::wstring& path);

} // namespace ostrel_platform
