// The path type of the host's toolkit, with the operations that the library's interfaces need.
#pragma once

#include "ostrel/cxx_interface.h"

#include <string>

namespace kiln2 {

/// A file-system path as wide text: UTF-16 on Windows, UTF-32 on Linux.
///
/// A plain value with the thread safety of std::wstring. Only exists() accesses files. When the library
/// passes a path to the file system, it leaves out malformed code units.
class OSTREL_API path_t {
public:
    /// The empty path.
    path_t();
    /// Copies the text and replaces "/" with the system's preferred separator. Implicit, so that callers can
    /// pass a text as a path.
    path_t(const std::wstring& text);           // NOLINT(google-explicit-constructor)
    path_t(const path_t& other);                ///< The same text.
    path_t(path_t&& other) noexcept;            ///< Leaves @p other valid, its text unspecified.
    path_t& operator=(const path_t& other);     ///< The same text.
    path_t& operator=(path_t&& other) noexcept; ///< Leaves @p other valid, its text unspecified.
    ~path_t();

    /// Appends @p other. Between two paths that are not empty, adds a preferred separator if neither path has
    /// a separator there.
    /// @return this path
    path_t& append(const path_t& other);

    /// The path with the system's preferred separators.
    const std::wstring& as_string() const;

    /// Whether the text is empty. Accesses no file.
    bool is_empty() const;

    /// Replaces or adds the extension. An extension begins at the last dot of the file name.
    /// @param extension with or without the leading dot; empty: removes the extension
    /// @return this path
    path_t& change_ext(const std::wstring& extension);

    /// Whether a file or folder with this path exists. Returns false also if the system cannot tell.
    static bool exists(const std::wstring& text);

private:
    std::wstring m_text;
};

} // namespace kiln2
