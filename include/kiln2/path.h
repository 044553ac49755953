// The host toolkit's path value, as far as the library's own interfaces need it.
#pragma once

#include "ostrel/cxx_interface.h"

#include <string>

namespace kiln2 {

/// A file-system path as wide text: UTF-16 on Windows, UTF-32 on Linux.
///
/// A plain value. Only exists() accesses files. Malformed parts of the text are left out when a path is
/// passed to the file system.
class OSTREL_API path_t {
public:
    /// The empty path.
    path_t();
    /// The text, with "/" replaced by the system's preferred separator. Implicit, so that a text can be
    /// passed as a path.
    path_t(const std::wstring& text);           // NOLINT(google-explicit-constructor)
    path_t(const path_t& other);                ///< The same text.
    path_t(path_t&& other) noexcept;            ///< Leaves @p other valid, its text unspecified.
    path_t& operator=(const path_t& other);     ///< The same text.
    path_t& operator=(path_t&& other) noexcept; ///< Leaves @p other valid, its text unspecified.
    ~path_t();

    /// Joins @p other behind this path with one preferred separator, even if @p other begins with one.
    /// Appending the empty path changes nothing.
    /// @return this path
    path_t& append(const path_t& other);

    /// The path with the system's preferred separators.
    const std::wstring& as_string() const;

    /// Whether the text is empty. Accesses no file.
    bool is_empty() const;

    /// Replaces the extension (from the last dot of the file name on), or adds one if there is none.
    /// @param extension with or without its dot
    /// @return this path
    path_t& change_ext(const std::wstring& extension);

    /// Whether a file or folder of that name exists. False also if that cannot be determined.
    static bool exists(const std::wstring& text);

private:
    std::wstring m_text;
};

} // namespace kiln2
