// The machine id: a random id that distinguishes machines and contains nothing about their users.
#pragma once

#include "ostrel/version.h"

#include <array>
#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

using uuid_bytes_t = std::array<std::uint8_t, 16>;

/// Returns upper-case hexadecimal digits in groups of 8-4-4-4-12. The text looks like an RFC 4122 UUID but is
/// not one, because no version or variant bits are set.
std::wstring format_uuid(const uuid_bytes_t& bytes);

/// Returns a new machine id from the system's random source.
std::wstring generate_uuid();

/// The source of a machine id. In the states marked "none" there is no id. In the states marked "new" the
/// library generates an id.
enum class uuid_source_t {
    no_folder,  ///< none: the system returns no folder for the file
    forced,     ///< an environment variable sets the id; no file is read
    stored,     ///< the file contains the id
    without_id, ///< none: the file is well-formed but contains no id
    missing,    ///< new: there is no file
    unreadable, ///< new: the file cannot be read
    malformed,  ///< new: the file is not a bag
};

/// A machine id and its source. The id is empty unless the source is forced or stored.
struct uuid_finding_t {
    uuid_source_t source = uuid_source_t::no_folder;
    std::wstring id;

    bool needs_fresh_id() const {
        return source == uuid_source_t::missing || source == uuid_source_t::unreadable ||
               source == uuid_source_t::malformed;
    }
};

/// Returns the machine id that the environment sets, or the id stored in @p path. Writes nothing.
///
/// If the file is well-formed but contains no id, there is no machine id, so the library collects nothing. A
/// new id would give the machine a second identity.
uuid_finding_t find_uuid(const std::wstring& path);

/// Returns the id that find_uuid finds. If a new id is needed, generates it, replaces the file and returns
/// the new id, even if the file cannot be written.
std::wstring find_or_create_uuid(const std::wstring& path);

} // namespace OSTREL_NAMESPACE
