// The random id that tells machines apart without telling whose they are.
#pragma once

#include "ostrel/version.h"

#include <array>
#include <cstdint>
#include <string>

namespace OSTREL_NAMESPACE {

using uuid_bytes_t = std::array<std::uint8_t, 16>;

/// Upper-case hexadecimal digits in groups of 8-4-4-4-12. No version or variant bits are set: the text has
/// the shape of an RFC 4122 UUID without being one.
std::wstring format_uuid(const uuid_bytes_t& bytes);

/// A fresh machine id from the system's random source.
std::wstring generate_uuid();

/// Where a machine id comes from.
enum class uuid_source_t {
    no_folder,  ///< there is no folder to keep one in: no id
    forced,     ///< the environment sets it; no file is read
    stored,     ///< the file holds it
    without_id, ///< the file is well-formed but has no id: no id
    missing,    ///< no file: a fresh id is made
    unreadable, ///< the file cannot be read: a fresh id is made
    malformed,  ///< the file is not a bag: a fresh id is made
};

/// A machine id and its source. The id is empty if there is none or if a fresh one must be made.
struct uuid_finding_t {
    uuid_source_t source = uuid_source_t::no_folder;
    std::wstring id;

    bool needs_fresh_id() const {
        return source == uuid_source_t::missing || source == uuid_source_t::unreadable ||
               source == uuid_source_t::malformed;
    }
};

/// The machine id that the environment forces, otherwise the one stored in @p path, unchanged. Only reads.
///
/// A well-formed file without an id yields none: a damaged file silences reporting instead of giving one
/// machine a second identity.
uuid_finding_t find_uuid(const std::wstring& path);

/// The result of find_uuid. If a fresh id is needed, creates one and replaces the file. The id is used even
/// if it cannot be saved.
std::wstring find_or_create_uuid(const std::wstring& path);

} // namespace OSTREL_NAMESPACE
