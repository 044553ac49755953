// The random id that tells machines apart without telling whose they are.
#pragma once

#include "ostrel/version.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace OSTREL_NAMESPACE {

using uuid_bytes_t = std::array<std::uint8_t, 16>;

/// Upper-case hexadecimal digits in groups of 8-4-4-4-12. No version or variant bits are set: the text has
/// the shape of an RFC 4122 UUID without being one.
std::wstring format_uuid(const uuid_bytes_t& bytes);

/// A fresh machine id from the system's random source.
std::wstring generate_uuid();

/// The id that the environment forces; empty when it forces none.
std::wstring forced_uuid();

/// The machine id stored in @p path, as it stands; empty when the file is well-formed but holds none. Nothing
/// when the file is missing or malformed. Only reads.
std::optional<std::wstring> stored_uuid(const std::wstring& path);

/// The machine id stored in @p path, as it stands. A file that is missing or malformed is replaced by one
/// with a fresh id, which serves also when it cannot be saved. Empty when the file is well-formed but holds
/// no id: a damaged file silences reporting instead of giving one machine a second identity.
std::wstring load_or_create_uuid(const std::wstring& path);

} // namespace OSTREL_NAMESPACE
